#include <gtest/gtest.h>

#include "core/version.h"
#include "updates/semantic_version.h"

namespace tw {
namespace {

SemanticVersion version(const std::string& text) {
  auto parsed = parseSemanticVersion(text);
  EXPECT_TRUE(parsed.has_value()) << text;
  return parsed.value_or(SemanticVersion{});
}

TEST(SemanticVersion, ReadsTheStandardGrammarAndWritesItBack) {
  for (const char* text : {"0.0.0", "1.2.3", "10.20.30", "1.0.0-alpha", "1.0.0-alpha.1", "1.0.0-0.3.7",
                           "1.0.0-x.7.z.92", "1.0.0-x-y-z.--", "1.0.0+20130313144700", "1.0.0-beta+exp.sha.5114f85",
                           "1.0.0+21AF26D3----117B344092BD", "18446744073709551615.0.0"}) {
    const auto parsed = parseSemanticVersion(text);
    ASSERT_TRUE(parsed.has_value()) << text;
    EXPECT_EQ(parsed->text(), text);
  }
  const SemanticVersion parsed = version("2.11.4-rc.1+build.7");
  EXPECT_EQ(parsed.major, 2u);
  EXPECT_EQ(parsed.minor, 11u);
  EXPECT_EQ(parsed.patch, 4u);
  EXPECT_EQ(parsed.preRelease, (std::vector<std::string>{"rc", "1"}));
  EXPECT_EQ(parsed.build, (std::vector<std::string>{"build", "7"}));
  EXPECT_TRUE(parsed.isPreRelease());
}

TEST(SemanticVersion, RefusesEverythingOutsideTheGrammar) {
  for (const char* text : {"",
                           "1",
                           "1.2",
                           "1.2.3.4",
                           "v1.2.3",
                           " 1.2.3",
                           "1.2.3 ",
                           "01.2.3",
                           "1.02.3",
                           "1.2.03",
                           "1.2.3-",
                           "1.2.3+",
                           "1.2.3-01",
                           "1.2.3-alpha..1",
                           "1.2.3-alpha_1",
                           "1.2.3+build..1",
                           "1.2.3-é",
                           "-1.2.3",
                           "1.2.-3",
                           "18446744073709551616.0.0",
                           "1.2.3\n",
                           "1.2.3-rc.1+"}) {
    EXPECT_FALSE(parseSemanticVersion(text).has_value()) << '"' << text << '"';
  }
}

TEST(SemanticVersion, PrecedenceFollowsTheStandardsOwnExamples) {
  const std::vector<std::string> ascending{"1.0.0-alpha", "1.0.0-alpha.1", "1.0.0-alpha.beta",
                                           "1.0.0-beta",  "1.0.0-beta.2",  "1.0.0-beta.11",
                                           "1.0.0-rc.1",  "1.0.0",         "1.0.1",
                                           "1.1.0",       "2.0.0",         "2.1.0",
                                           "2.1.1",       "10.0.0"};
  for (std::size_t lower = 0; lower < ascending.size(); ++lower) {
    for (std::size_t higher = lower + 1; higher < ascending.size(); ++higher) {
      EXPECT_TRUE(precedence(version(ascending[lower]), version(ascending[higher])) < 0)
          << ascending[lower] << " < " << ascending[higher];
      EXPECT_TRUE(precedence(version(ascending[higher]), version(ascending[lower])) > 0)
          << ascending[higher] << " > " << ascending[lower];
    }
  }
}

TEST(SemanticVersion, BuildMetadataIsIgnoredAndLongNumbersCompareAsNumbers) {
  EXPECT_TRUE(precedence(version("1.0.0+build.1"), version("1.0.0+build.2")) == 0);
  EXPECT_TRUE(precedence(version("1.0.0-rc.1+a"), version("1.0.0-rc.1")) == 0);
  EXPECT_TRUE(precedence(version("1.0.0-rc.99999999999999999999"), version("1.0.0-rc.100000000000000000000")) < 0);
  EXPECT_TRUE(precedence(version("1.0.0-9"), version("1.0.0-10")) < 0);
  EXPECT_TRUE(precedence(version("1.0.0-999"), version("1.0.0-a")) < 0);
}

TEST(SemanticVersion, TheProgramsOwnVersionIsOne) { EXPECT_TRUE(parseSemanticVersion(tw::version).has_value()); }

}  // namespace
}  // namespace tw
