#pragma once

#include <memory>

#include <QWidget>

#include "core/dev_pane.h"
#include "screens/registry.h"

class QLabel;
class QPushButton;
class QTimer;
class QTreeView;

namespace tw::app {

class PaneItemModel;

// One list screen: the title and blurb, the tree of groups and items, the provider's note
// when there is nothing, and a footer with what is selected and the screen's action.
class PaneView : public QWidget {
  Q_OBJECT

 public:
  PaneView(const DevScreen& screen, std::shared_ptr<DevPane> pane, QWidget* parent = nullptr);
  ~PaneView() override;

  // Loads the pane the first time the screen is shown.
  void showFirstTime();
  // Scans again, unless a scan is running.
  void rescan();
  // Asks to confirm the selected items' actions, then runs them and loads again.
  void removeSelected();

 private:
  QWidget* makeHeader(const DevScreen& screen);
  QWidget* makeFooter(const DevScreen& screen);
  void sizeColumns();
  void showSelectionSoon();
  void showSelection();
  void showState();
  void showProgress();
  void showMenu(const QPoint& position);
  // Asks first; runs `items` with their own actions, or `override` for each, once confirmed.
  void confirmAndPerform(const QString& label, std::vector<DevItem> items, std::optional<DevAction> override);

  std::shared_ptr<DevPane> pane_;
  PaneItemModel* model_ = nullptr;
  QTreeView* tree_ = nullptr;
  QLabel* note_ = nullptr;
  QLabel* selected_ = nullptr;
  QPushButton* action_ = nullptr;
  QPushButton* rescan_ = nullptr;
  QLabel* message_ = nullptr;
  QTimer* progress_ = nullptr;
  QString actionLabel_;
  bool selectionPending_ = false;
  int token_ = 0;
};

}  // namespace tw::app
