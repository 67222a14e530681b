// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "tests/contract/FileWorlds.h"

namespace wicket::contract {
namespace {

using namespace std::string_literals;

constexpr FileAttributes folderAttributes{.permissions = 0755};

template <typename World>
class FileManagerContract : public testing::Test {
 protected:
  FileManager& files() { return world_.files(); }
  FileManager::Result copyItem(const std::string& source, const std::string& destination) {
    return contract::copyItem(world_, source, destination);
  }
  std::string at(const std::string& name) { return world_.at(name); }

  // The errno of a result; 0 for success.
  static int errorOf(const FileManager::Result& result) { return result ? 0 : result.error().number; }
  int readError(const std::string& path) {
    const auto content = files().readFile(path);
    return content ? 0 : content.error().number;
  }

  World world_;
};

using FileWorldTypes = testing::Types<RealFiles, FilesInMemory>;
TYPED_TEST_SUITE(FileManagerContract, FileWorldTypes);

TYPED_TEST(FileManagerContract, FilesDirectoriesAndFifosExist) {
  this->world_.addFile(this->at("file"), "x");
  this->world_.addDirectory(this->at("folder"));
  this->world_.addFifo(this->at("fifo"));
  EXPECT_TRUE(this->files().fileExists(this->at("file")));
  EXPECT_TRUE(this->files().fileExists(this->at("folder")));
  EXPECT_TRUE(this->files().fileExists(this->at("folder/")));
  EXPECT_TRUE(this->files().fileExists(this->at("folder/..")));
  EXPECT_TRUE(this->files().fileExists(this->at("fifo")));
}

TYPED_TEST(FileManagerContract, WhatIsMissingDoesNotExist) {
  this->world_.addFile(this->at("file"), "x");
  EXPECT_FALSE(this->files().fileExists(this->at("missing")));
  EXPECT_FALSE(this->files().fileExists(this->at("missing/file")));
  EXPECT_FALSE(this->files().fileExists(""));
  EXPECT_FALSE(this->files().fileExists(this->at("file/")));
  EXPECT_FALSE(this->files().fileExists(this->at("file/below")));
}

TYPED_TEST(FileManagerContract, ALinkExistsAsFarAsItsTargetDoes) {
  this->world_.addFile(this->at("file"), "x");
  this->world_.addLink(this->at("good"), "file");
  this->world_.addLink(this->at("dangling"), "missing");
  this->world_.addLink(this->at("loop"), "loop");
  EXPECT_TRUE(this->files().fileExists(this->at("good")));
  EXPECT_FALSE(this->files().fileExists(this->at("dangling")));
  EXPECT_FALSE(this->files().fileExists(this->at("loop")));
}

TYPED_TEST(FileManagerContract, APathWithAnEmbeddedNulNamesNothing) {
  this->world_.addFile(this->at("file"), "x");
  const std::string path = this->at("file") + "\0.sh"s;
  EXPECT_FALSE(this->files().fileExists(path));
  EXPECT_EQ(this->readError(path), EINVAL);
  EXPECT_EQ(this->errorOf(this->files().removeItem(path)), EINVAL);
  EXPECT_EQ(this->errorOf(this->files().setAttributes(path, folderAttributes)), EINVAL);
  EXPECT_EQ(this->errorOf(this->files().createDirectory(path, folderAttributes)), EINVAL);
  EXPECT_EQ(this->errorOf(this->copyItem(path, this->at("copy"))), EINVAL);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("file"), path)), EINVAL);
  EXPECT_EQ(this->world_.entries(this->at("")), std::vector<std::string>{"file"});
}

TYPED_TEST(FileManagerContract, ANewDirectoryHasExactlyTheAttributesAskedFor) {
  const mode_t before = ::umask(077);
  const auto result = this->files().createDirectory(this->at("folder"), folderAttributes);
  ::umask(before);
  EXPECT_EQ(this->errorOf(result), 0);
  EXPECT_EQ(this->world_.kind(this->at("folder")), ItemKind::directory);
  EXPECT_EQ(this->world_.attributes(this->at("folder")), folderAttributes);
}

TYPED_TEST(FileManagerContract, ADirectoryIsNotCreatedWhereSomethingStands) {
  this->world_.addDirectory(this->at("folder"));
  this->world_.addFile(this->at("file"), "x");
  this->world_.addLink(this->at("dangling"), "missing");
  for (const std::string name : {"folder", "folder/", "file", "dangling"}) {
    EXPECT_EQ(this->errorOf(this->files().createDirectory(this->at(name), folderAttributes)), EEXIST) << name;
  }
}

TYPED_TEST(FileManagerContract, NoMissingParentsAreCreated) {
  this->world_.addFile(this->at("file"), "x");
  EXPECT_EQ(this->errorOf(this->files().createDirectory(this->at("a/b"), folderAttributes)), ENOENT);
  EXPECT_EQ(this->errorOf(this->files().createDirectory(this->at("file/b"), folderAttributes)), ENOTDIR);
  EXPECT_EQ(this->errorOf(this->files().createDirectory("", folderAttributes)), ENOENT);
  EXPECT_EQ(this->world_.entries(this->at("")), std::vector<std::string>{"file"});
}

TYPED_TEST(FileManagerContract, ACopyHasTheContentOfItsSourceByteForByte) {
  const std::string content = "#!/bin/sh\n\0\xFF binary\n"s;
  this->world_.addFile(this->at("source"), content);
  this->world_.addFile(this->at("empty"), "");
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at("copy"))), 0);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("empty"), this->at("copy of empty"))), 0);
  EXPECT_EQ(this->world_.content(this->at("copy")), content);
  EXPECT_EQ(this->world_.content(this->at("copy of empty")), "");
  EXPECT_EQ(this->world_.content(this->at("source")), content);
  EXPECT_EQ(this->world_.entries(this->at("")), (std::vector<std::string>{"copy", "copy of empty", "empty", "source"}));
}

TYPED_TEST(FileManagerContract, ACopyKeepsThePermissionsExceptSetIdAndForeignWriteAccess) {
  this->world_.addFile(this->at("open"), "x", 06777);
  this->world_.addFile(this->at("closed"), "x", 0400);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("open"), this->at("a"))), 0);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("closed"), this->at("b"))), 0);
  EXPECT_EQ(this->world_.attributes(this->at("a")), FileAttributes{.permissions = 0755});
  EXPECT_EQ(this->world_.attributes(this->at("b")), FileAttributes{.permissions = 0400});
}

TYPED_TEST(FileManagerContract, ALinkAsSourceIsCopiedAsItsFile) {
  this->world_.addFile(this->at("file"), "text");
  this->world_.addLink(this->at("link"), "file");
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("link"), this->at("copy"))), 0);
  EXPECT_EQ(this->world_.kind(this->at("copy")), ItemKind::file);
  EXPECT_EQ(this->world_.content(this->at("copy")), "text");
}

TYPED_TEST(FileManagerContract, OnlyARegularFileCanBeCopied) {
  this->world_.addDirectory(this->at("folder"));
  this->world_.addFifo(this->at("fifo"));
  this->world_.addLink(this->at("dangling"), "missing");
  const auto before = this->world_.entries(this->at(""));
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("folder"), this->at("copy"))), EISDIR);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("fifo"), this->at("copy"))), EINVAL);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("dangling"), this->at("copy"))), ENOENT);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("missing"), this->at("copy"))), ENOENT);
  EXPECT_EQ(this->errorOf(this->copyItem("", this->at("copy"))), ENOENT);
  EXPECT_EQ(this->world_.entries(this->at("")), before);
}

TYPED_TEST(FileManagerContract, ACopyReplacesNothing) {
  this->world_.addFile(this->at("source"), "new");
  this->world_.addFile(this->at("file"), "old");
  this->world_.addDirectory(this->at("folder"));
  this->world_.addLink(this->at("link"), "file");
  this->world_.addLink(this->at("dangling"), "missing");
  const auto before = this->world_.entries(this->at(""));
  for (const std::string name : {"source", "file", "folder", "folder/", "folder/..", "link", "dangling"}) {
    EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at(name))), EEXIST) << name;
  }
  EXPECT_EQ(this->world_.content(this->at("file")), "old");
  EXPECT_EQ(this->world_.entries(this->at("")), before);
}

TYPED_TEST(FileManagerContract, ACopyNeedsAFolderAndANameToGoTo) {
  this->world_.addFile(this->at("source"), "x");
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at("missing/copy"))), ENOENT);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at("source/copy"))), ENOTDIR);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at("copy/"))), EISDIR);
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), "")), ENOENT);
  const std::string tooLong(256, 'n');
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at(tooLong))), ENAMETOOLONG);
  EXPECT_EQ(this->world_.entries(this->at("")), std::vector<std::string>{"source"});
}

TYPED_TEST(FileManagerContract, TheLongestNameCanBeCopiedTo) {
  this->world_.addFile(this->at("source"), "x");
  const std::string longest(255, 'n');
  EXPECT_EQ(this->errorOf(this->copyItem(this->at("source"), this->at(longest))), 0);
  EXPECT_EQ(this->world_.content(this->at(longest)), "x");
}

TYPED_TEST(FileManagerContract, AttributesAreSetOnTheItemBehindALink) {
  this->world_.addFile(this->at("file"), "x", 0644);
  this->world_.addLink(this->at("link"), "file");
  EXPECT_EQ(this->errorOf(this->files().setAttributes(this->at("link"), {.permissions = 0500})), 0);
  EXPECT_EQ(this->world_.attributes(this->at("file")), FileAttributes{.permissions = 0500});
}

TYPED_TEST(FileManagerContract, AttributesOfAMissingItemCannotBeSet) {
  this->world_.addLink(this->at("dangling"), "missing");
  EXPECT_EQ(this->errorOf(this->files().setAttributes(this->at("missing"), {.permissions = 0500})), ENOENT);
  EXPECT_EQ(this->errorOf(this->files().setAttributes(this->at("missing"), {.permissions = 0700})), ENOENT);
  EXPECT_EQ(this->errorOf(this->files().setAttributes(this->at("dangling"), {.permissions = 0500})), ENOENT);
}

TYPED_TEST(FileManagerContract, FilesFifosAndLinksAreRemovedThemselves) {
  this->world_.addDirectory(this->at("folder"));
  this->world_.addFile(this->at("folder/kept"), "x");
  this->world_.addFile(this->at("file"), "x");
  this->world_.addFifo(this->at("fifo"));
  this->world_.addLink(this->at("link"), "folder");
  this->world_.addLink(this->at("dangling"), "missing");
  for (const std::string name : {"file", "fifo", "link", "dangling"}) {
    EXPECT_EQ(this->errorOf(this->files().removeItem(this->at(name))), 0) << name;
  }
  EXPECT_EQ(this->world_.entries(this->at("")), std::vector<std::string>{"folder"});
  EXPECT_EQ(this->world_.content(this->at("folder/kept")), "x");
}

TYPED_TEST(FileManagerContract, ADirectoryIsRemovedWithItsContentsAndNoLinkIsFollowed) {
  this->world_.addDirectory(this->at("outside"));
  this->world_.addFile(this->at("outside/kept"), "x");
  for (const std::string ending : {"", "/", "//"}) {
    this->world_.addDirectory(this->at("folder"));
    this->world_.addFile(this->at("folder/a"), "x", 0400);
    this->world_.addDirectory(this->at("folder/b"));
    this->world_.addDirectory(this->at("folder/b/empty"));
    this->world_.addFile(this->at("folder/b/c"), "x");
    this->world_.addLink(this->at("folder/link"), "../outside");
    this->world_.addFifo(this->at("folder/b/fifo"));
    EXPECT_EQ(this->errorOf(this->files().removeItem(this->at("folder" + ending))), 0) << ending;
    EXPECT_EQ(this->world_.entries(this->at("")), std::vector<std::string>{"outside"}) << ending;
  }
  EXPECT_EQ(this->world_.content(this->at("outside/kept")), "x");
}

TYPED_TEST(FileManagerContract, RemovingWhatIsMissingIsAnError) {
  this->world_.addFile(this->at("file"), "x");
  EXPECT_EQ(this->errorOf(this->files().removeItem(this->at("missing"))), ENOENT);
  EXPECT_EQ(this->errorOf(this->files().removeItem("")), ENOENT);
  EXPECT_EQ(this->errorOf(this->files().removeItem(this->at("file/"))), ENOTDIR);
  EXPECT_EQ(this->world_.content(this->at("file")), "x");
}

TYPED_TEST(FileManagerContract, ADirectoryNamedThroughALinkOrADotIsNotTouched) {
  this->world_.addDirectory(this->at("folder"));
  this->world_.addFile(this->at("folder/kept"), "x");
  this->world_.addLink(this->at("link"), "folder");
  EXPECT_EQ(this->errorOf(this->files().removeItem(this->at("link/"))), ENOTDIR);
  EXPECT_EQ(this->errorOf(this->files().removeItem(this->at("folder/."))), EINVAL);
  EXPECT_EQ(this->world_.content(this->at("folder/kept")), "x");
  EXPECT_EQ(this->world_.kind(this->at("link")), ItemKind::link);
}

TYPED_TEST(FileManagerContract, RemovingTheParentThroughAFolderEmptiesItAndThenFails) {
  this->world_.addDirectory(this->at("parent"));
  this->world_.addDirectory(this->at("parent/folder"));
  this->world_.addFile(this->at("parent/file"), "x");
  EXPECT_EQ(this->errorOf(this->files().removeItem(this->at("parent/folder/.."))), ENOENT);
  EXPECT_EQ(this->world_.entries(this->at("parent")), std::vector<std::string>{});
}

TYPED_TEST(FileManagerContract, AFileIsReadWhole) {
  const std::string content = "line\n\0\xC3"s + std::string(200'000, 'z');
  this->world_.addFile(this->at("file"), content);
  this->world_.addFile(this->at("empty"), "");
  this->world_.addLink(this->at("link"), "file");
  EXPECT_EQ(this->files().readFile(this->at("file")), content);
  EXPECT_EQ(this->files().readFile(this->at("link")), content);
  EXPECT_EQ(this->files().readFile(this->at("empty")), "");
}

TYPED_TEST(FileManagerContract, OnlyARegularFileCanBeRead) {
  this->world_.addDirectory(this->at("folder"));
  this->world_.addFifo(this->at("fifo"));
  this->world_.addFile(this->at("file"), "x");
  EXPECT_EQ(this->readError(this->at("folder")), EISDIR);
  EXPECT_EQ(this->readError(this->at("folder/")), EISDIR);
  EXPECT_EQ(this->readError(this->at("fifo")), EINVAL);
  EXPECT_EQ(this->readError(this->at("missing")), ENOENT);
  EXPECT_EQ(this->readError(""), ENOENT);
  EXPECT_EQ(this->readError(this->at("file/")), ENOTDIR);
}

}  // namespace
}  // namespace wicket::contract
