// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "companion/ScriptFolder.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::companion {
namespace {

class ScriptFolderTest : public testing::Test {
 protected:
  void install(const std::string& name, const std::string& text, std::time_t moment) const {
    std::ofstream(folder_.path(name), std::ios::binary) << text;
    const timespec moments[] = {{moment, 0}, {moment, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder_.path(name).c_str(), moments, 0), 0);
  }

  const support::TemporaryFolder folder_;
};

TEST_F(ScriptFolderTest, ScriptsComeByNameWithTheirSizesAndTimes) {
  install("b.sh", "12345", 86'400);
  install(".a.sh", "", 7);
  install("a.sh", "1", 0);
  const auto scripts = installedScripts(folder_.path());
  ASSERT_TRUE(scripts);
  ASSERT_EQ(scripts->size(), 3U);
  EXPECT_EQ(scripts->at(0).name, ".a.sh");
  EXPECT_EQ(scripts->at(1).name, "a.sh");
  EXPECT_EQ(scripts->at(2).name, "b.sh");
  EXPECT_EQ(scripts->at(0).size, 0U);
  EXPECT_EQ(scripts->at(2).size, 5U);
  EXPECT_EQ(scripts->at(0).modifiedAt, 7);
  EXPECT_EQ(scripts->at(2).modifiedAt, 86'400);
}

TEST_F(ScriptFolderTest, FoldersAreNoScriptsAndLinksAreWithoutBeingFollowed) {
  std::filesystem::create_directory(folder_.path("folder"));
  std::filesystem::create_symlink("nowhere", folder_.path("link"));
  const auto scripts = installedScripts(folder_.path());
  ASSERT_TRUE(scripts);
  ASSERT_EQ(scripts->size(), 1U);
  EXPECT_EQ(scripts->front().name, "link");
}

TEST_F(ScriptFolderTest, AnEmptyOrMissingFolderHoldsNone) {
  const auto ofEmpty = installedScripts(folder_.path());
  ASSERT_TRUE(ofEmpty);
  EXPECT_TRUE(ofEmpty->empty());
  const auto ofMissing = installedScripts(folder_.path("missing"));
  ASSERT_TRUE(ofMissing);
  EXPECT_TRUE(ofMissing->empty());
}

TEST_F(ScriptFolderTest, WhatCannotBeReadAsAFolderIsAProblemThatNamesIt) {
  install("file", "", 0);
  const auto scripts = installedScripts(folder_.path("file"));
  ASSERT_FALSE(scripts);
  EXPECT_EQ(scripts.error().cause, "The script folder " + folder_.path("file") + " cannot be read: Not a directory");
  EXPECT_FALSE(scripts.error().nextStep.empty());
}

}  // namespace
}  // namespace wicket::companion
