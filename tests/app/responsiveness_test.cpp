#include <chrono>
#include <filesystem>
#include <fstream>

#include <QElapsedTimer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include "app/lens_view.h"
#include "app/main_window.h"
#include "app/pane_item_model.h"
#include "app/pane_view.h"
#include "app/qt_dispatcher.h"
#include "app_test.h"
#include "lens/disk_scanner.h"
#include "sample_home.h"

namespace tw::app {
namespace {

// 100 groups of 1000 items each.
ProviderResult hundredThousandItems(const Context&) {
  ProviderResult result;
  for (int group = 0; group < 100; ++group) {
    auto made = std::make_shared<DevGroup>("g" + std::to_string(group), "Group " + std::to_string(group), "", "folder");
    std::vector<DevItem> items(1000);
    for (int row = 0; row < 1000; ++row) {
      auto& item = items[static_cast<std::size_t>(row)];
      item.id = made->id + "/" + std::to_string(row);
      item.name = "item " + std::to_string(row);
      item.size = item.freeable = 1000 + row;
      item.selected = row % 2 == 0;
      item.action = DevAction::removePaths({"/nonexistent/" + item.id});
    }
    made->setItems(std::move(items));
    result.groups.push_back(std::move(made));
  }
  return result;
}

// The longest time the window's thread went without turning its event loop while `busy`
// held, sampled every 5 ms.
std::chrono::milliseconds longestStall(const std::function<bool()>& busy, int timeoutMs) {
  QElapsedTimer clock;
  clock.start();
  qint64 last = 0, longest = 0;
  QTimer tick;
  tick.setInterval(5);
  QObject::connect(&tick, &QTimer::timeout, [&] {
    longest = std::max(longest, clock.elapsed() - last);
    last = clock.elapsed();
  });
  tick.start();
  while (busy() && clock.elapsed() < timeoutMs) QTest::qWait(5);
  return std::chrono::milliseconds(longest);
}

}  // namespace

// Figures for the window's speed, printed for the record; only what must hold is checked.
class ResponsivenessTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
  }
  void cleanup() { home_.reset(); }

  void theWindowWithSampleDataShowsQuickly() {
    QElapsedTimer clock;
    clock.start();
    MainWindow window(sampleContext(home_->path()), qtDispatcher());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    qInfo("from constructing the window to its first showing: %lld ms", clock.elapsed());
  }

  void aHundredThousandItemsTickAndScrollWithoutAReset() {
    const Context context = homeContext(home_->path());
    auto pane = DevPane::make(hundredThousandItems, std::nullopt, qtDispatcher(), context);
    const DevScreen screen{
        Pane::projects,      "Many", "folder", "A hundred thousand items.", "Delete", DevScreen::Bar::none, false,
        hundredThousandItems};
    PaneView view(screen, pane);
    view.resize(1000, 700);
    view.show();
    QElapsedTimer clock;
    clock.start();
    pane->load();
    QTRY_VERIFY_WITH_TIMEOUT(pane->loaded() && !pane->loading(), 60'000);
    QApplication::processEvents();
    qInfo("load and show of 100,000 items: %lld ms", clock.elapsed());

    auto* tree = view.findChild<QTreeView*>(QStringLiteral("items"));
    QSignalSpy resets(tree->model(), &QAbstractItemModel::modelReset);
    const QModelIndex last = tree->model()->index(999, 0, tree->model()->index(99, 0));
    clock.restart();
    for (int row = 0; row < 200; ++row) {
      const QModelIndex item = tree->model()->index(row, 0, tree->model()->index(row % 100, 0));
      tree->model()->setData(item, Qt::Checked, Qt::CheckStateRole);
    }
    QApplication::processEvents();
    qInfo("200 ticks with their footer updates: %lld ms", clock.elapsed());
    QCOMPARE(resets.count(), 0);

    clock.restart();
    tree->scrollTo(last);
    tree->viewport()->repaint();
    const auto toEnd = clock.elapsed();
    clock.restart();
    for (int step = 0; step < 50; ++step) {
      tree->verticalScrollBar()->setValue(tree->verticalScrollBar()->value() - 400);
      tree->viewport()->repaint();
    }
    qInfo("scroll to the last item: %lld ms; 50 page-sized scrolls with repaint: %lld ms", toEnd, clock.elapsed());
  }

  void theWindowKeepsTurningWhileEveryScreenLoads() {
    const std::string root = home_->path().toStdString();
    for (int project = 0; project < 40; ++project) {
      const auto folder = std::filesystem::path(root) / "code" / ("p" + std::to_string(project));
      std::filesystem::create_directories(folder / "node_modules" / "dep");
      std::ofstream(folder / "package.json") << "{}";
      for (int file = 0; file < 50; ++file)
        std::ofstream(folder / "node_modules" / "dep" / std::to_string(file)) << "x";
    }
    MainWindow window(homeContext(home_->path()), qtDispatcher());
    window.show();
    for (const auto& screen : Screens::all()) window.showPane(screen.pane);
    const auto loading = [&window] {
      for (const auto& [pane, model] : window.panes()) {
        if (model->loading()) return true;
      }
      return false;
    };
    const auto stall = longestStall(loading, 60'000);
    QVERIFY(!loading());
    qInfo("longest stall of the window's thread while all 13 screens loaded: %lld ms",
          static_cast<long long>(stall.count()));
  }

  // The lens scans off the window's thread: the window keeps turning, and the scan takes
  // about what the same scan takes without a window (both printed, for the closing figures).
  void theWindowKeepsTurningWhileTheLensScans() {
    const std::filesystem::path root = std::filesystem::path(home_->path().toStdString()) / "tree";
    for (int folder = 0; folder < 400; ++folder) {
      const auto path = root / ("f" + std::to_string(folder % 20)) / ("g" + std::to_string(folder));
      std::filesystem::create_directories(path);
      for (int file = 0; file < 50; ++file) std::ofstream(path / std::to_string(file)) << "content";
    }
    QElapsedTimer bare;
    bare.start();
    DiskScanner scanner;
    const auto tree = scanner.scan(root.string());
    const qint64 bareMs = bare.elapsed();
    QVERIFY(tree);

    MainWindow window(homeContext(home_->path()), qtDispatcher());
    window.show();
    window.showPane(Pane::lens);
    auto* lens = window.findChild<LensView*>();
    QVERIFY(lens);
    lens->setFolder(root.string());
    QElapsedTimer scanning;
    scanning.start();
    lens->scan();
    const auto stall = longestStall([lens] { return lens->model().scanning(); }, 60'000);
    const qint64 lensMs = scanning.elapsed();
    QVERIFY(!lens->model().scanning());
    QVERIFY(lens->model().root());
    QCOMPARE(lens->model().root()->itemCount, tree->itemCount);
    qInfo("lens scan of %lld entries: %lld ms in the window (longest stall of its thread %lld ms), %lld ms bare",
          static_cast<long long>(tree->itemCount), static_cast<long long>(lensMs),
          static_cast<long long>(stall.count()), static_cast<long long>(bareMs));
  }

 private:
  std::unique_ptr<QTemporaryDir> home_;
};

}  // namespace tw::app

APP_TEST(tw::app::ResponsivenessTest)

#include "responsiveness_test.moc"
