#pragma once

#include <memory>
#include <string>

#include <QWidget>

#include "core/dev_pane.h"
#include "screens/registry.h"

class QCheckBox;
class QHBoxLayout;

namespace tw::app {

// Over the screens that look for projects: the chosen project roots as chips that can be
// removed, "Add Folder…", and, where the screen has them, the stale filter and the package
// manager advisor. Changing the roots saves them and loads the screen again.
class RootsBar : public QWidget {
  Q_OBJECT

 public:
  RootsBar(DevScreen::Bar bar, std::shared_ptr<DevPane> pane, QWidget* parent = nullptr);
  ~RootsBar() override;

  // Adds a root (what the folder dialog chose), saves the roots and loads again.
  void addRoot(const std::string& folder);
  void removeRoot(const std::string& folder);

 private:
  void showRoots();
  void chooseFolder();
  void saveRoots(const std::vector<std::string>& roots);

  std::shared_ptr<DevPane> pane_;
  QHBoxLayout* chips_ = nullptr;
  QCheckBox* staleOnly_ = nullptr;
  int settingsToken_ = 0;
};

}  // namespace tw::app
