#pragma once

#include <map>
#include <memory>

#include <QMainWindow>

#include "core/context.h"
#include "core/dev_pane.h"
#include "screens/registry.h"

class QStackedWidget;

namespace tw::app {

class PaneView;
class SettingsWindow;
class Sidebar;

// The window: the sidebar of destinations beside the view of the chosen one. It owns the
// panes, so their background work ends before the window is gone.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  MainWindow(Context context, Dispatcher dispatcher, QWidget* parent = nullptr);
  ~MainWindow() override;

  void showPane(Pane pane);
  // Shows the settings window, made the first time it is asked for.
  void openSettings();
  [[nodiscard]] const std::map<Pane, std::shared_ptr<DevPane>>& panes() const { return panes_; }

 private:
  void addViews();
  void addShortcuts();
  [[nodiscard]] QWidget* sideColumn();

  Context context_;
  std::map<Pane, std::shared_ptr<DevPane>> panes_;
  Sidebar* sidebar_ = nullptr;
  QStackedWidget* stack_ = nullptr;
  std::map<Pane, QWidget*> views_;
  SettingsWindow* settings_ = nullptr;
};

}  // namespace tw::app
