#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <QUrl>

#include "app/appearance.h"
#include "app/main_window.h"
#include "app/qt_dispatcher.h"
#include "app/sidebar.h"
#include "app/trash_item_model.h"
#include "app/trash_view.h"
#include "app_test.h"
#include "core/format.h"
#include "core/history.h"
#include "core/scan_cache.h"
#include "sample_home.h"
#include "trash/trash_layout.h"
#include "widget_files.h"

namespace tw::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

QByteArray contents(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Answers the next modal message box once it is up by clicking the button named `button`.
void clickInNextQuestion(const QString& button) {
  auto* poll = new QTimer(qApp);
  poll->setInterval(10);
  QObject::connect(poll, &QTimer::timeout, poll, [poll, button] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || !box->isVisible()) return;
    poll->stop();
    poll->deleteLater();
    for (QAbstractButton* candidate : box->buttons()) {
      if (candidate->objectName() == button) candidate->click();
    }
  });
  poll->start();
}

}  // namespace

// The Trash screen over a Trash that trash-cli filled in a temporary home; the model sees
// only that home's Trash, so nothing on the machine's other volumes is ever touched.
class TrashViewTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    context_ = homeContext(home_->path());
    // The Trash's items lie in its files/ folder, their records in info/ beside it.
    trashFolder_ = QFileInfo(text(TrashLayout::homeDir(context_).dir)).path();
  }

  void cleanup() { home_.reset(); }

  void putBackRestoresEachItemToItsFolderOrAFreeNameBesideIt() {
    requireTrashCli();
    writeBytes(path("docs/report.txt"), "first report\n");
    writeBytes(path("docs/notes.md"), "old notes\n");
    trashPut({path("docs/report.txt"), path("docs/notes.md")});
    writeBytes(path("docs/notes.md"), "new notes\n");  // the name is taken again meanwhile
    TrashView view(context_, homeTrash());
    view.show();
    waitUntilListed(view, 2);
    QCOMPARE(originShown(view, "report.txt"), QStringLiteral("~/docs/report.txt"));

    tickAll(view);
    view.findChild<QPushButton*>(QStringLiteral("putBack"))->click();
    waitUntilSettled(view);

    QCOMPARE(contents(path("docs/report.txt")), QByteArray("first report\n"));
    QCOMPARE(contents(path("docs/notes.md")), QByteArray("new notes\n"));
    const QStringList besides = QDir(path("docs")).entryList({QStringLiteral("notes*.md")}, QDir::Files);
    QCOMPARE(besides.size(), 2);
    QStringList restoredOld;
    for (const QString& name : besides) {
      if (contents(path("docs/" + name)) == "old notes\n") restoredOld << name;
    }
    QCOMPARE(restoredOld.size(), 1);
    QVERIFY(trashList().isEmpty());
    QCOMPARE(view.findChild<TrashItemModel*>()->rowCount(), 0);
  }

  void aRowsMenuPutsBackOrCopiesThatItemAlone() {
    requireTrashCli();
    writeBytes(path("src/main.c"), "int main;\n");
    writeBytes(path("src/util.c"), "int util;\n");
    trashPut({path("src/main.c"), path("src/util.c")});
    TrashView view(context_, homeTrash());
    view.show();
    waitUntilListed(view, 2);
    tick(view, "util.c");  // ticked, but the menu acts on its own row

    QMenu* menu = openRowMenu(view, "main.c");
    QVERIFY(menu);
    QCOMPARE(actionTexts(*menu), (QStringList{"Put Back", "Delete…", "—", "Copy Original Location"}));
    actionNamed(*menu, "Copy Original Location")->trigger();
    QCOMPARE(QGuiApplication::clipboard()->text(), path("src/main.c"));
    menu->close();

    menu = openRowMenu(view, "main.c");
    QVERIFY(menu);
    actionNamed(*menu, "Put Back")->trigger();
    menu->close();
    waitUntilSettled(view);
    QCOMPARE(contents(path("src/main.c")), QByteArray("int main;\n"));
    QVERIFY(!QFileInfo::exists(path("src/util.c")));
    QCOMPARE(names(view), QStringList{"util.c"});
  }

  void deleteAsksFirstAndRemovesOnlyTheTickedItems() {
    requireTrashCli();
    writeBytes(path("keep.log"), "keep\n");
    writeBytes(path("old build/out.o"), QByteArray(50'000, 'x'));
    trashPut({path("keep.log"), path("old build")});
    TrashView view(context_, homeTrash());
    view.show();
    waitUntilListed(view, 2);
    tick(view, "old build");

    clickInNextQuestion(QStringLiteral("cancel"));
    view.findChild<QPushButton*>(QStringLiteral("delete"))->click();
    waitUntilSettled(view);
    QCOMPARE(trashList().size(), 2);  // cancelled: nothing went

    clickInNextQuestion(QStringLiteral("confirm"));
    view.findChild<QPushButton*>(QStringLiteral("delete"))->click();
    waitUntilSettled(view);
    const QStringList left = trashList();
    QCOMPARE(left.size(), 1);
    QVERIFY2(left.front().endsWith(path("keep.log")), qPrintable(left.front()));
    QVERIFY(!QFileInfo::exists(trashFolder_ + QStringLiteral("/files/old build")));
    QVERIFY(!QFileInfo::exists(trashFolder_ + QStringLiteral("/info/old build.trashinfo")));
    const auto history = context_.history->entries();
    QCOMPARE(history.size(), std::size_t{1});
    QCOMPARE(text(history.front().category), QStringLiteral("Trash"));
    QCOMPARE(text(history.front().name), QStringLiteral("old build"));
    QVERIFY(history.front().bytes >= 50'000);
    QVERIFY(view.findChild<QLabel*>(QStringLiteral("status"))->text().startsWith(QStringLiteral("Deleted 1 item")));
  }

  void emptyTrashDeletesEverythingAndTheSidebarFollowsTheTotal() {
    requireTrashCli();
    writeBytes(path("a.bin"), QByteArray(20'000, 'a'));
    writeBytes(path("project/target/big.bin"), QByteArray(80'000, 'b'));
    trashPut({path("a.bin"), path("project/target")});
    MainWindow window(context_, qtDispatcher());
    // This home's Trash only; never shown: the sidebar learns the total all the same.
    auto* view = new TrashView(context_, homeTrash(), &window);
    waitUntilListed(*view, 2);
    QTRY_VERIFY(!view->trash().sizing());
    const auto cached = [&] { return ScanCache::all(context_)["trash"].bytes; };
    QTRY_COMPARE(cached(), view->trash().total());
    QVERIFY(cached() >= 100'000);
    QTRY_COMPARE(sidebarSize(window), text(byteFormatter(cached())));

    clickInNextQuestion(QStringLiteral("confirm"));
    view->findChild<QPushButton*>(QStringLiteral("empty"))->click();
    waitUntilSettled(*view);
    QVERIFY(trashList().isEmpty());
    QVERIFY(QDir(trashFolder_ + QStringLiteral("/files")).isEmpty());
    QVERIFY(QDir(trashFolder_ + QStringLiteral("/info")).isEmpty());
    QTRY_COMPARE(cached(), std::int64_t{0});
    QTRY_COMPARE(sidebarSize(window), text(byteFormatter(0)));
    QVERIFY(!view->findChild<QPushButton*>(QStringLiteral("empty"))->isEnabled());
  }

  void searchTheOlderFilterAndTheSortsChangeTheRows() {
    writeTrashed("fresh.txt", 10, 30'000);
    writeTrashed("ancient.log", 45, 10'000);
    writeTrashed("Middle.dat", 31, 20'000);
    TrashView view(context_, homeTrash());
    view.show();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    waitUntilListed(view, 3);
    QCOMPARE(names(view), (QStringList{"fresh.txt", "Middle.dat", "ancient.log"}));  // largest first
    auto* list = view.findChild<QTreeView*>(QStringLiteral("trashItems"));
    list->setCurrentIndex(list->model()->index(rowNamed(view, "fresh.txt"), TrashItemModel::nameColumn));
    view.findChild<QComboBox*>(QStringLiteral("sort"))->setCurrentIndex(2);
    QCOMPARE(names(view), (QStringList{"ancient.log", "fresh.txt", "Middle.dat"}));  // A to Z, ignoring case
    QCOMPARE(list->currentIndex().data().toString(), QStringLiteral("fresh.txt"));   // the row it was on
    view.findChild<QComboBox*>(QStringLiteral("sort"))->setCurrentIndex(1);
    QCOMPARE(names(view), (QStringList{"fresh.txt", "Middle.dat", "ancient.log"}));  // newest first
    view.findChild<QCheckBox*>(QStringLiteral("olderOnly"))->setChecked(true);
    QCOMPARE(names(view), (QStringList{"Middle.dat", "ancient.log"}));
    auto* search = view.findChild<QLineEdit*>(QStringLiteral("trashSearch"));
    QTest::keyClick(&view, Qt::Key_F, Qt::ControlModifier);  // Ctrl+F reaches the field
    QTRY_VERIFY(search->hasFocus());
    QTest::keyClicks(search, QStringLiteral("ANC"));
    QCOMPARE(names(view), (QStringList{"ancient.log"}));
    search->clear();
    view.findChild<QCheckBox*>(QStringLiteral("olderOnly"))->setChecked(false);
    QCOMPARE(names(view).size(), 3);
  }

  void tenThousandItemsOpenQuicklyTheirSizesFillInAfterwardsAndEmptyingShowsProgress() {
    // Written directly (files and their records), as trash-put would take minutes.
    constexpr int folders = 1'000;
    constexpr int files = 9'000;
    const QString info = trashFolder_ + QStringLiteral("/info/");
    const QString stored = trashFolder_ + QStringLiteral("/files/");
    QVERIFY(QDir().mkpath(info) && QDir().mkpath(stored));
    const QByteArray date = QDateTime::currentDateTime().addDays(-3).toString(Qt::ISODate).left(19).toUtf8();
    for (int index = 0; index < folders + files; ++index) {
      const QString name = QStringLiteral("item-%1%2").arg(index).arg(index < folders ? "" : ".txt");
      if (index < folders) {
        QVERIFY(QDir().mkpath(stored + name));
        writeBytes(stored + name + QStringLiteral("/inside.bin"), QByteArray(100 + index, 'f'));
      } else {
        writeBytes(stored + name, QByteArray(10 + index % 100, 't'));
      }
      writeBytes(info + name + QStringLiteral(".trashinfo"),
                 "[Trash Info]\nPath=" + path("work/" + name).toUtf8() + "\nDeletionDate=" + date + "\n");
    }
    TrashView view(context_, homeTrash());
    const auto* model = view.findChild<TrashItemModel*>();
    QElapsedTimer clock;
    clock.start();
    view.show();
    QTRY_VERIFY_WITH_TIMEOUT(model->rowCount() == folders + files, 30'000);
    const auto listed = clock.elapsed();
    QTRY_VERIFY_WITH_TIMEOUT(!view.trash().sizing(), 60'000);
    qInfo("Trash view with %d items: rows shown after %lld ms, every folder measured after %lld ms", folders + files,
          static_cast<long long>(listed), static_cast<long long>(clock.elapsed()));
    for (const auto& item : view.trash().items()) QVERIFY(item.size.has_value());
    // The same listing without a view, to tell the view's share from the listing's.
    const auto bare = homeTrash();
    clock.restart();
    bare->load();
    QTRY_VERIFY_WITH_TIMEOUT(bare->loaded(), 30'000);
    qInfo("The listing alone, without a view: %lld ms", static_cast<long long>(clock.elapsed()));

    // Emptying that many shows its progress while it works, and the list is empty after.
    clickInNextQuestion(QStringLiteral("confirm"));
    clock.restart();
    view.findChild<QPushButton*>(QStringLiteral("empty"))->click();
    auto* progress = view.findChild<QProgressBar*>(QStringLiteral("progress"));
    QVERIFY(view.trash().busy());
    QVERIFY(progress->isVisible());
    QCOMPARE(progress->maximum(), folders + files);
    QVERIFY(view.findChild<QLabel*>(QStringLiteral("status"))->text().startsWith(QStringLiteral("Working…")));
    QVERIFY(!view.findChild<QPushButton*>(QStringLiteral("empty"))->isEnabled());
    waitUntilSettled(view);
    qInfo("Emptying %d items took %lld ms", folders + files, static_cast<long long>(clock.elapsed()));
    QVERIFY(!progress->isVisible());
    QCOMPARE(model->rowCount(), 0);
    QVERIFY(QDir(stored).isEmpty());
    QVERIFY(QDir(info).isEmpty());
  }

  void theTrashIsPhotographedInLightAndDark() {
    writeTrashed("Screen Recording 2026-10-02.mp4", 52, 48'000'000);
    writeTrashed("node_modules", 12, 0, true);
    writeTrashed("invoice-draft.pdf", 3, 240'000);
    writeTrashed("old-backup.tar.gz", 40, 12'500'000);
    writeTrashed("scratch.py", 1, 2'100);
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      MainWindow window(context_, qtDispatcher());
      window.show();
      window.showPane(Pane::trash);
      auto* view = window.findChild<TrashView*>();
      QTRY_VERIFY(view->trash().loaded() && !view->trash().sizing() && !view->trash().loading());
      view->trash().setSelected(view->trash().items().front().path, true);
      photograph(window, QStringLiteral("trash") + suffix);
    }
    applyAppearance(Appearance::light);
  }

 private:
  QString path(const QString& relative) const { return home_->filePath(relative); }

  std::shared_ptr<TrashModel> homeTrash() {
    return std::make_shared<TrashModel>(qtDispatcher(), context_,
                                        [context = context_] { return std::vector{TrashLayout::homeDir(context)}; });
  }

  QProcessEnvironment toolEnvironment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home_->path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral(".local/share")));
    return environment;
  }

  static void requireTrashCli() {
    if (QStandardPaths::findExecutable(QStringLiteral("trash-put")).isEmpty() ||
        QStandardPaths::findExecutable(QStringLiteral("trash-list")).isEmpty()) {
      QSKIP("trash-cli (trash-put, trash-list) is not installed");
    }
  }

  QString runTool(const QString& program, const QStringList& arguments) {
    QProcess tool;
    tool.setProcessEnvironment(toolEnvironment());
    tool.start(program, arguments);
    if (!tool.waitForFinished(30'000) || tool.exitCode() != 0) {
      qWarning("%s failed: %s", qPrintable(program), tool.readAllStandardError().constData());
      return QStringLiteral("<failed>");
    }
    return QString::fromUtf8(tool.readAllStandardOutput());
  }

  void trashPut(const QStringList& paths) {
    QCOMPARE(runTool(QStringLiteral("trash-put"), paths), QString());
    for (const QString& trashed : paths) QVERIFY(!QFileInfo::exists(trashed));
  }

  // What trash-list sees trashed from this home: "date time path" per line.
  QStringList trashList() {
    const QString listed = runTool(QStringLiteral("trash-list"), {});
    QStringList lines = listed.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString ours = QLatin1Char(' ') + home_->path() + QLatin1Char('/');
    lines.removeIf([&](const QString& line) { return !line.contains(ours); });
    return lines;
  }

  // An item and its record as a Trash keeps them, trashed `days` ago.
  void writeTrashed(const QString& name, int days, int bytes, bool folder = false) {
    const QString stored = trashFolder_ + QStringLiteral("/files/") + name;
    if (folder) {
      for (int part = 0; part < 6; ++part) {
        writeBytes(stored + QStringLiteral("/lib%1/index.js").arg(part), QByteArray(30'000 * (part + 1), 'j'));
      }
    } else {
      writeBytes(stored, QByteArray(bytes, 'd'));
    }
    const QByteArray date = QDateTime::currentDateTime().addDays(-days).toString(Qt::ISODate).left(19).toUtf8();
    writeBytes(trashFolder_ + QStringLiteral("/info/") + name + QStringLiteral(".trashinfo"),
               "[Trash Info]\nPath=" + QUrl::toPercentEncoding(path("Projects/" + name), "/") +
                   "\nDeletionDate=" + date + "\n");
  }

  static void waitUntilListed(TrashView& view, int rows) {
    QTRY_VERIFY(view.trash().loaded() && !view.trash().loading());
    QCOMPARE(view.findChild<TrashItemModel*>()->rowCount(), rows);
  }

  static void waitUntilSettled(TrashView& view) {
    QTRY_VERIFY_WITH_TIMEOUT(!view.trash().busy() && !view.trash().loading() && !QApplication::activeModalWidget(),
                             60'000);
  }

  static QStringList names(TrashView& view) {
    const auto* model = view.findChild<TrashItemModel*>();
    QStringList shown;
    for (int row = 0; row < model->rowCount(); ++row)
      shown << model->index(row, TrashItemModel::nameColumn).data().toString();
    return shown;
  }

  static int rowNamed(TrashView& view, const QString& name) { return static_cast<int>(names(view).indexOf(name)); }

  static QString originShown(TrashView& view, const QString& name) {
    const auto* model = view.findChild<TrashItemModel*>();
    return model->index(rowNamed(view, name), TrashItemModel::originColumn).data().toString();
  }

  // Ticks a row the way a user does: the row made current, then Space.
  static void tick(TrashView& view, const QString& name) {
    auto* list = view.findChild<QTreeView*>(QStringLiteral("trashItems"));
    list->setFocus();
    list->setCurrentIndex(list->model()->index(rowNamed(view, name), TrashItemModel::nameColumn));
    QTest::keyClick(list, Qt::Key_Space);
    QCOMPARE(list->currentIndex().data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
  }

  // Asks for the menu of the row named `name`, as a right click does, and returns it once up.
  static QMenu* openRowMenu(TrashView& view, const QString& name) {
    auto* list = view.findChild<QTreeView*>(QStringLiteral("trashItems"));
    const QRect row = list->visualRect(list->model()->index(rowNamed(view, name), TrashItemModel::nameColumn));
    emit list->customContextMenuRequested(row.center());
    QMenu* menu = nullptr;
    [&] { QTRY_VERIFY((menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) != nullptr); }();
    return menu;
  }

  static void tickAll(TrashView& view) {
    for (const QString& name : names(view)) tick(view, name);
  }

  static QString sidebarSize(MainWindow& window) {
    auto* sidebar = window.findChild<Sidebar*>();
    const auto rows = sidebar->findItems(QStringLiteral("Trash"), Qt::MatchExactly, 0);
    return rows.isEmpty() ? QString() : rows.front()->text(1);
  }

  std::unique_ptr<QTemporaryDir> home_;
  Context context_;
  QString trashFolder_;
};

APP_TEST(TrashViewTest)

}  // namespace tw::app

#include "trash_view_test.moc"
