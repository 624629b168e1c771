#include "app/snapshots.h"

#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>

#include <QApplication>
#include <QTimer>

#include "app/lens_view.h"
#include "app/main_window.h"
#include "lens/disk_scanner.h"

namespace tw::app {
namespace {

// Seconds to wait, or none when the variable is unset or not a whole number.
std::optional<int> delaySeconds(const Context& context) {
  if (!context.sampleData || !context.env.contains("TIDEWARDEN_SNAPSHOT_DELAY")) return std::nullopt;
  const std::string text = context.variable("TIDEWARDEN_SNAPSHOT_DELAY");
  int seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size() || seconds < 0) {
    std::fprintf(stderr, "tidewarden: TIDEWARDEN_SNAPSHOT_DELAY must be a whole number of seconds, not '%s'\n",
                 text.c_str());
    return std::nullopt;
  }
  return seconds;
}

// Shows each pane in turn, waiting for a list pane's load, and saves the window.
struct SnapshotRun : std::enable_shared_from_this<SnapshotRun> {
  MainWindow& window;
  QString suffix;
  std::size_t next = 0;
  bool failed = false;
  bool lensScanned = false;

  SnapshotRun(MainWindow& window, QString suffix) : window(window), suffix(std::move(suffix)) {}

  void step() {
    if (next == allPanes().size()) {
      QApplication::exit(failed ? 1 : 0);
      return;
    }
    const Pane pane = allPanes()[next];
    window.showPane(pane);
    if (pane == Pane::lens && scanLens()) return;
    if (const auto model = window.panes().find(pane); model != window.panes().end() && !model->second->loaded()) {
      // Once loaded, the view lays out its rows before the picture is taken.
      model->second->load([self = shared_from_this()] { QTimer::singleShot(50, [self] { self->step(); }); });
      return;
    }
    save(pane);
    ++next;
    QTimer::singleShot(0, [self = shared_from_this()] { self->step(); });
  }

  // The lens has no sample data: it scans the real home folder once, and the picture shows
  // what it found.
  bool scanLens() {
    auto* lens = window.findChild<LensView*>();
    if (!lens || lensScanned) return false;
    lensScanned = true;
    LensModel& model = lens->model();
    auto finished = std::make_shared<QMetaObject::Connection>();
    *finished =
        QObject::connect(&model, &LensModel::scanningChanged, &window, [self = shared_from_this(), &model, finished] {
          if (model.scanning()) return;
          QObject::disconnect(*finished);
          if (const FSNode* root = model.root()) {
            std::printf("lens: %s, %lld items\n", root->name.c_str(), static_cast<long long>(root->itemCount));
            std::fflush(stdout);
          }
          QTimer::singleShot(50, [self] { self->step(); });
        });
    lens->scan();
    return true;
  }

  void save(Pane pane) {
    const QString name = QString::fromUtf8(rawValue(pane).data(), static_cast<int>(rawValue(pane).size())) + suffix +
                         QStringLiteral(".png");
    if (!window.grab().save(name)) {
      std::fprintf(stderr, "tidewarden: could not save %s in the current folder\n", qPrintable(name));
      failed = true;
    }
  }
};

}  // namespace

void scheduleSnapshots(MainWindow& window, const Context& context, Appearance appearance) {
  const auto seconds = delaySeconds(context);
  if (!seconds) return;
  auto run =
      std::make_shared<SnapshotRun>(window, appearance == Appearance::dark ? QStringLiteral("-dark") : QString());
  QTimer::singleShot(*seconds * 1000, [run] { run->step(); });
}

}  // namespace tw::app
