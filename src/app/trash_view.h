#pragma once

#include <memory>

#include <QWidget>

#include "core/context.h"
#include "trash/trash_model.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTimer;
class QTreeView;

namespace tw::app {

class TrashItemModel;

// The Trash screen: what every Trash folder holds, one row per item with where it came
// from, its size as it is measured and when it was trashed; search, the older-than-30-days
// filter and the sorts; Put Back, Delete and Empty Trash, each confirmed where it cannot be
// undone. It lists the Trash when it is made and again each time it is shown; the Trash's
// total goes to the scan cache, which the sidebar shows.
class TrashView : public QWidget {
  Q_OBJECT

 public:
  TrashView(Context context, std::shared_ptr<TrashModel> trash, QWidget* parent = nullptr);
  ~TrashView() override;

  [[nodiscard]] TrashModel& trash() { return *trash_; }
  // Lists the Trash again, unless an operation is running.
  void reload();
  // Moves the ticked items back to where they came from.
  void putBackSelected();
  // Asks, then deletes the ticked items for good; items that need administrator rights
  // are offered afterwards through one prompt.
  void deleteSelected();
  // Asks, then deletes everything in the Trash for good.
  void emptyTrash();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* makeHeader();
  QWidget* makeFilters();
  QWidget* makeFooter();
  void showState(TrashField field);
  void showSummary();
  void showFooter();
  void showProgress();
  void saveTotal();
  void showRowMenu(const QPoint& position);
  // Deletes `items` once the user agrees to `question`; then offers the administrator retry.
  void confirmAndDelete(const QString& question, const QString& action, std::vector<TrashItem> items);
  void offerAdministratorRetry();

  Context context_;
  std::shared_ptr<TrashModel> trash_;
  TrashItemModel* model_ = nullptr;
  QTreeView* list_ = nullptr;
  QLabel* summary_ = nullptr;
  QLabel* note_ = nullptr;
  QLineEdit* search_ = nullptr;
  QCheckBox* olderOnly_ = nullptr;
  QComboBox* sort_ = nullptr;
  QLabel* status_ = nullptr;
  QProgressBar* progressBar_ = nullptr;
  QPushButton* putBack_ = nullptr;
  QPushButton* delete_ = nullptr;
  QPushButton* empty_ = nullptr;
  QTimer* progress_ = nullptr;
  int token_ = 0;
};

}  // namespace tw::app
