#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "cli/cli.h"
#include "dist/dist_paths.h"
#include "support/fake_home.h"
#include "support/programs.h"

namespace tw::test {
namespace {

// What one Tab should offer after `tidewarden` and these words (the last one is the word
// being completed), from a folder holding "alpha/", "with space/" and a file.
struct Case {
  std::vector<std::string> words;
  std::set<std::string> expected;
};

std::string line(const Case& completion) {
  std::string text = "tidewarden";
  for (const auto& word : completion.words) text += " " + word;
  return text;
}

std::set<std::string> longOptions(const CLI::Grammar& grammar) {
  std::set<std::string> names;
  for (const auto& flag : grammar.flags) names.insert("--" + flag);
  for (const auto& option : grammar.options) names.insert("--" + option);
  return names;
}

// Every command word, every screen and each one's flags and options, as the command line
// itself defines them.
std::vector<Case> cases() {
  std::set<std::string> words;
  for (const auto& word : CLI::commands()) {
    if (!word.starts_with("-")) words.insert(word);
  }
  std::vector<Case> all{{{""}, words}, {{"s"}, {"scan", "simulators", "status", "system"}}};
  for (const auto& word : CLI::commands()) {
    std::set<std::string> options = longOptions(*CLI::grammar(word));
    if (word == "trash" || CLI::providers().contains(word)) {
      // The destructive switches wait for `trash empty` and `<screen> clean`.
      options.erase("--dry-run");
      options.erase("--yes");
    }
    all.push_back({{word, "--"}, options});
  }
  all.push_back({{"trash", ""}, {"list", "empty"}});
  all.push_back({{"trash", "empty", "--"}, {"--json", "--dry-run", "--yes"}});
  for (const auto& [screen, provider] : CLI::providers()) {
    all.push_back({{screen, ""}, {"list", "clean"}});
    all.push_back({{screen, "clean", "--"}, longOptions(*CLI::grammar(screen))});
  }
  all.push_back({{"history", "--limit", ""}, {}});
  all.push_back({{"scan", ""}, {"alpha", "with space"}});
  all.push_back({{"scan", "--top", "5", "w"}, {"with space"}});
  return all;
}

// Shells differ in small ways that do not matter to a user: folders with or without their
// slash, blanks quoted or not, short spellings offered beside the long ones.
std::set<std::string> normalized(const std::vector<std::string>& candidates) {
  std::set<std::string> names;
  for (std::string candidate : candidates) {
    for (auto at = candidate.find("\\ "); at != std::string::npos; at = candidate.find("\\ ")) candidate.erase(at, 1);
    while (!candidate.empty() && (candidate.back() == '/' || candidate.back() == ' ')) candidate.pop_back();
    if (!candidate.empty()) names.insert(candidate);
  }
  if (names.contains("--dry-run")) names.erase("-n");
  if (names.contains("--yes")) names.erase("-y");
  return names;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::istringstream stream(text);
  for (std::string entry; std::getline(stream, entry);) result.push_back(entry);
  return result;
}

class Completion : public ::testing::Test {
 protected:
  void SetUp() override {
    home_.folder("work/alpha");
    home_.folder("work/with space");
    home_.file("work/notes.txt", 10);
  }

  void expectEveryCase(const std::function<std::vector<std::string>(const Case&)>& complete) const {
    for (const Case& completion : cases()) {
      EXPECT_EQ(normalized(complete(completion)), completion.expected) << "after '" << line(completion) << "'";
    }
  }

  [[nodiscard]] std::string work() const { return home_ / "work"; }

  FakeHome home_;
};

TEST_F(Completion, BashOffersTheCommandsScreensOptionsSubcommandsAndFolders) {
  // Sources the completion, finds the function `complete -p` names and calls it the way
  // bash does, with COMP_WORDS and COMP_CWORD set, then prints COMPREPLY.
  const std::string driver = R"(source "$1"; shift
    registration=$(complete -p tidewarden) || exit 3
    function=${registration#*-F }; function=${function%% *}
    COMP_WORDS=(tidewarden "$@"); COMP_CWORD=$(( ${#COMP_WORDS[@]} - 1 ))
    COMP_LINE="${COMP_WORDS[*]}"; COMP_POINT=${#COMP_LINE}
    "$function" tidewarden "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"
    printf '%s\n' "${COMPREPLY[@]}")";
  expectEveryCase([&](const Case& completion) {
    std::vector<std::string> command{
        "bash", "--norc", "--noprofile", "-c", driver, "bash", sourcePath("dist/completions/tidewarden.bash")};
    command.insert(command.end(), completion.words.begin(), completion.words.end());
    const auto result = runProcess(command, {}, work());
    EXPECT_EQ(result.code, 0) << result.err;
    return lines(result.out);
  });
}

TEST_F(Completion, FishOffersTheSameThroughCompleteC) {
  if (!isInstalled("fish")) GTEST_SKIP() << "fish is not installed";
  expectEveryCase([&](const Case& completion) {
    const auto result = runProcess({"fish", "--no-config", "-c", "source $argv[1]; and complete -C $argv[2]",
                                    sourcePath("dist/completions/tidewarden.fish"), line(completion)},
                                   {}, work());
    EXPECT_EQ(result.code, 0) << result.err;
    std::vector<std::string> candidates;
    for (const auto& entry : lines(result.out)) candidates.push_back(entry.substr(0, entry.find('\t')));
    return candidates;
  });
}

TEST_F(Completion, ZshOffersTheSameAtARealPrompt) {
  if (!isInstalled("zsh")) GTEST_SKIP() << "zsh is not installed";
  // One interactive zsh on a pseudo-terminal types every line and a Tab (see the script).
  TempFolder functions("tw-zsh-functions");
  writeFile(functions / "_tidewarden", readFile(sourcePath("dist/completions/_tidewarden")));
  std::vector<std::string> command{"zsh", "-f", sourcePath("tests/dist/zsh_complete.zsh"), functions.path()};
  for (const Case& completion : cases()) command.push_back(line(completion));
  const auto result = runProcess(command, {}, work());
  if (result.code == 3) GTEST_SKIP() << "zsh could not open a pseudo-terminal: " << result.err;
  ASSERT_EQ(result.code, 0) << result.err;

  std::map<std::string, std::vector<std::string>> offered;
  std::string current;
  for (const auto& entry : lines(result.out)) {
    if (entry.starts_with("@@ ")) {
      current = entry.substr(3);
      offered[current];
    } else {
      offered[current].push_back(entry);
    }
  }
  expectEveryCase([&](const Case& completion) {
    EXPECT_TRUE(offered.contains(line(completion))) << line(completion);
    return offered[line(completion)];
  });
}

}  // namespace
}  // namespace tw::test
