#include <cstdio>

#include <QApplication>

#include "app/appearance.h"
#include "app/background_runner.h"
#include "app/main_window.h"
#include "app/onboarding.h"
#include "app/qt_dispatcher.h"
#include "app/snapshots.h"
#include "app/tray_panel.h"
#include "cli/window.h"

namespace tw {
namespace {

// Without a display the UI toolkit would abort; say what happened instead.
bool hasDisplay(const Context& context) {
  return !context.variable("DISPLAY").empty() || !context.variable("WAYLAND_DISPLAY").empty() ||
         !context.variable("QT_QPA_PLATFORM").empty();
}

}  // namespace

int openWindow(int& argc, char** argv, const Context& context) {
  if (!hasDisplay(context)) {
    std::fputs("tidewarden: there is no display to open the window on; run 'tidewarden help' for the commands\n",
               stderr);
    return 1;
  }
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tidewarden"));
  QApplication::setDesktopFileName(QStringLiteral("tidewarden"));
  const app::Appearance appearance = app::appearanceFrom(context);
  app::applyAppearance(appearance);
  if (app::Onboarding::needed(context)) {
    app::Onboarding onboarding(context);
    onboarding.exec();
  }
  // Sample data is for looking at; nothing is cleaned unattended behind it.
  const auto background = context.sampleData ? nullptr : app::startBackgroundRunner(context);
  app::MainWindow window(context, app::qtDispatcher());
  app::TrayPanel tray(context, &window, app::systemTray());
  window.show();
  window.checkForUpdates();
  app::scheduleSnapshots(window, context, appearance);
  return QApplication::exec();
}

}  // namespace tw
