#include "cli/cli.h"

#include <cstdio>
#include <exception>
#include <optional>

#include "cli/commands.h"
#include "core/dev_safety.h"
#include "core/platform_words.h"
#include "screens/registry.h"

namespace tw::CLI {
namespace {

const std::map<std::string, Grammar>& builtInGrammars() {
  static const std::map<std::string, Grammar> grammars{
      {"help", {{"json"}, {}, 0}},
      {"--help", {{"json"}, {}, 0}},
      {"-h", {{"json"}, {}, 0}},
      {"status", {{"json"}, {}, 0}},
      {"scan", {{"json"}, {"top", "depth"}, 1}},
      {"junk", {{"json", "items"}, {}, 0}},
      {"clean", {{"json", "safe", "dry-run", "yes"}, {}, 0}},
      {"trash", {{"json", "dry-run", "yes"}, {}, 1}},
      {"history", {{"json"}, {"limit"}, 0}},
  };
  return grammars;
}

const Grammar screenGrammar{{"json", "selected", "dry-run", "yes"}, {}, 1};

int help(const Args& args) {
  if (!args.json()) {
    std::printf("%s\n", usage().c_str());
    return 0;
  }
  nlohmann::json names = nlohmann::json::array();
  for (const auto& name : commands()) names.push_back(name);
  nlohmann::json screens = nlohmann::json::array();
  for (const auto& [name, provider] : providers()) screens.push_back(name);
  emit({{"commands", names}, {"providers", screens}});
  return 0;
}

// A run that would really remove something (not a listing, a preview or a dry run).
bool removes(const std::string& word, const Args& args) {
  if (!args.has("yes") || args.has("dry-run")) return false;
  const std::string subcommand = args.positional.empty() ? "" : args.positional.front();
  return word == "clean" || (word == "trash" && subcommand == "empty") || subcommand == "clean";
}

// Refuses a removing run in a context where nothing may be removed, in one sentence.
std::optional<int> refusedRemoval(const std::string& word, const Args& args, const Context& context) {
  if (!removes(word, args)) return std::nullopt;
  const auto refusal = DevSafety::refusalOfRemovals(context);
  if (!refusal) return std::nullopt;
  std::fprintf(stderr, "tidewarden: %s\n", refusal->c_str());
  return 1;
}

int dispatch(const std::vector<std::string>& arguments, const Context& context) {
  const std::string& word = arguments.front();
  const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
  if (const auto found = builtInGrammars().find(word); found != builtInGrammars().end()) {
    const Grammar& grammar = found->second;
    const Args args(rest, grammar.flags, grammar.options, grammar.maxPositional);
    if (word == "help" || word == "--help" || word == "-h") return help(args);
    if (const auto refused = refusedRemoval(word, args, context)) return *refused;
    if (word == "status") return statusCommand(args, context);
    if (word == "scan") return scanCommand(args, context);
    if (word == "junk") return junkCommand(args, context);
    if (word == "clean") return cleanCommand(args, context);
    if (word == "trash") return trashCommand(args, context);
    return historyCommand(args, context);
  }
  if (const auto found = providers().find(word); found != providers().end()) {
    const Args args(rest, screenGrammar.flags, screenGrammar.options, screenGrammar.maxPositional);
    if (const auto refused = refusedRemoval(word, args, context)) return *refused;
    return screenCommand(word, found->second, args, context);
  }
  std::fprintf(stderr, "tidewarden: unknown command '%s'\n%s\n", word.c_str(), usage().c_str());
  return 2;
}

}  // namespace

const std::map<std::string, Provider>& providers() {
  // The twelve developer screens that the command line can list and clean.
  static const std::map<std::string, Provider> map = [] {
    std::map<std::string, Provider> screens;
    for (const char* name : {"projects", "worktrees", "simulators", "toolchains", "system", "ide", "docker", "git",
                             "ai", "apps", "large", "dedupe"}) {
      const DevScreen* screen = Screens::screen(*paneNamed(name));
      screens.emplace(name, Screens::effectiveProvider(*screen));
    }
    return screens;
  }();
  return map;
}

std::set<std::string> commands() {
  std::set<std::string> names;
  for (const auto& [name, grammar] : builtInGrammars()) names.insert(name);
  for (const auto& [name, provider] : providers()) names.insert(name);
  return names;
}

std::optional<Grammar> grammar(const std::string& word) {
  if (const auto found = builtInGrammars().find(word); found != builtInGrammars().end()) return found->second;
  if (providers().contains(word)) return screenGrammar;
  return std::nullopt;
}

const std::string& usage() {
  static const std::string text = [] {
    std::string head =
        "Tidewarden: disk cleanup for developers.\n\nusage: tidewarden <command> [options]\n\n"
        "  status                            Disk total, used, free and purgeable space\n"
        "  scan [path] [--top N] [--depth D] Largest items in a folder (default ~, top 20, depth 1)\n"
        "  junk [--items]                    Smart Clean categories and their sizes\n"
        "  clean --safe [--dry-run] [--yes]  Delete " +
        platformWords().safeClean +
        " (never the Trash)\n"
        "  trash [list]                      Items in the Trash with size and date deleted\n"
        "  trash empty [--dry-run] [--yes]   Permanently delete everything in the Trash\n"
        "  history [--limit N]               What Tidewarden removed (default last 20)\n";
    std::string screens;
    for (const auto& [name, provider] : providers()) {
      if (!screens.empty()) screens += "\n";
      std::string padded = name;
      padded.resize(34, ' ');
      screens += "  " + padded + "Developer screen; --selected shows only pre-selected items";
    }
    const std::string tail =
        "\n  <screen> clean --selected [--dry-run] [--yes]\n"
        "                                    Run the action of every pre-selected item\n"
        "  help                              Show this help\n\n"
        "Every command accepts --json (sizes in bytes). Destructive commands only print\n"
        "what they would do unless --yes is given; --dry-run never deletes anything.";
    return head + screens + tail;
  }();
  return text;
}

int run(const std::vector<std::string>& arguments, const Context& context) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  if (arguments.empty()) {
    std::printf("%s\n", usage().c_str());
    return 2;
  }
  try {
    return dispatch(arguments, context);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "tidewarden: %s\nRun 'tidewarden help' for usage.\n", error.what());
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tidewarden: %s\n", terminalText(error.what()).c_str());
    return 1;
  }
}

}  // namespace tw::CLI
