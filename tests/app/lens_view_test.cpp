#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>
#include <QTreeView>
#include <QTreeWidget>

#include "app/appearance.h"
#include "app/lens_children_model.h"
#include "app/lens_view.h"
#include "app/main_window.h"
#include "app/qt_dispatcher.h"
#include "app/treemap_widget.h"
#include "app_test.h"
#include "core/history.h"
#include "lens/snapshots.h"
#include "sample_home.h"
#include "widget_files.h"

namespace tw::app {
namespace {

namespace fs = std::filesystem;
constexpr std::int64_t MiB = 1 << 20;

// A file of `bytes` allocated bytes: sizes on disk are allocated sizes, so the blocks must
// really be there, not a hole.
bool writeBlocks(const fs::path& path, std::int64_t bytes) {
  fs::create_directories(path.parent_path());
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool allocated = ::posix_fallocate(fd, 0, bytes) == 0;
  ::close(fd);
  struct stat info {};
  return allocated && ::stat(path.c_str(), &info) == 0 && info.st_blocks * 512 >= bytes;
}

void writeSmall(const fs::path& path) {
  fs::create_directories(path.parent_path());
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd >= 0) {
    (void)::write(fd, "small", 5);
    ::close(fd);
  }
}

// Answers the next modal dialog with the button of that object name, within about two seconds.
void answerNextDialog(const QString& button, int tries = 200) {
  QTimer::singleShot(10, [button, tries] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) {
      if (tries > 0) answerNextDialog(button, tries - 1);
      return;
    }
    QTest::mouseClick(dialog->findChild<QPushButton*>(button), Qt::LeftButton);
  });
}

QPoint centreOf(const LensTile& tile) {
  return QPoint(static_cast<int>(tile.rect.x + tile.rect.width / 2),
                static_cast<int>(tile.rect.y + tile.rect.height / 2));
}

const LensTile* tileNamed(const TreemapWidget& map, const std::string& name) {
  for (const auto& tile : map.tiles()) {
    if (tile.node && tile.node->name == name) return &tile;
  }
  return nullptr;
}

// What the map of a folder must be: squarify's rectangles for its children's sizes and its
// small entries' total, largest first, in the map's own area.
std::vector<Rect> expectedRects(const FSNode& folder, const QSize& area, bool real = false) {
  std::vector<double> values;
  std::int64_t childrenReal = 0;
  for (const auto& child : folder.children) {
    values.push_back(static_cast<double>(real ? child->freeable : child->size));
    childrenReal += child->freeable;
  }
  const std::int64_t folded = real ? folder.freeable - childrenReal : folder.smallBytes;
  if (folder.smallCount > 0 && folded > 0) values.push_back(static_cast<double>(folded));
  std::stable_sort(values.begin(), values.end(), std::greater<>());
  if (values.size() > kTreemapTileLimit) values.resize(kTreemapTileLimit);
  return squarify(values, {0, 0, static_cast<double>(area.width()), static_cast<double>(area.height())});
}

}  // namespace

// Space Lens over real folders of a fake home: the map, moving about in it, stopping a scan,
// moving to the Trash and what changed since the last scan.
class LensViewTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    root_ = home_->path().toStdString();
    context_ = homeContext(home_->path());
  }
  void cleanup() { home_.reset(); }

  void theMapOfEachLevelIsTheSquarifiedLayoutOfItsChildren() {
    const fs::path data = root_ + "/data";
    for (int index = 0; index < 9; ++index) {
      QVERIFY(writeBlocks(data / ("file" + std::to_string(index) + ".bin"), (index + 1) * MiB + index * 4096));
    }
    QVERIFY(writeBlocks(data / "nested/inner/a.bin", 5 * MiB));
    QVERIFY(writeBlocks(data / "nested/b.bin", 2 * MiB));
    for (int index = 0; index < 30; ++index) writeSmall(data / "nested" / ("note" + std::to_string(index)));
    LensView view(context_, qtDispatcher());
    showAndScan(view, data.string());

    const FSNode* root = view.model().root();
    QCOMPARE(root->children.size(), std::size_t{10});
    QCOMPARE(root->children.front()->name, std::string("file8.bin"));
    QCOMPARE(root->children.front()->size, 9 * MiB + 8 * 4096);
    auto* map = view.findChild<TreemapWidget*>(QStringLiteral("treemap"));
    checkTiles(*map, *root);

    // The list beside it holds the same children, largest first.
    auto* list = view.findChild<QTreeView*>(QStringLiteral("lensChildren"));
    QCOMPARE(list->model()->rowCount(), 10);
    for (int row = 0; row < 10; ++row) {
      QCOMPARE(list->model()->index(row, 0).data().toString().toStdString(), root->children[row]->name);
    }

    // One level down, with its small files folded into one tile.
    view.model().openPath(data.string() + "/nested");
    const FSNode* nested = view.model().current();
    QCOMPARE(nested->name, std::string("nested"));
    QCOMPARE(nested->smallCount, 30);
    checkTiles(*map, *nested);
    QVERIFY(std::any_of(map->tiles().begin(), map->tiles().end(), [](const LensTile& tile) { return !tile.node; }));

    // Mapped by what deleting would give back, the tiles are that measure's layout.
    view.findChild<QComboBox*>(QStringLiteral("mapMeasure"))->setCurrentIndex(1);
    checkTiles(*map, *nested, /*real=*/true);
    QVERIFY(nested->freeable > 0);
  }

  void foldersOpenByClickAndEnterAndBackspaceAndTheBreadcrumbsGoBackUp() {
    const fs::path work = root_ + "/work";
    QVERIFY(writeBlocks(work / "app/build/out.bin", 8 * MiB));
    QVERIFY(writeBlocks(work / "app/src.bin", 2 * MiB));
    QVERIFY(writeBlocks(work / "docs/manual.pdf", 3 * MiB));
    QVERIFY(writeBlocks(work / "movie.mkv", 4 * MiB));
    LensView view(context_, qtDispatcher());
    showAndScan(view, work.string());
    auto* map = view.findChild<TreemapWidget*>(QStringLiteral("treemap"));
    auto* list = view.findChild<QTreeView*>(QStringLiteral("lensChildren"));

    // Hovering a tile tells its path and sizes.
    const QPoint movie = centreOf(*tileNamed(*map, "movie.mkv"));
    QHelpEvent hover(QEvent::ToolTip, movie, map->mapToGlobal(movie));
    QApplication::sendEvent(map, &hover);
    QVERIFY2(QToolTip::text().contains(QString::fromStdString((work / "movie.mkv").string())) &&
                 QToolTip::text().contains(QStringLiteral("4.2 MB")),
             qPrintable(QToolTip::text()));

    // A click on a file tile selects it, in the list too; a click on a folder tile opens it.
    QTest::mouseClick(map, Qt::LeftButton, {}, centreOf(*tileNamed(*map, "movie.mkv")));
    QCOMPARE(view.selection().size(), std::size_t{1});
    QCOMPARE(view.selection().front()->name, std::string("movie.mkv"));
    QCOMPARE(list->selectionModel()->selectedRows().size(), 1);
    QCOMPARE(list->selectionModel()->selectedRows().front().data().toString(), QStringLiteral("movie.mkv"));
    QTest::mouseClick(map, Qt::LeftButton, {}, centreOf(*tileNamed(*map, "app")));
    QCOMPARE(view.model().current()->name, std::string("app"));
    QVERIFY(tileNamed(*map, "build"));

    // Enter on a row opens it; Backspace goes up a level.
    list->setFocus();
    list->setCurrentIndex(list->model()->index(0, 0));
    QCOMPARE(list->currentIndex().data().toString(), QStringLiteral("build"));
    QCOMPARE(view.selection().front()->name, std::string("build"));
    QVERIFY(map->tiles().front().node == view.selection().front());
    QTest::keyClick(list, Qt::Key_Return);
    QCOMPARE(view.model().current()->name, std::string("build"));
    const auto crumbs = [&] {
      auto shown = view.findChildren<QToolButton*>(QStringLiteral("crumb"));
      shown.removeIf([](const QToolButton* crumb) { return !crumb->isVisible(); });
      return shown;
    };
    QCOMPARE(crumbs().size(), 3);
    QCOMPARE(crumbs().back()->text(), QStringLiteral("build"));
    QTest::keyClick(list, Qt::Key_Backspace);
    QCOMPARE(view.model().current()->name, std::string("app"));
    QCOMPARE(view.selection().front()->name, std::string("build"));

    // The first breadcrumb is the scanned folder, written from the home folder.
    QTest::keyClick(list, Qt::Key_Return);
    QCOMPARE(view.model().current()->name, std::string("build"));
    QCOMPARE(crumbs().front()->text(), QStringLiteral("~/work"));
    QTest::mouseClick(crumbs().front(), Qt::LeftButton);
    QCOMPARE(view.model().current(), view.model().root());
  }

  void cancelStopsTheScanAtOnceAndKeepsNothing() {
    // Enough folders that the scan is still going when Cancel is pressed.
    const fs::path deep = root_ + "/many";
    constexpr int folders = 5'000;
    for (int outer = 0; outer < 100; ++outer) {
      for (int inner = 0; inner < folders / 100; ++inner) {
        fs::create_directories(deep / std::to_string(outer) / std::to_string(inner));
      }
    }
    LensView view(context_, qtDispatcher());
    view.show();
    view.setFolder(deep.string());
    QTest::mouseClick(view.findChild<QPushButton*>(QStringLiteral("scan")), Qt::LeftButton);
    QVERIFY(view.model().scanning());
    // Waits for the scan's first folders without turning the event loop, so nothing it
    // might hand back is applied before Cancel.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (view.model().progress().items == 0 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    auto* cancel = view.findChild<QPushButton*>(QStringLiteral("cancelScan"));
    QVERIFY(cancel->isVisible() && cancel->isEnabled());
    QElapsedTimer stopping;
    stopping.start();
    QTest::mouseClick(cancel, Qt::LeftButton);
    const std::int64_t countedAtCancel = view.model().progress().items;
    QVERIFY2(countedAtCancel < folders + 100, "the scan was still going when Cancel was pressed");
    QTRY_VERIFY_WITH_TIMEOUT(!view.model().scanning(), 2'000);
    qInfo("A cancelled scan ended %lld ms after Cancel", static_cast<long long>(stopping.elapsed()));
    QVERIFY(view.model().root() == nullptr);
    QCOMPARE(view.findChild<QLabel*>(QStringLiteral("lensStatus"))->text(), QStringLiteral("Scan cancelled"));
    QVERIFY(!QDir(QString::fromStdString(Snapshots::folder(context_))).exists() ||
            QDir(QString::fromStdString(Snapshots::folder(context_))).isEmpty());
    QVERIFY(view.findChild<QPushButton*>(QStringLiteral("scan"))->isEnabled());

    // The next scan runs to its end.
    QTest::mouseClick(view.findChild<QPushButton*>(QStringLiteral("scan")), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!view.model().scanning(), 60'000);
    QVERIFY(view.model().root());
    QCOMPARE(view.model().root()->itemCount, std::int64_t{folders + 100});
  }

  void moveToTrashPutsTheEntryInTheTrashAndShrinksEveryFolderAboveIt() {
    const fs::path work = root_ + "/work";
    QVERIFY(writeBlocks(work / "proj/build/big.bin", 6 * MiB));
    QVERIFY(writeBlocks(work / "proj/build/more.bin", 2 * MiB));
    QVERIFY(writeBlocks(work / "proj/keep.bin", 3 * MiB));
    QVERIFY(writeBlocks(work / "other.bin", 2 * MiB));
    LensView view(context_, qtDispatcher());
    showAndScan(view, work.string());
    const FSNode* root = view.model().root();
    const std::int64_t rootSize = root->size;
    const std::int64_t rootItems = root->itemCount;
    view.model().openPath(work.string() + "/proj");
    const FSNode* proj = view.model().current();
    const std::int64_t projSize = proj->size;
    auto* list = view.findChild<QTreeView*>(QStringLiteral("lensChildren"));
    QCOMPARE(list->model()->index(0, 0).data().toString(), QStringLiteral("build"));
    const std::int64_t buildSize = proj->children.front()->size;
    QCOMPARE(proj->children.front()->itemCount, std::int64_t{2});
    list->setCurrentIndex(list->model()->index(0, 0));

    answerNextDialog(QStringLiteral("confirm"));
    QTest::mouseClick(view.findChild<QPushButton*>(QStringLiteral("moveToTrash")), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!view.model().moving(), 30'000);
    QVERIFY(!fs::exists(work / "proj/build"));
    QVERIFY(fs::exists(work / "proj/keep.bin"));

    // Where trash-cli, another Trash client, finds it, with where it came from.
    QProcess trashList;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home_->path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home_->path() + QStringLiteral("/.local/share"));
    trashList.setProcessEnvironment(environment);
    trashList.start(QStringLiteral("trash-list"), {});
    if (!trashList.waitForStarted()) QSKIP("trash-list (trash-cli) is not installed");
    QVERIFY(trashList.waitForFinished(30'000));
    const QString listed = QString::fromUtf8(trashList.readAllStandardOutput());
    QVERIFY2(listed.contains(QString::fromStdString((work / "proj/build").string())), qPrintable(listed));

    // Every folder above it is smaller by what it held, without a rescan.
    QCOMPARE(view.model().current(), proj);
    QCOMPARE(proj->size, projSize - buildSize);
    QCOMPARE(view.model().root()->size, rootSize - buildSize);
    QCOMPARE(view.model().root()->itemCount, rootItems - 3);
    QCOMPARE(list->model()->index(0, 0).data().toString(), QStringLiteral("keep.bin"));
    auto* map = view.findChild<TreemapWidget*>(QStringLiteral("treemap"));
    QVERIFY(!tileNamed(*map, "build"));

    const auto entries = context_.history->entries();
    QCOMPARE(entries.size(), std::size_t{1});
    QCOMPARE(entries.front().category, std::string("Space Lens"));
    QCOMPARE(entries.front().name, std::string("~/work/proj/build"));
    QVERIFY(entries.front().bytes >= 8 * MiB);
  }

  void aSecondScanShowsTheFoldersThatGrewSinceTheFirst() {
    const fs::path grow = root_ + "/grow";
    QVERIFY(writeBlocks(grow / "cache/old.bin", 10 * MiB));
    QVERIFY(writeBlocks(grow / "steady/same.bin", 4 * MiB));
    LensView view(context_, qtDispatcher());
    showAndScan(view, grow.string());
    auto* since = view.findChild<QLabel*>(QStringLiteral("since"));
    QVERIFY(since->isVisible());
    QVERIFY2(since->text().startsWith(QStringLiteral("First scan")), qPrintable(since->text()));

    if (!writeBlocks(grow / "cache/new.bin", 150 * MiB)) QSKIP("this file system does not allocate 150 MB here");
    scan(view, grow.string());
    QVERIFY2(since->text().startsWith(QStringLiteral("Since 20")), qPrintable(since->text()));
    auto* changed = view.findChild<QTreeWidget*>(QStringLiteral("changedFolders"));
    QVERIFY(changed->isVisible());
    QStringList folders;
    for (int row = 0; row < changed->topLevelItemCount(); ++row) folders << changed->topLevelItem(row)->text(0);
    QCOMPARE(folders, (QStringList{QStringLiteral("~/grow"), QStringLiteral("~/grow/cache")}));
    QCOMPARE(changed->topLevelItem(1)->text(1), QStringLiteral("+157.3 MB"));

    // Each one opens in the map.
    changed->setFocus();
    changed->setCurrentItem(changed->topLevelItem(1));
    QTest::keyClick(changed, Qt::Key_Return);
    QCOMPARE(view.model().current()->path(), grow.string() + "/cache");
  }

  void theLensIsPhotographedWithItsMapInLightAndDark() {
    const fs::path code = root_ + "/code";
    const std::vector<std::pair<std::string, int>> parts{{"web/node_modules/react.bin", 48},
                                                         {"web/dist/app.js", 9},
                                                         {"api/target/debug.bin", 36},
                                                         {"api/target/release.bin", 14},
                                                         {"ml/models/weights.bin", 64},
                                                         {"ml/data/train.csv", 22},
                                                         {"videos/demo.mp4", 30},
                                                         {"notes.pdf", 6},
                                                         {"archive.tar", 18},
                                                         {"scratch/tmp.bin", 3},
                                                         {"tools/cli.bin", 5}};
    for (const auto& [path, mib] : parts) QVERIFY(writeBlocks(code / path, mib * MiB));
    for (int index = 0; index < 40; ++index) writeSmall(code / ("readme" + std::to_string(index) + ".md"));
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      MainWindow window(context_, qtDispatcher());
      window.show();
      window.showPane(Pane::lens);
      QVERIFY(QTest::qWaitForWindowExposed(&window));
      auto* view = window.findChild<LensView*>();
      scan(*view, code.string());
      // The second time, with what changed since the first.
      QVERIFY(writeBlocks(code / ("ml/models/checkpoint" + suffix.toStdString() + ".bin"), 120 * MiB));
      scan(*view, code.string());
      auto* list = view->findChild<QTreeView*>(QStringLiteral("lensChildren"));
      list->setCurrentIndex(list->model()->index(1, 0));
      photograph(window, QStringLiteral("lens") + suffix);
    }
    applyAppearance(Appearance::light);
  }

  void paintingSixtyTilesIsTimed() {
    FSNode folder("/bench", true, nullptr);
    for (int index = 0; index < 60; ++index) {
      auto child = std::make_unique<FSNode>("entry " + std::to_string(index), index % 3 != 0, &folder);
      child->size = (100 - index) * MiB;
      folder.size += child->size;
      folder.children.push_back(std::move(child));
    }
    TreemapWidget map;
    map.resize(800, 500);
    map.setFolder(&folder);
    QCOMPARE(map.tiles().size(), std::size_t{60});
    QPixmap canvas(map.size());
    std::vector<double> milliseconds;
    for (int run = 0; run < 30; ++run) {
      QElapsedTimer timer;
      timer.start();
      map.render(&canvas);
      milliseconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    qInfo("Painting a 60-tile map of 800x500: median %.2f ms, slowest %.2f ms over 30 runs", milliseconds[15],
          milliseconds.back());
  }

 private:
  // Shows the view at a window's size, then scans.
  static void showAndScan(LensView& view, const std::string& path) {
    view.resize(1000, 640);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    scan(view, path);
  }

  // Scans `path` with the view's own button and waits for the tree.
  static void scan(LensView& view, const std::string& path) {
    view.setFolder(path);
    auto* button = view.findChild<QPushButton*>(QStringLiteral("scan"));
    QTRY_VERIFY(button->isEnabled());
    QSignalSpy done(&view.model(), &LensModel::treeChanged);
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(view.model().scanning());
    QTRY_VERIFY_WITH_TIMEOUT(!view.model().scanning(), 60'000);
    QVERIFY(view.model().root() && view.model().root()->name == path);
    QCOMPARE(done.count(), 1);
  }

  static void checkTiles(const TreemapWidget& map, const FSNode& folder, bool real = false) {
    const auto expected = expectedRects(folder, map.size(), real);
    QCOMPARE(map.tiles().size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
      QVERIFY2(map.tiles()[index].rect == expected[index], qPrintable(QStringLiteral("tile %1").arg(index)));
    }
  }

  std::unique_ptr<QTemporaryDir> home_;
  std::string root_;
  Context context_;
};

APP_TEST(LensViewTest)

}  // namespace tw::app

#include "lens_view_test.moc"
