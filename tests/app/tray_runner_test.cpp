#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/appearance.h"
#include "app/background_runner.h"
#include "app/main_window.h"
#include "app/qt_dispatcher.h"
#include "app/qt_timers.h"
#include "app/tray_panel.h"
#include "app_test.h"
#include "automation/automation_platform.h"
#include "automation/prefs.h"
#include "automation/rules.h"
#include "core/history.h"
#include "core/settings.h"
#include "junk/junk_cleaner.h"
#include "manual_timers.h"
#include "sample_home.h"
#include "session_bus.h"
#include "widget_files.h"

namespace tw::app {
namespace {

using namespace std::chrono_literals;

QString text(const std::string& value) { return QString::fromStdString(value); }

// Stands in for the desktop's tray, which the off-screen platform does not have.
class StandInTray : public TrayHost {
 public:
  struct State {
    bool available = true;
    bool shown = false;
    QMenu* menu = nullptr;
    QString toolTip;
    std::function<void()> clicked;
  };
  explicit StandInTray(std::shared_ptr<State> state) : state_(std::move(state)) {}
  [[nodiscard]] bool available() const override { return state_->available; }
  void show(QMenu* menu, std::function<void()> clicked) override {
    state_->menu = menu;
    state_->clicked = std::move(clicked);
    state_->shown = true;
  }
  void hide() override { state_->shown = false; }
  void setToolTip(const QString& line) override { state_->toolTip = line; }

 private:
  std::shared_ptr<State> state_;
};

std::vector<std::string> titlesOf(const std::vector<test::NotificationServer::Received>& received) {
  std::vector<std::string> titles;
  for (const auto& one : received) titles.push_back(one.title);
  std::sort(titles.begin(), titles.end());
  return titles;
}

}  // namespace

// The tray panel and the background runner of the running app, with notifications caught
// by a small notification server on a private session bus.
class TrayRunnerTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    bus_ = std::make_unique<test::SessionBus>();
    context_ = homeContext(home_->path(), bus_->started()
                                              ? Environment{{"DBUS_SESSION_BUS_ADDRESS", bus_->address()}}
                                              : Environment{{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"}});
    tray_ = std::make_shared<StandInTray::State>();
  }

  void cleanup() {
    QApplication::setQuitOnLastWindowClosed(true);
    bus_.reset();
    home_.reset();
  }

  void theTrayMenuCarriesTheFreeSpaceAndTheTooltipFollowsTheSettings() {
    QWidget window;
    TrayPanel panel(context_, &window, std::make_unique<StandInTray>(tray_));
    QVERIFY(tray_->shown);
    QCOMPARE(tray_->menu, panel.menu());
    const QStringList texts = actionTexts(*panel.menu());
    QCOMPARE(texts.size(), 6);
    QVERIFY2(texts[0].endsWith(QStringLiteral(" free")), qPrintable(texts[0]));
    QCOMPARE(texts.mid(1), (QStringList{"—", "Clean Safe Junk Now", "Open Tidewarden", "—", "Quit"}));
    QVERIFY(!panel.menu()->actions().front()->isEnabled());  // a line to read, not a command
    QCOMPARE(tray_->toolTip, QStringLiteral("Tidewarden · ") + texts[0]);

    // Switches in the settings take effect without waiting for the minute's refresh.
    context_.settings->set(Prefs::menuBarShowsFree, false);
    QTRY_COMPARE(tray_->toolTip, QStringLiteral("Tidewarden"));

    context_.settings->set(Prefs::menuBarEnabled, false);
    QTRY_VERIFY(!tray_->shown);
    QVERIFY(!panel.shown());
  }

  void closingTheWindowKeepsTheAppRunningOnlyWhileTheTrayShows() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    TrayPanel panel(context_, &window, std::make_unique<StandInTray>(tray_));
    QVERIFY(panel.shown());
    QVERIFY(!QApplication::quitOnLastWindowClosed());
    QSignalSpy quitting(qApp, &QCoreApplication::aboutToQuit);
    QVERIFY(window.close());
    QVERIFY(!window.isVisible());
    QApplication::processEvents();
    QCOMPARE(quitting.count(), 0);

    actionNamed(*panel.menu(), QStringLiteral("Open Tidewarden"))->trigger();
    QVERIFY(window.isVisible());
    QVERIFY(window.close());
    tray_->clicked();  // a plain click on the icon opens it too
    QVERIFY(window.isVisible());

    // Switched off in the settings: the icon goes and closing the window quits again.
    context_.settings->set(Prefs::menuBarEnabled, false);
    QTRY_VERIFY(!tray_->shown);
    QVERIFY(QApplication::quitOnLastWindowClosed());

    // A desktop without a tray: no icon even when it is wanted, and closing quits.
    context_.settings->set(Prefs::menuBarEnabled, true);
    tray_->available = false;
    panel.refresh();
    QVERIFY(!tray_->shown);
    QVERIFY(QApplication::quitOnLastWindowClosed());
  }

  void cleanSafeJunkNowEmptiesTheSafeCachesAndSaysSoInANotification() {
    requireBus();
    test::NotificationServer server(bus_->address());
    QVERIFY(server.ready());
    writeBytes(home_->filePath(".cache/pip/http/blob"), QByteArray(40'000, 'p'));
    writeBytes(home_->filePath("Downloads/setup.deb"), QByteArray(10'000, 'd'));
    writeBytes(home_->filePath("keep/notes.txt"), "mine\n");
    QWidget window;
    TrayPanel panel(context_, &window, std::make_unique<StandInTray>(tray_));
    QSignalSpy cleaned(&panel, &TrayPanel::cleaned);

    actionNamed(*panel.menu(), QStringLiteral("Clean Safe Junk Now"))->trigger();
    QVERIFY(panel.cleaning());
    QVERIFY(!actionNamed(*panel.menu(), QStringLiteral("Clean Safe Junk Now"))->isEnabled());
    QTRY_COMPARE_WITH_TIMEOUT(cleaned.count(), 1, 30'000);

    QVERIFY(!QFileInfo::exists(home_->filePath(".cache/pip")));
    QVERIFY(QFileInfo::exists(home_->filePath("Downloads/setup.deb")));  // installers are not safe junk
    QVERIFY(QFileInfo::exists(home_->filePath("keep/notes.txt")));
    const QString summary = cleaned.front().front().toString();
    QVERIFY2(summary.startsWith(QStringLiteral("Freed ")) && summary.endsWith(QStringLiteral("(1 item).")),
             qPrintable(summary));
    QTRY_COMPARE(server.received().size(), std::size_t{1});
    QCOMPARE(text(server.received().front().title), QString::fromLatin1(TrayPanel::cleanedTitle));
    QCOMPARE(text(server.received().front().body), summary);
    QCOMPARE(context_.history->entries().size(), std::size_t{1});
    QCOMPARE(text(context_.history->entries().front().category), QString::fromUtf8(junkHistoryCategory));
    QVERIFY(actionNamed(*panel.menu(), QStringLiteral("Clean Safe Junk Now"))->isEnabled());
  }

  void theRunnerRunsTheSmartCleanRuleAndWarnsOfLowSpaceOnItsFirstTick() {
    requireBus();
    test::NotificationServer server(bus_->address());
    QVERIFY(server.ready());
    writeBytes(home_->filePath(".cache/pip/http/blob"), QByteArray(40'000, 'p'));
    context_.settings->set(Prefs::ruleSmartClean, true);
    context_.settings->set(Prefs::lowSpaceGB, 10'000'000);  // every real disk is "low" against 10 PB
    const auto timers = std::make_shared<test::ManualTimers>(std::chrono::system_clock::now());
    const auto runner = startBackgroundRunner(context_, timers);
    QCOMPARE(timers->scheduled(), std::size_t{2});  // every fifteen minutes, and once soon

    timers->advance(29s);
    QApplication::processEvents();
    QVERIFY(QFileInfo::exists(home_->filePath(".cache/pip")));  // not yet
    timers->advance(1s);
    QTRY_VERIFY_WITH_TIMEOUT(runner->idle() && !runner->running(), 30'000);
    QVERIFY(!QFileInfo::exists(home_->filePath(".cache/pip")));
    QTRY_COMPARE(server.received().size(), std::size_t{2});
    QCOMPARE(titlesOf(server.received()), (std::vector<std::string>{Background::autoCleanTitle, lowSpaceTitle()}));
    const auto entries = context_.history->entries();
    QCOMPARE(entries.size(), std::size_t{1});
    QCOMPARE(text(entries.front().category), QString::fromUtf8(Rules::smartCleanLabel));

    // The next tick a quarter of an hour later: the rules are not due and the warning waits six hours.
    timers->advance(15min);
    QTRY_VERIFY(runner->idle() && !runner->running());
    QTest::qWait(200);
    QCOMPARE(server.received().size(), std::size_t{2});
  }

  void theEventLoopTimersFireOnTimeAndStopWithTheirHandle() {
    QtTimers timers;
    int once = 0;
    int repeated = 0;
    auto single = timers.after(20ms, [&] { ++once; });
    auto every = timers.every(10ms, [&] { ++repeated; });
    QTRY_VERIFY(repeated >= 3 && once == 1);
    QTest::qWait(50);
    QCOMPARE(once, 1);
    every.reset();
    const int stoppedAt = repeated;
    QTest::qWait(50);
    QCOMPARE(repeated, stoppedAt);
    auto cancelled = timers.after(10ms, [&] { ++once; });
    cancelled.reset();
    QTest::qWait(40);
    QCOMPARE(once, 1);
    QVERIFY(std::chrono::abs(timers.now() - std::chrono::system_clock::now()) < 1s);
  }

  void theTrayMenuIsPhotographedInLightAndDark() {
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      QWidget window;
      TrayPanel panel(context_, &window, std::make_unique<StandInTray>(tray_));
      panel.menu()->popup(QPoint(40, 40));
      QVERIFY(QTest::qWaitForWindowExposed(panel.menu()));
      photograph(*panel.menu(), QStringLiteral("tray-menu") + suffix);
      panel.menu()->hide();
    }
    applyAppearance(Appearance::light);
  }

 private:
  void requireBus() {
    if (!bus_->started()) QSKIP(qPrintable(QStringLiteral("no private session bus: ") + text(bus_->problem())));
  }

  std::unique_ptr<QTemporaryDir> home_;
  std::unique_ptr<test::SessionBus> bus_;
  Context context_;
  std::shared_ptr<StandInTray::State> tray_;
};

APP_TEST(TrayRunnerTest)

}  // namespace tw::app

#include "tray_runner_test.moc"
