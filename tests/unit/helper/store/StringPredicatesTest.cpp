// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "helper/store/StringPredicates.h"
#include "helper/store/TlvCoreFileUtilities.h"
#include "tests/doubles/InMemoryFileManager.h"

namespace wicket {
namespace {

using doubles::FileCall;
using doubles::FileOperation;
using doubles::InMemoryFileManager;
using testing::ElementsAre;
using testing::IsEmpty;

struct ExtensionCase {
  std::string_view extension;
  bool applescript;
  bool script;
  bool scriptAsRoot;
};

const std::vector<ExtensionCase> extensionCases{
    {"scpt", true, true, false},  {"applescript", true, true, false}, {"scptd", true, true, false},
    {"py", false, true, true},    {"sh", false, true, true},          {"SH", false, false, false},
    {"Py", false, false, false},  {"SCPT", false, false, false},      {"", false, false, false},
    {".sh", false, false, false}, {"sh ", false, false, false},       {"app", false, false, false},
};

TEST(StringPredicatesTest, ExtensionsAreComparedExactlyAndWithTheirCase) {
  for (const auto& [extension, applescript, script, scriptAsRoot] : extensionCases) {
    EXPECT_EQ(StringPredicates::isValidExtensionForApplescript(extension), applescript) << extension;
    EXPECT_EQ(StringPredicates::isValidExtensionForScript(extension), script) << extension;
    EXPECT_EQ(StringPredicates::isValidExtensionForScriptAsRoot(extension), scriptAsRoot) << extension;
  }
}

TEST(StringPredicatesTest, APathIsValidWhenAFileIsThereAndItsExtensionIs) {
  for (const auto& [extension, applescript, script, scriptAsRoot] : extensionCases) {
    InMemoryFileManager files;
    const std::string path = "/run." + std::string(extension);
    files.addFile(path, "");
    EXPECT_EQ(StringPredicates::isValidPathForApplescript(files, path), applescript && extension != ".sh") << path;
    EXPECT_EQ(StringPredicates::isValidPathForScript(files, path), script || extension == ".sh") << path;
    EXPECT_EQ(StringPredicates::isValidPathForScriptAsRoot(files, path), scriptAsRoot || extension == ".sh") << path;
  }
}

TEST(StringPredicatesTest, AMissingFileIsNoScriptForRootWhateverItsExtension) {
  InMemoryFileManager files;
  EXPECT_FALSE(StringPredicates::isValidPathForScriptAsRoot(files, "/run.sh"));
  EXPECT_FALSE(StringPredicates::isValidPathForScript(files, "/run.sh"));
  EXPECT_FALSE(StringPredicates::isValidPathForApplescript(files, "/run.scpt"));
}

TEST(StringPredicatesTest, AnExistingShellScriptIsOneForRoot) {
  InMemoryFileManager files;
  files.addFile("/run.sh", "");
  EXPECT_TRUE(StringPredicates::isValidPathForScriptAsRoot(files, "/run.sh"));
}

TEST(StringPredicatesTest, AnExistingFileInUpperCaseOrWithoutExtensionIsNoScriptForRoot) {
  InMemoryFileManager files;
  files.addFile("/run.SH", "");
  files.addFile("/run", "");
  EXPECT_FALSE(StringPredicates::isValidPathForScriptAsRoot(files, "/run.SH"));
  EXPECT_FALSE(StringPredicates::isValidPathForScriptAsRoot(files, "/run"));
}

TEST(StringPredicatesTest, AFolderCountsAsAFile) {
  InMemoryFileManager files;
  files.addDirectory("/folder.sh");
  EXPECT_TRUE(StringPredicates::isValidPathForScriptAsRoot(files, "/folder.sh"));
}

TEST(TlvCoreFileUtilitiesTest, NoPathIsNotValidAndTheFileSystemIsNotTouched) {
  InMemoryFileManager files;
  EXPECT_FALSE(TlvCoreFileUtilities::isValid(files, std::nullopt));
  EXPECT_THAT(files.calls(), IsEmpty());
}

TEST(TlvCoreFileUtilitiesTest, APathIsValidWhenSomethingIsThere) {
  InMemoryFileManager files;
  files.addFile("/here", "");
  EXPECT_TRUE(TlvCoreFileUtilities::isValid(files, "/here"));
  EXPECT_FALSE(TlvCoreFileUtilities::isValid(files, "/gone"));
  EXPECT_THAT(files.calls(),
              ElementsAre(FileCall{FileOperation::fileExists, "/here"}, FileCall{FileOperation::fileExists, "/gone"}));
}

}  // namespace
}  // namespace wicket
