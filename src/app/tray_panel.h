#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QObject>
#include <QString>

#include "core/context.h"
#include "core/task_runner.h"

class QAction;
class QMenu;
class QTimer;
class QWidget;

namespace tw::app {

// Where the panel puts its icon: the desktop's system tray, or a test's stand-in where
// there is none (as off screen).
class TrayHost {
 public:
  virtual ~TrayHost() = default;
  // The desktop shows tray icons.
  [[nodiscard]] virtual bool available() const = 0;
  // Shows the icon with `menu`; a plain click on it calls `clicked`.
  virtual void show(QMenu* menu, std::function<void()> clicked) = 0;
  virtual void hide() = 0;
  virtual void setToolTip(const QString& text) = 0;
};

// The desktop's tray, through QSystemTrayIcon.
[[nodiscard]] std::unique_ptr<TrayHost> systemTray();

// The tray panel: with "menuBarEnabled" on and a tray to show it in, an icon whose tooltip
// carries the free space ("menuBarShowsFree"), refreshed every minute, and a menu with the
// free space, "Clean Safe Junk Now", "Open Tidewarden" and "Quit". While the icon shows,
// closing the window keeps the app (and its background runner) going; otherwise closing
// the window quits.
class TrayPanel : public QObject {
  Q_OBJECT

 public:
  static constexpr int refreshMilliseconds = 60'000;
  static constexpr const char* cleanedTitle = "Safe junk cleaned";

  TrayPanel(Context context, QWidget* window, std::unique_ptr<TrayHost> host, QObject* parent = nullptr);
  ~TrayPanel() override;

  // Reads the settings and the free space again: shows or hides the icon, renews its text.
  void refresh();
  [[nodiscard]] bool shown() const { return shown_; }
  [[nodiscard]] QMenu* menu() const { return menu_; }
  // Removes the safe Smart Clean categories on a worker; the result goes out as a notification.
  void cleanSafeJunk();
  [[nodiscard]] bool cleaning() const { return cleaning_; }

  // "Freed 1.2 GB of safe junk (3 items)." or "No safe junk to clean."
  [[nodiscard]] static std::string cleanedSummary(std::int64_t freed, std::size_t removed);

 signals:
  // A clean ended; `summary` is what the notification said.
  void cleaned(const QString& summary);

 private:
  void openWindow();
  [[nodiscard]] QString freeSpaceLine() const;

  Context context_;
  QWidget* window_;
  std::unique_ptr<TrayHost> host_;
  QMenu* menu_ = nullptr;
  QAction* freeSpace_ = nullptr;
  QAction* clean_ = nullptr;
  QTimer* minute_ = nullptr;
  bool shown_ = false;
  bool cleaning_ = false;
  int settingsToken_ = 0;
  // Last, so that it goes first: a clean under way is joined before the rest goes.
  TaskRunner runner_;
};

}  // namespace tw::app
