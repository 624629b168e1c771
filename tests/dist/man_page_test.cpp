#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "cli/cli.h"
#include "core/version.h"
#include "dist/dist_paths.h"
#include "support/fake_home.h"
#include "support/programs.h"

namespace tw::test {
namespace {

// The words of a roff line as a reader sees them: macros, font changes, quotes and the
// escaped hyphens undone.
std::string plainWords(std::string line) {
  if (line.starts_with(".")) line = line.substr(std::min(line.find(' '), line.size()));
  for (const std::string escape : {"\\fB", "\\fI", "\\fP", "\\fR", "\""}) {
    for (auto at = line.find(escape); at != std::string::npos; at = line.find(escape)) line.erase(at, escape.size());
  }
  for (auto at = line.find("\\-"); at != std::string::npos; at = line.find("\\-")) line.erase(at, 1);
  return line;
}

// The tags of the tagged paragraphs (the line after each .TP), per section.
std::map<std::string, std::vector<std::string>> tagsBySection(const std::string& roff) {
  std::map<std::string, std::vector<std::string>> tags;
  std::istringstream lines(roff);
  std::string section;
  bool tagNext = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(".SH ")) section = plainWords(line).substr(1);
    if (tagNext) tags[section].push_back(plainWords(line));
    tagNext = line == ".TP";
  }
  return tags;
}

std::string regexQuoted(const std::string& text) {
  static const std::regex special(R"([.^$|()\[\]{}*+?\\-])");
  return std::regex_replace(text, special, R"(\$&)");
}

// Whether `word` stands as a whole word (or option) in one of the tags.
bool tagged(const std::vector<std::string>& tags, const std::string& word) {
  const std::regex whole("(^|[\\s,\\[])" + regexQuoted(word) + "($|[\\s,=\\]])");
  return std::any_of(tags.begin(), tags.end(), [&](const std::string& tag) { return std::regex_search(tag, whole); });
}

const std::string manual = readFile(buildPath("dist/tidewarden.1"));

TEST(ManPage, DescribesEveryCommandScreenFlagAndOptionOfTheCommandLine) {
  auto tags = tagsBySection(manual);
  std::vector<std::string> commandTags = tags["COMMANDS"];
  commandTags.insert(commandTags.end(), tags["DEVELOPER SCREENS"].begin(), tags["DEVELOPER SCREENS"].end());
  for (const auto& word : CLI::commands()) {
    EXPECT_TRUE(tagged(commandTags, word)) << word << " has no entry under COMMANDS or DEVELOPER SCREENS";
    const CLI::Grammar grammar = *CLI::grammar(word);
    for (const auto& name : grammar.flags) EXPECT_TRUE(tagged(tags["OPTIONS"], "--" + name)) << name;
    for (const auto& name : grammar.options) EXPECT_TRUE(tagged(tags["OPTIONS"], "--" + name)) << name;
  }
  for (const std::string shortSpelling : {"-y", "-n", "--"}) {
    EXPECT_TRUE(tagged(tags["OPTIONS"], shortSpelling)) << shortSpelling;
  }
  // And everything the usage text shows as an option.
  const std::regex option("--[a-z][a-z-]*");
  for (std::sregex_iterator found(CLI::usage().begin(), CLI::usage().end(), option), end; found != end; ++found) {
    EXPECT_TRUE(tagged(tags["OPTIONS"], found->str())) << found->str();
  }
}

TEST(ManPage, ListsTheExitCodesEnvironmentFilesAndExamples) {
  auto tags = tagsBySection(manual);
  for (const std::string code : {"0", "1", "2"}) EXPECT_TRUE(tagged(tags["EXIT STATUS"], code)) << code;
  for (const std::string variable :
       {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "TIDEWARDEN_SNAPSHOT",
        "TIDEWARDEN_SNAPSHOT_DELAY", "TIDEWARDEN_APPEARANCE", "TIDEWARDEN_ONBOARDING", "TIDEWARDEN_UPDATE_FEED"}) {
    EXPECT_TRUE(tagged(tags["ENVIRONMENT"], variable)) << variable;
  }
  for (const std::string file : {"$XDG_CONFIG_HOME/Tidewarden/settings.json", "$XDG_DATA_HOME/Tidewarden/history.json",
                                 "$XDG_DATA_HOME/Tidewarden/snapshots/", "$XDG_DATA_HOME/Trash/"}) {
    EXPECT_TRUE(tagged(tags["FILES"], file)) << file;
  }
  // Every example is a command line that parses: it names a command and only options that
  // command accepts.
  ASSERT_GE(tags["EXAMPLES"].size(), 5u);
  for (const auto& example : tags["EXAMPLES"]) {
    std::istringstream words(example);
    std::string program, word;
    words >> program >> word;
    EXPECT_EQ(program, "tidewarden") << example;
    const auto grammar = CLI::grammar(word);
    ASSERT_TRUE(grammar.has_value()) << example;
    for (std::string next; words >> next;) {
      if (!next.starts_with("--")) continue;
      const std::string name = next.substr(2);
      EXPECT_TRUE(grammar->flags.contains(name) || grammar->options.contains(name)) << example;
    }
  }
}

TEST(ManPage, CarriesTheProgramsVersionAndFormatsWithoutWarnings) {
  const std::size_t start = manual.find("\n.TH ") + 1;
  const std::string heading = manual.substr(start, manual.find('\n', start) - start);
  EXPECT_NE(heading.find("\"Tidewarden " + std::string(tw::version) + "\""), std::string::npos) << heading;
  EXPECT_EQ(manual.find('@'), std::string::npos) << "a placeholder was left unfilled";

  if (!isInstalled("man")) GTEST_SKIP() << "man is not installed";
  // The check Debian's lintian runs on every manual page.
  const auto rendered =
      runProcess({"man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", buildPath("dist/tidewarden.1")},
                 {{"LC_ALL", "C.UTF-8"}, {"MANROFFSEQ", ""}, {"MANWIDTH", "80"}});
  EXPECT_EQ(rendered.code, 0);
  EXPECT_EQ(rendered.err, "");
  EXPECT_FALSE(rendered.out.empty());
}

}  // namespace
}  // namespace tw::test
