#include "app/tray_panel.h"

#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QWidget>

#include "app/icons.h"
#include "app/qt_dispatcher.h"
#include "automation/notify.h"
#include "automation/prefs.h"
#include "automation/rules.h"
#include "core/format.h"
#include "core/removal_service.h"
#include "core/settings.h"
#include "junk/junk_cleaner.h"
#include "lens/volume_info.h"

namespace tw::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

class SystemTray : public TrayHost {
 public:
  SystemTray() { icon_.setIcon(symbolIcon("wind")); }
  [[nodiscard]] bool available() const override { return QSystemTrayIcon::isSystemTrayAvailable(); }
  void show(QMenu* menu, std::function<void()> clicked) override {
    icon_.setContextMenu(menu);
    QObject::disconnect(&icon_, &QSystemTrayIcon::activated, nullptr, nullptr);
    QObject::connect(&icon_, &QSystemTrayIcon::activated, &icon_,
                     [clicked = std::move(clicked)](QSystemTrayIcon::ActivationReason reason) {
                       if (reason == QSystemTrayIcon::Trigger) clicked();
                     });
    icon_.show();
  }
  void hide() override { icon_.hide(); }
  void setToolTip(const QString& line) override { icon_.setToolTip(line); }

 private:
  QSystemTrayIcon icon_;
};

// The safe categories' items, removed as their own actions say; what that freed.
std::pair<std::int64_t, std::size_t> removeSafeJunk(const Context& context) {
  std::vector<RemovalItem> removals;
  for (const auto& item : Rules::smartClean(context)) removals.push_back(RemovalItem::of(item));
  RemovalOptions options;
  // Logged as `clean --safe` logs the same removals.
  options.category = junkHistoryCategory;
  const RemovalReport report = runRemovals(context, removals, options);
  return {report.freed, report.count(ActionOutcome::Status::done)};
}

}  // namespace

std::unique_ptr<TrayHost> systemTray() { return std::make_unique<SystemTray>(); }

TrayPanel::TrayPanel(Context context, QWidget* window, std::unique_ptr<TrayHost> host, QObject* parent)
    : QObject(parent), context_(std::move(context)), window_(window), host_(std::move(host)), runner_(qtDispatcher()) {
  Prefs::registerDefaults(*context_.settings);
  menu_ = new QMenu(window_);
  menu_->setObjectName(QStringLiteral("trayMenu"));
  freeSpace_ = menu_->addAction(QString());
  freeSpace_->setEnabled(false);
  menu_->addSeparator();
  clean_ = menu_->addAction(tr("Clean Safe Junk Now"), this, &TrayPanel::cleanSafeJunk);
  menu_->addAction(tr("Open Tidewarden"), this, &TrayPanel::openWindow);
  menu_->addSeparator();
  menu_->addAction(tr("Quit"), qApp, &QApplication::quit);
  minute_ = new QTimer(this);
  minute_->setInterval(refreshMilliseconds);
  connect(minute_, &QTimer::timeout, this, &TrayPanel::refresh);
  minute_->start();
  // The settings window (or another process) switches the icon or its free space on and off.
  QPointer<TrayPanel> self(this);
  settingsToken_ = context_.settings->observe([self, post = qtDispatcher()](const Settings::Change& change) {
    if (!change.keys.contains(Prefs::menuBarEnabled) && !change.keys.contains(Prefs::menuBarShowsFree)) return;
    post([self] {
      if (self) self->refresh();
    });
  });
  refresh();
}

TrayPanel::~TrayPanel() {
  context_.settings->unobserve(settingsToken_);
  // The window's close quits again once nothing keeps the app running.
  QApplication::setQuitOnLastWindowClosed(true);
}

QString TrayPanel::freeSpaceLine() const {
  const VolumeInfo volume = reportedVolume(context_);
  if (volume.total <= 0) return tr("Free space unknown");
  return tr("%1 free").arg(text(byteFormatter(volume.available)));
}

void TrayPanel::refresh() {
  Settings& settings = *context_.settings;
  const bool wanted = settings.boolean(Prefs::menuBarEnabled) && host_->available();
  const QString free = freeSpaceLine();
  freeSpace_->setText(free);
  host_->setToolTip(settings.boolean(Prefs::menuBarShowsFree) ? tr("Tidewarden · %1").arg(free) : tr("Tidewarden"));
  if (wanted != shown_) {
    if (wanted) {
      host_->show(menu_, [this] { openWindow(); });
    } else {
      host_->hide();
    }
    shown_ = wanted;
  }
  QApplication::setQuitOnLastWindowClosed(!shown_);
}

void TrayPanel::openWindow() {
  window_->show();
  window_->raise();
  window_->activateWindow();
}

void TrayPanel::cleanSafeJunk() {
  if (cleaning_) return;
  cleaning_ = true;
  clean_->setEnabled(false);
  runner_.start([this, context = context_](std::stop_token stop) -> TaskRunner::Result {
    const Context job = context.withStop(stop);
    const auto [freed, removed] = removeSafeJunk(job);
    const std::string summary = cleanedSummary(freed, removed);
    if (!stop.stop_requested()) (void)Notify::send(job, cleanedTitle, summary);
    return [this, summary] {
      cleaning_ = false;
      clean_->setEnabled(true);
      refresh();
      emit cleaned(text(summary));
    };
  });
}

std::string TrayPanel::cleanedSummary(std::int64_t freed, std::size_t removed) {
  if (removed == 0) return "No safe junk to clean.";
  return "Freed " + byteFormatter(freed) + " of safe junk (" + std::to_string(removed) +
         (removed == 1 ? " item)." : " items).");
}

}  // namespace tw::app
