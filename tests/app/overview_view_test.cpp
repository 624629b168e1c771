#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>

#include "app/appearance.h"
#include "app/main_window.h"
#include "app/qt_dispatcher.h"
#include "app_test.h"
#include "core/format.h"
#include "core/scan_cache.h"
#include "lens/volume_info.h"
#include "sample_home.h"
#include "screens/registry.h"
#include "widget_files.h"

namespace tw::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

QWidget* card(const MainWindow& window, Pane pane) {
  return window.findChild<QWidget*>(QStringLiteral("card-") + QString::fromUtf8(rawValue(pane).data()));
}

QString cardText(const MainWindow& window, Pane pane, const char* label) {
  QWidget* found = card(window, pane);
  auto* shown = found ? found->findChild<QLabel*>(QString::fromLatin1(label)) : nullptr;
  return shown ? shown->text() : QStringLiteral("<no %1>").arg(QString::fromLatin1(label));
}

// The most panes loading at one moment, counted from their own loading notices.
class LoadCounter {
 public:
  explicit LoadCounter(const std::map<Pane, std::shared_ptr<DevPane>>& panes) {
    for (const auto& [pane, model] : panes) {
      const int token = model->observe([this, raw = model.get()](const DevPane::Notice& notice) {
        if (notice.field != DevPaneField::loading) return;
        loading_ += raw->loading() ? 1 : -1;
        most_ = std::max(most_, loading_);
      });
      tokens_.emplace_back(model, token);
    }
  }
  ~LoadCounter() {
    for (auto& [model, token] : tokens_) model->unobserve(token);
  }
  [[nodiscard]] int most() const { return most_; }

 private:
  int loading_ = 0;
  int most_ = 0;
  std::vector<std::pair<std::shared_ptr<DevPane>, int>> tokens_;
};

}  // namespace

class OverviewViewTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    home_ = std::make_unique<QTemporaryDir>();
    QVERIFY(home_->isValid());
    context_ = sampleContext(home_->path());
  }
  void cleanup() { home_.reset(); }

  void theCardsShowTheCachedSizesWhenTheyWereMeasuredAndTheJunkTotal() {
    const auto now = std::chrono::system_clock::now();
    ScanCache::save(context_, "projects", 12'300'000'000, 40, now - std::chrono::hours(2));
    ScanCache::save(context_, "docker", 987'000'000, 7, now - std::chrono::minutes(5));
    ScanCache::save(context_, "dedupe", 4'000'000'000, 9, now);
    MainWindow window(context_, qtDispatcher());

    QCOMPARE(cardText(window, Pane::projects, "size"), QStringLiteral("12.3 GB"));
    QCOMPARE(cardText(window, Pane::projects, "when"), QStringLiteral("Measured 2 hours ago"));
    QCOMPARE(cardText(window, Pane::docker, "size"), QStringLiteral("987 MB"));
    QCOMPARE(cardText(window, Pane::docker, "when"), QStringLiteral("Measured 5 minutes ago"));
    QCOMPARE(cardText(window, Pane::toolchains, "when"), QStringLiteral("Not scanned yet"));
    // Clone Dedupe frees space without removing junk: it is not in the junk total.
    auto* junk = window.findChild<QLabel*>(QStringLiteral("junkTotal"));
    QVERIFY(junk);
    QCOMPARE(junk->text(),
             QStringLiteral("%1 of junk found on 2 screens").arg(text(byteFormatter(12'300'000'000 + 987'000'000))));

    // The volume's numbers are the ones `status` prints.
    const VolumeInfo volume = reportedVolume(context_);
    auto* numbers = window.findChild<QLabel*>(QStringLiteral("volumeNumbers"));
    QVERIFY(numbers);
    QCOMPARE(numbers->text(), QStringLiteral("%1 used · %2 free · %3 total")
                                  .arg(text(byteFormatter(usedBytes(volume))), text(byteFormatter(volume.available)),
                                       text(byteFormatter(volume.total))));

    // A later scan shows without a restart.
    ScanCache::save(context_, "toolchains", 5'000'000'000, 3);
    QTRY_COMPARE(cardText(window, Pane::toolchains, "size"), QStringLiteral("5 GB"));
    QCOMPARE(cardText(window, Pane::toolchains, "when"), QStringLiteral("Measured just now"));
  }

  void scanAllFillsEveryCardWithAtMostThreeScansAtOnce() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    LoadCounter counter(window.panes());
    auto* scan = window.findChild<QPushButton*>(QStringLiteral("scanAll"));
    QVERIFY(scan);
    QTest::mouseClick(scan, Qt::LeftButton);
    QVERIFY(!scan->isEnabled());

    for (const auto& screen : Screens::all()) {
      QTRY_VERIFY_WITH_TIMEOUT(window.panes().at(screen.pane)->loaded(), 10'000);
    }
    QTRY_VERIFY(scan->isEnabled());
    QCOMPARE(counter.most(), 3);
    const auto entries = ScanCache::all(context_);
    for (const auto& screen : Screens::all()) {
      const auto entry = entries.find(std::string(rawValue(screen.pane)));
      QVERIFY2(entry != entries.end(), rawValue(screen.pane).data());
      // The cache's change notice reaches the cards through the event loop.
      QTRY_COMPARE(cardText(window, screen.pane, "size"), text(byteFormatter(entry->second.bytes)));
      QTRY_COMPARE(cardText(window, screen.pane, "when"), QStringLiteral("Measured just now"));
    }
  }

  void theSmartCleanButtonAndEachCardOpenTheirScreen() {
    MainWindow window(context_, qtDispatcher());
    window.show();
    auto* stack = window.findChild<QStackedWidget*>();
    QVERIFY(stack);
    QCOMPARE(stack->currentWidget()->objectName(), QStringLiteral("overview"));

    QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("smartClean")), Qt::LeftButton);
    QCOMPARE(stack->currentWidget()->objectName(), QStringLiteral("clean"));
    QTRY_VERIFY(window.panes().at(Pane::clean)->loaded());

    window.showPane(Pane::overview);
    QTest::mouseClick(card(window, Pane::docker), Qt::LeftButton);
    QCOMPARE(stack->currentWidget()->objectName(), QStringLiteral("docker"));
    window.showPane(Pane::overview);
    card(window, Pane::git)->setFocus();
    QTest::keyClick(card(window, Pane::git), Qt::Key_Return);
    QCOMPARE(stack->currentWidget()->objectName(), QStringLiteral("git"));
  }

  void theOverviewIsPhotographedInLightAndDark() {
    for (const auto& [appearance, suffix] : photographedAppearances()) {
      applyAppearance(appearance);
      MainWindow window(context_, qtDispatcher());
      window.show();
      QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("scanAll")), Qt::LeftButton);
      for (const auto& screen : Screens::all()) {
        QTRY_VERIFY_WITH_TIMEOUT(window.panes().at(screen.pane)->loaded(), 10'000);
      }
      QApplication::processEvents();
      photograph(window, QStringLiteral("overview") + suffix);
    }
  }

 private:
  std::unique_ptr<QTemporaryDir> home_;
  Context context_;
};

}  // namespace tw::app

APP_TEST(tw::app::OverviewViewTest)

#include "overview_view_test.moc"
