// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "helper/store/ScriptRemoval.h"
#include "tests/doubles/InMemoryFileManager.h"

namespace wicket {
namespace {

using doubles::FileOperation;
using doubles::InMemoryFileManager;
using testing::ElementsAre;
using testing::IsEmpty;

class ScriptRemovalTest : public testing::Test {
 protected:
  ScriptRemovalTest() {
    files.addDirectory("/home");
    files.addFile("/home/a.sh", "source");
    files.addDirectory("/var");
    files.addFile("/var/secret", "outside the script folder");
    files.addDirectory("/var/orvane");
    files.addFile("/var/orvane/a.sh", "a");
    files.addFile("/var/orvane/b.sh", "b");
  }

  InMemoryFileManager files;
};

TEST_F(ScriptRemovalTest, ByNameAnInstalledScriptIsRemoved) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptWithFilename(files, "a.sh"), 0);
  EXPECT_THAT(files.entries("/var/orvane"), ElementsAre("b.sh"));
}

TEST_F(ScriptRemovalTest, ByNameAScriptThatDoesNotExistIsASuccess) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptWithFilename(files, "gone.sh"), 0);
  EXPECT_THAT(files.entries("/var/orvane"), ElementsAre("a.sh", "b.sh"));
}

TEST_F(ScriptRemovalTest, ByNameANameThatClimbsOutOfTheFolderActsOnThePathAsBuilt) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptWithFilename(files, "../secret"), 0);
  EXPECT_EQ(files.item("/var/secret"), std::nullopt);
}

TEST_F(ScriptRemovalTest, ByNameTheNameIsNotCleaned) {
  files.addFile("/var/orvane/x?b.sh", "odd");
  EXPECT_EQ(ScriptRemoval::uninstallScriptWithFilename(files, "x?b.sh"), 0);
  EXPECT_THAT(files.entries("/var/orvane"), ElementsAre("a.sh", "b.sh"));
}

TEST_F(ScriptRemovalTest, ByNameAScriptThatCannotBeRemovedIs367) {
  files.fail(FileOperation::removeItem, "/var/orvane/a.sh", EACCES);
  EXPECT_EQ(ScriptRemoval::uninstallScriptWithFilename(files, "a.sh"), 367);
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "a");
}

TEST_F(ScriptRemovalTest, ByLocationTheSecondPathIsRemovedAndTheFirstIsIgnored) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/home/a.sh,/var/orvane/a.sh"), 0);
  EXPECT_THAT(files.entries("/var/orvane"), ElementsAre("b.sh"));
  EXPECT_EQ(files.content("/home/a.sh"), "source");
}

TEST_F(ScriptRemovalTest, ByLocationASinglePathIs367AndTouchesNothing) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/var/orvane/a.sh"), 367);
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/home/a.sh,"), 367);
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, ""), 367);
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptRemovalTest, ByLocationThreePathsAre367AndTouchNothing) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/a,/var/orvane/a.sh,/b"), 367);
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptRemovalTest, ByLocationATargetOfWhichCleaningLeavesNothingIs367) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/home/a.sh,??"), 367);
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptRemovalTest, ByLocationTheSourceMayBeUnacceptable) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "??,/var/orvane/a.sh"), 0);
  EXPECT_THAT(files.entries("/var/orvane"), ElementsAre("b.sh"));
}

TEST_F(ScriptRemovalTest, ByLocationTheSecondPathIsRemovedEvenOutsideTheScriptFolder) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/home/a.sh,/var/secret"), 0);
  EXPECT_EQ(files.item("/var/secret"), std::nullopt);
}

TEST_F(ScriptRemovalTest, ByLocationAMissingTargetIs367) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptAt(files, "/home/a.sh,/var/orvane/gone.sh"), 367);
}

TEST_F(ScriptRemovalTest, ByPathAFolderGoesWithItsContents) {
  EXPECT_EQ(ScriptRemoval::uninstallScriptPath(files, "/var/orvane"), 0);
  EXPECT_EQ(files.item("/var/orvane"), std::nullopt);
}

}  // namespace
}  // namespace wicket
