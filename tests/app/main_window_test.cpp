#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QProcess>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <QTreeWidget>

#include "app/appearance.h"
#include "app/main_window.h"
#include "app/pane_item_model.h"
#include "app/qt_dispatcher.h"
#include "app_test.h"
#include "core/format.h"
#include "core/scan_cache.h"
#include "sample_home.h"
#include "screens/registry.h"
#include "widget_files.h"

namespace tw::app {
namespace {

constexpr int paneRole = Qt::UserRole;

QString text(const std::string& value) { return QString::fromStdString(value); }

// The first item row whose box is clear, so that ticking it adds to the selection.
QModelIndex firstUnticked(const QAbstractItemModel& model) {
  for (int group = 0; group < model.rowCount(); ++group) {
    const QModelIndex parent = model.index(group, 0);
    for (int row = 0; row < model.rowCount(parent); ++row) {
      const QModelIndex item = model.index(row, 0, parent);
      if (item.data(Qt::CheckStateRole).toInt() == Qt::Unchecked) return item;
    }
  }
  return {};
}

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    context_ = sampleContext(home_->path());
  }
  void cleanup() { home_.reset(); }

  void theSidebarListsEveryDestinationInOrderWithItsLastKnownSize() {
    ScanCache::save(context_, "projects", 12'300'000'000, 40);
    ScanCache::save(context_, "docker", 987'000'000, 7);
    MainWindow window(context_, qtDispatcher());
    auto* sidebar = window.findChild<QTreeWidget*>(QStringLiteral("sidebar"));
    QVERIFY(sidebar);

    QStringList shown;
    QMap<QString, QString> sizes;
    for (int row = 0; row < sidebar->topLevelItemCount(); ++row) {
      const QTreeWidgetItem* item = sidebar->topLevelItem(row);
      const bool destination = item->data(0, paneRole).isValid();
      shown << (destination ? item->text(0) : QStringLiteral("# ") + item->text(0));
      if (destination) sizes[item->text(0)] = item->text(1);
      // Off screen there is no icon theme: every row must still draw its bundled icon.
      if (destination) QVERIFY2(!item->icon(0).pixmap(18).isNull(), qPrintable(item->text(0)));
    }
    QStringList expected{QStringLiteral("Overview"), QStringLiteral("# Cleanup")};
    for (const auto& screen : Screens::cleanup()) expected << text(screen.title);
    expected << QStringLiteral("# Disk") << QStringLiteral("Space Lens") << QStringLiteral("Trash")
             << QStringLiteral("# Developer");
    for (const auto& screen : Screens::developer()) expected << text(screen.title);
    expected << QStringLiteral("History");
    QCOMPARE(shown, expected);
    // Git Repos comes after Docker: the table's order, not the declaration order.
    QVERIFY(shown.indexOf(QStringLiteral("Git Repos")) == shown.indexOf(QStringLiteral("Docker")) + 1);

    QCOMPARE(sizes.value(QStringLiteral("Projects")), QStringLiteral("12.3 GB"));
    QCOMPARE(sizes.value(QStringLiteral("Docker")), QStringLiteral("987 MB"));
    QCOMPARE(sizes.value(QStringLiteral("Toolchains")), QString());

    // A later scan's size shows without a restart.
    ScanCache::save(context_, "toolchains", 5'000'000'000, 3);
    QTRY_COMPARE(sidebar->findItems(QStringLiteral("Toolchains"), Qt::MatchExactly).value(0)->text(1),
                 QStringLiteral("5 GB"));
  }

  void tickingAnItemWithTheKeyboardAddsItToTheFooterTotal() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    window.showPane(Pane::projects);
    const auto& pane = window.panes().at(Pane::projects);
    QTRY_VERIFY(pane->loaded());

    auto* view = window.findChild<QWidget*>(QStringLiteral("projects"));
    QVERIFY(view);
    auto* tree = view->findChild<QTreeView*>(QStringLiteral("items"));
    auto* footer = view->findChild<QLabel*>(QStringLiteral("selectedTotal"));
    QVERIFY(tree && footer);
    const QModelIndex item = firstUnticked(*tree->model());
    QVERIFY2(item.isValid(), "the sample projects have an item that is not pre-selected");

    const std::int64_t before = pane->selectedTotal();
    const auto count = pane->selectedItems().size();
    const DevGroup& group = *pane->groups().at(static_cast<std::size_t>(item.parent().row()));
    const DevItem& ticked = group.items().at(static_cast<std::size_t>(item.row()));

    tree->setFocus();
    tree->setCurrentIndex(item);
    QTest::keyClick(tree, Qt::Key_Space);

    QVERIFY(pane->isSelected(ticked.id));
    QCOMPARE(item.data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
    const QString expected = QStringLiteral("%1 items selected, %2")
                                 .arg(count + 1)
                                 .arg(text(byteFormatter(before + ticked.freeable.value_or(0))));
    QTRY_COMPARE(footer->text(), expected);

    // Its group's box follows its items: all ticked reads checked, none reads clear.
    QTest::keyClick(tree, Qt::Key_Space);
    QVERIFY(!pane->isSelected(ticked.id));
    QCOMPARE(pane->selectedTotal(), before);

    // A screen reader hears each row's badges, which are otherwise only drawn.
    QStringList heard;
    for (int row = 0; row < tree->model()->rowCount(); ++row) {
      const QModelIndex group = tree->model()->index(row, 0);
      for (int child = 0; child < tree->model()->rowCount(group); ++child) {
        heard
            << tree->model()->index(child, PaneItemModel::badgesColumn, group).data(Qt::AccessibleTextRole).toString();
      }
    }
    QVERIFY2(heard.contains(QStringLiteral("mostly shared")), qPrintable(heard.join(QLatin1Char('|'))));
  }

  void controlAndADigitOpensThatDestinationAndControlRRescansIt() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    auto* stack = window.findChild<QStackedWidget*>();
    QVERIFY(stack);
    // Overview, then the cleanup screens: Ctrl+3 is the second of them.
    QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
    QCOMPARE(stack->currentWidget()->objectName(), text(std::string(rawValue(Screens::cleanup().at(1).pane))));
    const auto& pane = window.panes().at(Screens::cleanup().at(1).pane);
    QTRY_VERIFY(pane->loaded() && !pane->loading());

    bool reloaded = false;
    const int token = pane->observe([&](const DevPane::Notice& notice) {
      if (notice.field == DevPaneField::loading && pane->loading()) reloaded = true;
    });
    QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
    QVERIFY(reloaded);
    pane->unobserve(token);
  }

  void everyListScreenIsPhotographedInLightAndDark() {
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      // As at start-up: the appearance first, then the window.
      applyAppearance(appearance);
      MainWindow window(context_, qtDispatcher());
      window.show();
      for (const auto& screen : Screens::all()) {
        window.showPane(screen.pane);
        QTRY_VERIFY_WITH_TIMEOUT(window.panes().at(screen.pane)->loaded(), 10'000);
        photograph(window, QString::fromUtf8(rawValue(screen.pane).data()) + suffix);
      }
    }
  }

  // Closing the window while screens scan joins their work, and what a scan finds after
  // that is dropped: nothing reaches the scan cache of a window that is gone.
  void closingTheWindowWhileScreensScanEndsTheirWorkAndRecordsNothing() {
    const Context real = homeContext(home_->path());
    QVERIFY(QDir(home_->path()).mkpath(QStringLiteral("Developer/site/node_modules/left-pad")));
    {
      auto window = std::make_unique<MainWindow>(real, qtDispatcher());
      window->show();
      for (const auto& screen : Screens::all()) window->showPane(screen.pane);
      for (const auto& screen : Screens::all()) QVERIFY(window->panes().at(screen.pane)->loading());
    }
    QTest::qWait(200);
    QVERIFY(ScanCache::all(real).empty());

    // While the window stays, the same scan is recorded.
    MainWindow window(real, qtDispatcher());
    window.showPane(Pane::projects);
    QTRY_VERIFY_WITH_TIMEOUT(window.panes().at(Pane::projects)->loaded(), 30'000);
    QVERIFY(ScanCache::all(real).contains("projects"));
  }

  // The real program under a real X server: the window comes up, shows every pane with
  // sample data (the lens after scanning the real home folder), saves each one as a picture
  // in the current folder and quits.
  void theProgramOpensItsWindowOnAnXServerAndPhotographsEveryPane() {
    const QString xvfbRun = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
    if (xvfbRun.isEmpty()) QSKIP("xvfb-run is not installed (Debian package xvfb)");
    QProcess program;
    program.setWorkingDirectory(home_->path());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(QLatin1String(name));
    environment.insert(QStringLiteral("HOME"), home_->path());
    environment.insert(QStringLiteral("TIDEWARDEN_SNAPSHOT"), QStringLiteral("1"));
    environment.insert(QStringLiteral("TIDEWARDEN_SNAPSHOT_DELAY"), QStringLiteral("0"));
    environment.insert(QStringLiteral("TIDEWARDEN_APPEARANCE"), QStringLiteral("dark"));
    // libxkbcommon-x11, which Qt's X11 platform loads, hands strndup a length past the end of
    // a string it owns; the strict string check of AddressSanitizer reports that read inside
    // the system library. Everything else stays checked.
    QString sanitizer = environment.value(QStringLiteral("ASAN_OPTIONS"));
    sanitizer.replace(QStringLiteral("strict_string_checks=1"), QStringLiteral("strict_string_checks=0"));
    if (!sanitizer.isEmpty()) environment.insert(QStringLiteral("ASAN_OPTIONS"), sanitizer);
    // Qt's X11 platform asks the session bus for the desktop's settings; libdbus keeps a
    // buffer of that until exit, which the leak checker would count against us.
    QFile suppressions(QDir(home_->path()).filePath(QStringLiteral("leaks.supp")));
    QVERIFY(suppressions.open(QIODevice::WriteOnly) && suppressions.write("leak:libdbus-1.so\n") > 0);
    suppressions.close();
    environment.insert(QStringLiteral("LSAN_OPTIONS"), QStringLiteral("suppressions=") + suppressions.fileName());
    program.setProcessEnvironment(environment);
    program.start(xvfbRun, {QStringLiteral("-a"), QStringLiteral(TIDEWARDEN_BINARY)});
    QVERIFY(program.waitForFinished(60'000));
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0,
             program.readAllStandardError().constData());
    const QString said = QString::fromUtf8(program.readAllStandardOutput());
    const QString lensLine = QStringLiteral("lens: ") + home_->path() + QStringLiteral(", ");
    QVERIFY2(said.contains(lensLine), qPrintable(said));

    const QDir folder(home_->path());
    for (const Pane pane : allPanes()) {
      const QString name = QString::fromUtf8(rawValue(pane).data()) + QStringLiteral("-dark.png");
      const QImage picture(folder.filePath(name));
      QVERIFY2(!picture.isNull(), qPrintable(name));
      QVERIFY(picture.width() >= 800 && picture.height() >= 500);
    }
  }

 private:
  std::unique_ptr<QTemporaryDir> home_;
  Context context_;
};

}  // namespace tw::app

APP_TEST(tw::app::MainWindowTest)

#include "main_window_test.moc"
