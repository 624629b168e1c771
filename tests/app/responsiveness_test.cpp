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

#include "app/main_window.h"
#include "app/pane_item_model.h"
#include "app/pane_view.h"
#include "app/qt_dispatcher.h"
#include "app_test.h"
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

 private:
  std::unique_ptr<QTemporaryDir> home_;
};

}  // namespace tw::app

APP_TEST(tw::app::ResponsivenessTest)

#include "responsiveness_test.moc"
