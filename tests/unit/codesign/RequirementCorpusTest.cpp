// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "codesign/requirement/RequirementEvaluator.h"
#include "codesign/requirement/RequirementParser.h"
#include "tests/unit/codesign/RequirementText.h"

namespace wicket::codesign {
namespace {

std::vector<std::filesystem::path> corpus(const std::string& suffix) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(WICKET_REQUIREMENT_CORPUS)) {
    if (entry.path().extension() == suffix) {
      files.push_back(entry.path());
    }
  }
  return files;
}

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Uses a parsed requirement in every way there is. Whether it is met does not matter.
void exercise(const RequirementExpression& expression) {
  const auto again = RequirementParser::parse(requirementText(expression));
  ASSERT_TRUE(again) << again.error().text();
  EXPECT_EQ(*again, expression);
  const bool first = isMet(expression, {"a.b", CertificateChain(), {}, {}, {}});
  EXPECT_EQ(isMet(*again, {"a.b", CertificateChain(), {}, {}, {}}), first);
}

TEST(RequirementCorpusTest, EveryFileSaysInItsNameWhetherItIsARequirement) {
  for (const auto& entry : std::filesystem::directory_iterator(WICKET_REQUIREMENT_CORPUS)) {
    const std::string suffix = entry.path().extension();
    EXPECT_TRUE(suffix == ".valid" || suffix == ".malformed") << entry.path();
  }
}

TEST(RequirementCorpusTest, TheValidOnesAreReadAndWrittenAsTheSame) {
  const auto files = corpus(".valid");
  ASSERT_FALSE(files.empty());
  for (const auto& path : files) {
    const auto parsed = RequirementParser::parse(contentOf(path));
    ASSERT_TRUE(parsed) << path << ": " << parsed.error().text();
    exercise(*parsed);
  }
}

TEST(RequirementCorpusTest, TheMalformedOnesAreRefusedWithAPlaceInsideThem) {
  const auto files = corpus(".malformed");
  ASSERT_FALSE(files.empty());
  for (const auto& path : files) {
    const std::string text = contentOf(path);
    const auto parsed = RequirementParser::parse(text);
    ASSERT_FALSE(parsed) << path;
    EXPECT_FALSE(parsed.error().message.empty()) << path;
    EXPECT_GE(parsed.error().position.line, 1U) << path;
    EXPECT_LE(parsed.error().position.line, 1U + static_cast<std::size_t>(std::ranges::count(text, '\n'))) << path;
    EXPECT_LE(parsed.error().position.column, text.size() + 1) << path;
  }
}

TEST(RequirementCorpusTest, NoBeginningAndNoChangedByteOfOneDoesHarm) {
  for (const auto& path : corpus(".valid")) {
    const std::string text = contentOf(path).substr(0, 200);
    for (std::size_t index = 0; index < text.size(); ++index) {
      if (const auto parsed = RequirementParser::parse(text.substr(0, index))) {
        exercise(*parsed);
      }
      for (const char replacement : {'\0', '"', '(', ')', '[', '*', '!', '\\', '.', '0', 'x', '\xFF', '\x80'}) {
        std::string changed = text;
        changed[index] = replacement;
        if (const auto parsed = RequirementParser::parse(changed)) {
          exercise(*parsed);
        }
      }
    }
  }
}

}  // namespace
}  // namespace wicket::codesign
