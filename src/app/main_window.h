#pragma once

#include <map>
#include <memory>

#include <QMainWindow>

#include "core/context.h"
#include "core/dev_pane.h"
#include "screens/registry.h"
#include "updates/https_fetch.h"

class QStackedWidget;

namespace tw::app {

class PaneView;
class SettingsWindow;
class Sidebar;
class UpdateBanner;

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
  // What this Tidewarden is: its version and where it lives.
  void showAbout();
  // Runs the opt-in update check when it is on and due; `options` only for a test's certificate.
  void checkForUpdates(const HttpsFetchOptions& options = {});
  [[nodiscard]] const std::map<Pane, std::shared_ptr<DevPane>>& panes() const { return panes_; }

 private:
  void addViews(const Dispatcher& dispatcher);
  void addShortcuts();
  [[nodiscard]] QWidget* sideColumn();

  Context context_;
  std::map<Pane, std::shared_ptr<DevPane>> panes_;
  Sidebar* sidebar_ = nullptr;
  QStackedWidget* stack_ = nullptr;
  std::map<Pane, QWidget*> views_;
  SettingsWindow* settings_ = nullptr;
  UpdateBanner* updates_ = nullptr;
};

}  // namespace tw::app
