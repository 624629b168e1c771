#include <sys/sysmacros.h>

#include <charconv>
#include <fstream>
#include <sstream>

#include "fs/mounts.h"

namespace tw {
namespace {

// Mount points escape blanks, tabs, newlines and backslashes as three octal digits.
std::string unescapeMountField(const std::string& field) {
  std::string out;
  out.reserve(field.size());
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size()) {
      int value = 0;
      const auto [end, error] = std::from_chars(field.data() + i + 1, field.data() + i + 4, value, 8);
      if (error == std::errc{} && end == field.data() + i + 4) {
        out += static_cast<char>(value);
        i += 3;
        continue;
      }
    }
    out += field[i];
  }
  return out;
}

// "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue"
bool parseMountLine(const std::string& line, MountedVolume& volume, std::string* source = nullptr) {
  std::istringstream words(line);
  std::string id, parent, numbers, root, mountPoint, word;
  if (!(words >> id >> parent >> numbers >> root >> mountPoint)) return false;
  while (words >> word && word != "-") {
  }
  std::string type;
  if (word != "-" || !(words >> type)) return false;
  if (source != nullptr && words >> *source) *source = unescapeMountField(*source);
  unsigned major = 0, minor = 0;
  const auto colon = numbers.find(':');
  if (colon == std::string::npos) return false;
  std::from_chars(numbers.data(), numbers.data() + colon, major);
  std::from_chars(numbers.data() + colon + 1, numbers.data() + numbers.size(), minor);
  volume.device = makedev(major, minor);
  volume.mountPoint = unescapeMountField(mountPoint);
  volume.type = type;
  return true;
}

}  // namespace

std::vector<MountedVolume> mountedVolumes() {
  std::vector<MountedVolume> volumes;
  std::ifstream table("/proc/self/mountinfo");
  std::string line;
  while (std::getline(table, line)) {
    MountedVolume volume;
    if (parseMountLine(line, volume)) volumes.push_back(std::move(volume));
  }
  return volumes;
}

std::string mountSource(const std::string& mountPoint) {
  std::string found;
  std::ifstream table("/proc/self/mountinfo");
  std::string line;
  while (std::getline(table, line)) {
    MountedVolume volume;
    std::string source;
    if (parseMountLine(line, volume, &source) && volume.mountPoint == mountPoint) found = source;
  }
  return found;
}

}  // namespace tw
