#pragma once

#include <QWidget>

#include "core/context.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QStandardItemModel;
class QTableView;

namespace tw::app {

// The log of every removal as a table, newest first, with a search field that narrows it
// by name, category or restore hint, and a way to clear it after a confirmation. It reads
// the log again each time it is shown, so removals made meanwhile (by a screen, a rule or
// the command line) appear.
class HistoryView : public QWidget {
  Q_OBJECT

 public:
  enum Column { dateColumn, categoryColumn, nameColumn, sizeColumn, restoreColumn, columnCount };

  explicit HistoryView(Context context, QWidget* parent = nullptr);

  void reload();
  void focusSearch();
  // Asks first; Cancel is the default answer and keeps the log.
  void confirmClear();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* makeHeader();
  QWidget* makeFooter();
  void showCounts();

  Context context_;
  QStandardItemModel* entries_ = nullptr;
  QSortFilterProxyModel* filter_ = nullptr;
  QTableView* table_ = nullptr;
  QLineEdit* search_ = nullptr;
  QLabel* empty_ = nullptr;
  QLabel* counts_ = nullptr;
  QPushButton* clear_ = nullptr;
};

}  // namespace tw::app
