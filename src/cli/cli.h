#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/action_description.h"
#include "core/context.h"
#include "core/date.h"
#include "core/dev_group.h"
#include "core/dev_item.h"

namespace tw::CLI {

// Misuse of the command line; turns into exit status 2.
struct UsageError : std::runtime_error {
  explicit UsageError(const std::string& message) : std::runtime_error(message) {}
  [[nodiscard]] std::string message() const { return what(); }
};

class Args {
 public:
  Args(const std::vector<std::string>& arguments, const std::set<std::string>& flags,
       const std::set<std::string>& options, std::size_t maxPositional);

  std::set<std::string> flags;
  std::map<std::string, std::string> options;
  std::vector<std::string> positional;

  [[nodiscard]] bool has(const std::string& flag) const { return flags.contains(flag); }
  [[nodiscard]] bool json() const { return has("json"); }
  // The option as a whole number of at least `min` (and at most `max`), or `fallback` when
  // absent. (Named `number` because `int` is reserved in C++.)
  [[nodiscard]] std::int64_t number(const std::string& name, std::int64_t fallback, std::int64_t min,
                                    std::optional<std::int64_t> max = std::nullopt) const;
};

enum class Align { left, right };

// Lock-guarded "done" flag shared with the spinner thread.
class Flag {
 public:
  void set();
  [[nodiscard]] bool isSet() const;

 private:
  mutable std::mutex mutex_;
  bool done_ = false;
};

// Runs one command line against the world the context describes.
[[nodiscard]] int run(const std::vector<std::string>& arguments, const Context& context);

// What a command word accepts: flags (on/off words), options (words that take a value) and
// how many bare words may follow.
struct Grammar {
  std::set<std::string> flags;
  std::set<std::string> options;
  std::size_t maxPositional;
};

// The grammar of a command word or screen name; nothing for a word that is neither.
[[nodiscard]] std::optional<Grammar> grammar(const std::string& word);

[[nodiscard]] const std::string& usage();
[[nodiscard]] const std::map<std::string, Provider>& providers();
[[nodiscard]] std::set<std::string> commands();

// Text tables: cells padded to their column, two spaces apart, no trailing blanks after a
// left-aligned last column. formatTable returns what table() prints.
[[nodiscard]] std::string formatTable(const std::vector<std::vector<std::string>>& rows,
                                      const std::vector<Align>& align = {}, const std::string& indent = "");
void table(const std::vector<std::vector<std::string>>& rows, const std::vector<Align>& align = {},
           const std::string& indent = "");

// Pretty JSON with sorted keys and valid UTF-8 on standard output, plus a newline.
void emit(const nlohmann::json& value);
[[nodiscard]] std::string encodeJSON(const nlohmann::json& value);
[[nodiscard]] nlohmann::json jsonDate(const std::optional<Date>& date);
[[nodiscard]] nlohmann::json jsonString(const std::optional<std::string>& text);

// What an action does, in a few words; paths under `home` shown with "~".
[[nodiscard]] nlohmann::json itemJSON(const DevItem& item, const std::string& home);
[[nodiscard]] std::string badgeText(const std::vector<Badge>& badges);
[[nodiscard]] std::string plural(std::int64_t count, const std::string& word);
// A path as the user typed it made absolute: "~" is the home folder, anything relative
// starts at the working folder.
[[nodiscard]] std::string expand(const std::string& path, const std::string& home);
[[nodiscard]] std::string tilde(const std::string& path, const std::string& home);
[[nodiscard]] nlohmann::json decimal(double value, int places);
// Prints the "Nothing was deleted" hint on standard error and returns 1.
[[nodiscard]] int needConfirmation(const Args& args, const std::string& what);

// Text for standard output: invalid UTF-8 replaced so a table never breaks.
[[nodiscard]] std::string printable(const std::string& text);

// Text for a terminal: printable, with control characters shown as "\x1b" (or "\u009b"),
// so that a file name can neither move the cursor nor change colours.
[[nodiscard]] std::string terminalText(const std::string& text);

// One frame of the spinner: frame, message and status, cut to 100 characters.
[[nodiscard]] std::string spinnerLine(std::size_t iteration, const std::string& message,
                                      const std::function<std::string()>& status);

// Shows a spinner on standard error while `work` runs, only when standard error is a
// terminal and `quiet` is false; the line is erased before this returns.
void spin(bool quiet, std::function<std::string()> status, const std::string& message,
          const std::function<void()>& work);

template <typename Work>
auto busy(bool quiet, std::function<std::string()> status, const std::string& message, Work&& work)
    -> decltype(work()) {
  if constexpr (std::is_void_v<decltype(work())>) {
    spin(quiet, std::move(status), message, work);
  } else {
    std::optional<decltype(work())> result;
    spin(quiet, std::move(status), message, [&] { result.emplace(work()); });
    return std::move(*result);
  }
}

}  // namespace tw::CLI
