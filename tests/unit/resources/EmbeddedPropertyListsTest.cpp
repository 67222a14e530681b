// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string_view>

#include "resources/BuildValues.h"
#include "resources/EmbeddedPropertyLists.h"

namespace wicket::resources {
namespace {

bool isWholeDocument(std::string_view xml) {
  return xml.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") && xml.ends_with("</plist>\n");
}

TEST(EmbeddedPropertyListsTest, BothListsAreWholeDocuments) {
  EXPECT_TRUE(isWholeDocument(EmbeddedPropertyLists::bundleInformation()));
  EXPECT_TRUE(isWholeDocument(EmbeddedPropertyLists::jobDescription()));
}

TEST(EmbeddedPropertyListsTest, EveryBuildValueHasBeenFilledIn) {
  for (const std::string_view mark : {"@WICKET_", "@MAKER_", "@PROJECT_"}) {
    EXPECT_EQ(EmbeddedPropertyLists::bundleInformation().find(mark), std::string_view::npos) << mark;
    EXPECT_EQ(EmbeddedPropertyLists::jobDescription().find(mark), std::string_view::npos) << mark;
  }
}

TEST(BuildValuesTest, TheHelpersPathIsOneWordForAShell) {
  const std::string_view path = BuildValues::helperExecutable();
  EXPECT_TRUE(path.starts_with('/'));
  EXPECT_EQ(path.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-"),
            std::string_view::npos);
}

}  // namespace
}  // namespace wicket::resources
