#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cli/commands.h"
#include "core/format.h"
#include "lens/volume_info.h"

namespace tw::CLI {
namespace {

constexpr int kBarCells = 30;

std::string repeated(const std::string& text, int count) {
  std::string out;
  for (int i = 0; i < count; ++i) out += text;
  return out;
}

}  // namespace

int statusCommand(const Args& args, const Context& context) {
  const VolumeInfo volume = reportedVolume(context);
  const std::int64_t used = usedBytes(volume);
  const double share = usedShare(volume);

  if (args.json()) {
    emit({{"volume", printable(volume.name)},
          {"device", volume.device.empty() ? nlohmann::json() : nlohmann::json(printable(volume.device))},
          {"total", volume.total},
          {"used", used},
          {"available", volume.available},
          {"free", volume.availableNow},
          {"purgeable", volume.purgeable},
          {"purgeableNote", printable(volume.purgeableNote)},
          {"usedPercent", decimal(share * 100, 1)}});
    return 0;
  }
  const int full = std::clamp(static_cast<int>(std::lround(share * kBarCells)), 0, kBarCells);
  const std::string title = volume.device.empty() ? volume.name : volume.name + " (" + volume.device + ")";
  std::printf("%s\n", terminalText(title).c_str());
  std::printf("  [%s%s] %.0f%% used\n", repeated("█", full).c_str(), repeated("░", kBarCells - full).c_str(),
              share * 100);
  table({{"Total", byteFormatter(volume.total)},
         {"Used", byteFormatter(used)},
         {"Free", byteFormatter(volume.available), "including purgeable space"},
         {"Purgeable", byteFormatter(volume.purgeable), volume.purgeableNote}},
        {Align::left, Align::right}, "  ");
  return 0;
}

}  // namespace tw::CLI
