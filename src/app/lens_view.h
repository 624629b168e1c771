#pragma once

#include <set>
#include <string>
#include <vector>

#include <QWidget>

#include "app/lens_model.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;
class QTreeView;

namespace tw::app {

class BreadcrumbBar;
class LensChanges;
class LensChildrenModel;
class TreemapWidget;

// Space Lens: scans a folder (home unless another is chosen), shows the folder being explored
// as a map beside the list of its children, and moves what the user picks to the Trash
// after a confirmation. Enter opens the chosen folder, Backspace goes up.
class LensView : public QWidget {
  Q_OBJECT

 public:
  LensView(const Context& context, Dispatcher dispatcher, QWidget* parent = nullptr);
  ~LensView() override;

  [[nodiscard]] LensModel& model() { return model_; }
  // The folder the next scan covers.
  void setFolder(const std::string& path);
  void scan();
  // Asks, then moves the selected entries to the Trash.
  void moveSelectedToTrash();
  [[nodiscard]] std::vector<const FSNode*> selection() const;

 private:
  QWidget* makeHeader();
  QWidget* makeExplorer();
  QWidget* makeFooter();
  void addKeys();
  void chooseFolder();
  void showScanning();
  void showProgress();
  void showFolder();
  void showSelection();
  void select(const std::set<const FSNode*>& nodes);
  void selectFromList();
  void openFromList(const QModelIndex& index);
  void showMenu(const FSNode* node, const QPoint& globalPosition);
  static void copyPaths(const std::vector<const FSNode*>& nodes);
  [[nodiscard]] static std::set<const FSNode*> cameFrom(const FSNode* folder, const std::string& before);

  std::string home_;
  LensModel model_;
  std::string folder_;
  std::set<const FSNode*> selected_;
  std::string shownPath_;  // the folder shown last, to tell where going up came from
  bool syncing_ = false;

  QLineEdit* path_ = nullptr;
  QPushButton* choose_ = nullptr;
  QPushButton* scan_ = nullptr;
  QPushButton* cancel_ = nullptr;
  QLabel* status_ = nullptr;
  QTimer* progress_ = nullptr;
  BreadcrumbBar* crumbs_ = nullptr;
  TreemapWidget* map_ = nullptr;
  QTreeView* list_ = nullptr;
  LensChildrenModel* children_ = nullptr;
  LensChanges* changes_ = nullptr;
  QLabel* empty_ = nullptr;
  QWidget* explorer_ = nullptr;
  QLabel* chosen_ = nullptr;
  QPushButton* trash_ = nullptr;
  QPushButton* reveal_ = nullptr;
  QPushButton* copy_ = nullptr;
};

}  // namespace tw::app
