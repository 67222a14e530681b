// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "helper/store/ScriptInstallation.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/InMemorySourceFiles.h"

namespace wicket {
namespace {

using doubles::FileCall;
using doubles::FileOperation;
using doubles::InMemoryFileManager;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

constexpr FileAttributes installed{.permissions = 0500, .owner = 0, .group = 0};

/// A user's script, and "/var" as on any system.
class ScriptInstallationTest : public testing::Test {
 protected:
  ScriptInstallationTest() {
    files.addDirectory("/home");
    files.addFile("/home/a.sh", "#!/bin/sh\nnew\n", 0644);
    files.addDirectory("/var");
  }

  bool install(const std::string& path) {
    const auto before = files.calls();
    ScriptInstallation installation(files, path);
    details = installation.prepare(sources);
    EXPECT_THAT(files.calls(), ElementsAreArray(before)) << "nothing is touched before the consent";
    return installation.installScript();
  }
  std::string detail(const std::string& name) const {
    const auto found = std::ranges::find(details, name, &AuthorizationDetail::name);
    return found == details.end() ? "none" : found->value;
  }

  InMemoryFileManager files;
  doubles::InMemorySourceFiles sources{files};
  AuthorizationDetails details;
};

TEST_F(ScriptInstallationTest, AnInstalledScriptIsACopyThatOnlyRootMayReadAndExecute) {
  EXPECT_TRUE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "#!/bin/sh\nnew\n");
  EXPECT_EQ(files.attributes("/var/orvane/a.sh"), installed);
  EXPECT_EQ(files.content("/home/a.sh"), "#!/bin/sh\nnew\n");
}

TEST_F(ScriptInstallationTest, TheStepsAreTakenInTheirOrder) {
  files.addDirectory("/var/orvane");
  files.addFile("/var/orvane/a.sh", "old");
  EXPECT_TRUE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_THAT(files.calls(), ElementsAre(FileCall{FileOperation::fileExists, "/var/orvane/a.sh"},
                                         FileCall{FileOperation::removeItem, "/var/orvane/a.sh"},
                                         FileCall{FileOperation::fileExists, "/var/orvane"},
                                         FileCall{FileOperation::copyItem, "/var/orvane/a.sh"},
                                         FileCall{FileOperation::setAttributes, "/var/orvane/a.sh"}));
}

TEST_F(ScriptInstallationTest, APathWithoutACommaFailsAndTouchesNothing) {
  EXPECT_FALSE(install("/home/a.sh"));
  EXPECT_FALSE(install(""));
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptInstallationTest, ThreePathsFailAndTouchNothing) {
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh,/var/orvane/b.sh"));
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptInstallationTest, EmptyPartsDoNotCount) {
  EXPECT_TRUE(install(",/home/a.sh,,/var/orvane/a.sh,"));
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "#!/bin/sh\nnew\n");
}

TEST_F(ScriptInstallationTest, APartOfBlanksCountsAsAnEntry) {
  EXPECT_FALSE(install("/home/a.sh, ,/var/orvane/a.sh"));
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptInstallationTest, APathOfWhichCleaningLeavesNothingFailsAndTouchesNothing) {
  EXPECT_FALSE(install("??,/var/orvane/a.sh"));
  EXPECT_FALSE(install("/home/a.sh,??"));
  EXPECT_FALSE(install(std::string(1025, 'a') + ",/var/orvane/a.sh"));
  EXPECT_FALSE(install("/home/a.sh," + std::string(1025, 'a')));
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST_F(ScriptInstallationTest, BothPathsAreCleaned) {
  EXPECT_TRUE(install(" file:?/home/a.sh , x#/var/orvane/a.sh "));
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "#!/bin/sh\nnew\n");
}

TEST_F(ScriptInstallationTest, AnEarlierCopyInTheScriptFolderIsRemovedAndReplaced) {
  files.addDirectory("/var/orvane");
  files.addFile("/var/orvane/a.sh", "old", 0500);
  EXPECT_TRUE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "#!/bin/sh\nnew\n");
  EXPECT_EQ(files.attributes("/var/orvane/a.sh"), installed);
}

TEST_F(ScriptInstallationTest, AnEarlierCopyThatCannotBeRemovedEndsTheInstallation) {
  files.addDirectory("/var/orvane");
  files.addFile("/var/orvane/a.sh", "old");
  files.fail(FileOperation::removeItem, "/var/orvane/a.sh", EACCES);
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "old");
}

TEST_F(ScriptInstallationTest, AMissingScriptFolderIsCreatedFor0755Root) {
  EXPECT_TRUE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.attributes("/var/orvane"), (FileAttributes{.permissions = 0755, .owner = 0, .group = 0}));
}

TEST_F(ScriptInstallationTest, AScriptFolderThatIsThereKeepsItsAttributes) {
  files.addDirectory("/var/orvane", 0700);
  EXPECT_TRUE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.attributes("/var/orvane")->permissions, 0700U);
}

TEST_F(ScriptInstallationTest, AMissingParentOfTheScriptFolderIsNotCreatedAndTheInstallationFails) {
  ASSERT_TRUE(files.removeItem("/var").has_value());
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.item("/var"), std::nullopt);
}

TEST_F(ScriptInstallationTest, TheCopyGoesWhereTheClientSaysWhileTheEarlierCopyIsSoughtInTheScriptFolder) {
  files.addDirectory("/var/orvane");
  files.addFile("/var/orvane/a.sh", "old");
  EXPECT_FALSE(install("/home/a.sh,/nowhere/a.sh"));
  EXPECT_EQ(files.item("/var/orvane/a.sh"), std::nullopt) << "the earlier copy is removed before the copying fails";
  files.addDirectory("/opt");
  EXPECT_TRUE(install("/home/a.sh,/opt/a.sh"));
  EXPECT_EQ(files.attributes("/opt/a.sh"), installed);
  EXPECT_EQ(files.item("/var/orvane/a.sh"), std::nullopt);
}

TEST_F(ScriptInstallationTest, ADestinationOutsideTheScriptFolderThatIsTakenFails) {
  files.addFile("/home/taken.sh", "kept");
  EXPECT_FALSE(install("/home/a.sh,/home/taken.sh"));
  EXPECT_EQ(files.content("/home/taken.sh"), "kept");
}

TEST_F(ScriptInstallationTest, ASourceThatIsMissingFailsAfterTheFolderWasMade) {
  EXPECT_FALSE(install("/home/gone.sh,/var/orvane/a.sh"));
  EXPECT_TRUE(files.item("/var/orvane").has_value());
  EXPECT_EQ(files.item("/var/orvane/a.sh"), std::nullopt);
}

TEST_F(ScriptInstallationTest, AnEarlierCopyStaysRemovedWhenTheCopyingFails) {
  files.addDirectory("/var/orvane");
  files.addFile("/var/orvane/a.sh", "old");
  files.fail(FileOperation::copyItem, "/var/orvane/a.sh", ENOSPC);
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.item("/var/orvane/a.sh"), std::nullopt);
  EXPECT_THAT(files.calls(), Not(Contains(Field(&FileCall::operation, FileOperation::setAttributes))));
}

TEST_F(ScriptInstallationTest, ACopyThatCannotBeGivenToRootIsAFailureAndStays) {
  files.fail(FileOperation::setAttributes, "/var/orvane/a.sh", EPERM);
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.content("/var/orvane/a.sh"), "#!/bin/sh\nnew\n");
  EXPECT_EQ(files.attributes("/var/orvane/a.sh")->permissions, 0644U);
}

TEST_F(ScriptInstallationTest, ADestinationThatCleansToAnEmptyStringFailsAndRemovesNothing) {
  files.addDirectory("/var/orvane");
  files.addFile("/var/orvane/b.sh", "other");
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh? ?"));
  EXPECT_FALSE(install("/home/a.sh, "));
  EXPECT_EQ(files.content("/var/orvane/b.sh"), "other");
}

TEST_F(ScriptInstallationTest, AContentThatHasChangedSinceTheQuestionIsNotInstalled) {
  sources.changeContentsTo("#!/bin/sh\nother\n");
  EXPECT_FALSE(install("/home/a.sh,/var/orvane/a.sh"));
  EXPECT_EQ(files.item("/var/orvane/a.sh"), std::nullopt);
}

TEST_F(ScriptInstallationTest, WithoutAPreparationNothingIsInstalled) {
  ScriptInstallation installation(files, "/home/a.sh,/var/orvane/a.sh");
  EXPECT_FALSE(installation.installScript());
  EXPECT_EQ(files.item("/var/orvane/a.sh"), std::nullopt);
}

TEST_F(ScriptInstallationTest, TheQuestionTellsTheFileTheDestinationTheSizeAndTheBeginningOfTheDigest) {
  EXPECT_TRUE(install(" x?/home/a.sh,/var/orvane/b.sh "));
  EXPECT_EQ(detail("file"), "\"/home/a.sh\"");
  EXPECT_EQ(detail("destination"), "\"/var/orvane/b.sh\"");
  EXPECT_EQ(detail("size"), "14 bytes");
  EXPECT_EQ(detail("sha256"), "0d2fb5cc05e80bf5fabcedf5464b6a8b...");
}

TEST_F(ScriptInstallationTest, OfAFileThatCannotBeReadTheQuestionSaysSo) {
  EXPECT_FALSE(install("/home/gone.sh,/var/orvane/a.sh"));
  EXPECT_EQ(detail("file"), "\"/home/gone.sh\" (cannot be read: No such file or directory)");
  EXPECT_EQ(detail("destination"), "\"/var/orvane/a.sh\"");
  EXPECT_EQ(detail("size"), "unknown");
  EXPECT_EQ(detail("sha256"), "unknown");
}

TEST_F(ScriptInstallationTest, AMalformedPathIsAskedAboutAsSuchAndOpensNothing) {
  EXPECT_FALSE(install("/home/a.sh\n$(user)"));
  EXPECT_EQ(detail("file"), "\"/home/a.sh\\x0a\\x24(user)\" (malformed: not the paths of a source and a destination)");
  EXPECT_EQ(detail("destination"), "unknown");
  EXPECT_THAT(sources.opened(), IsEmpty());
}

}  // namespace
}  // namespace wicket
