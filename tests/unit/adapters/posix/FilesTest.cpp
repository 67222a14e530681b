// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <span>
#include <spawn.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "adapters/posix/FileCopy.h"
#include "adapters/posix/SystemCalls.h"
#include "adapters/posix/TreeRemoval.h"
#include "base/system/Descriptor.h"
#include "base/system/Pipe.h"
#include "base/system/ReadWrite.h"
#include "tests/support/Machine.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TinyFileSystem.h"

namespace wicket::posix {
namespace {

namespace fs = std::filesystem;

class FilesTest : public testing::Test {
 protected:
  static int errorOf(const FileManager::Result& result) { return result ? 0 : result.error().number; }
  static std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
  }
  static mode_t modeOf(const std::string& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
  }
  void addFile(const std::string& name, const std::string& content = "") const {
    std::ofstream(at(name), std::ios::binary) << content;
  }
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.path(name); }

  support::TemporaryFolder folder_;
};

using Names = std::vector<std::string>;

/// Gives its content in pieces of three bytes and then, if there is one, an error.
class PiecewiseSource : public SourceFile {
 public:
  explicit PiecewiseSource(std::string content, unsigned permissions = 0644, int error = 0)
      : content_(std::move(content)), permissions_(permissions), error_(error) {}

  [[nodiscard]] std::uint64_t size() const override { return content_.size(); }
  [[nodiscard]] const ContentDigest& digest() const override { return digest_; }
  [[nodiscard]] unsigned permissions() const override { return permissions_; }
  [[nodiscard]] std::expected<std::size_t, FileError> read(std::span<std::byte> buffer) override {
    constexpr std::size_t piece = 3;
    const std::size_t count = std::min({piece, buffer.size(), content_.size() - offset_});
    if (count == 0 && error_ != 0) return std::unexpected(FileError{error_});
    std::memcpy(buffer.data(), content_.data() + offset_, count);
    offset_ += count;
    return count;
  }

 private:
  std::string content_;
  unsigned permissions_;
  int error_;
  std::size_t offset_ = 0;
  ContentDigest digest_{};
};

class FileCopyTest : public FilesTest {
 protected:
  static int copy(const std::string& destination, PiecewiseSource source = PiecewiseSource("content")) {
    return errorOf(copyFile(source, destination));
  }
};

TEST_F(FileCopyTest, HasAllPiecesOfTheSource) {
  EXPECT_EQ(copy(at("copy")), 0);
  EXPECT_EQ(contentOf(at("copy")), "content");
  EXPECT_EQ(copy(at("empty"), PiecewiseSource("")), 0);
  EXPECT_EQ(namesIn(folder_.path()), (Names{"copy", "empty"}));
}

TEST_F(FileCopyTest, HasTheSourcesPermissionsButGivesNobodyElseAnything) {
  const mode_t before = ::umask(0);
  EXPECT_EQ(copy(at("open"), PiecewiseSource("x", 07777)), 0);
  ::umask(0777);
  EXPECT_EQ(copy(at("usual"), PiecewiseSource("x", 0754)), 0);
  ::umask(before);
  EXPECT_EQ(copy(at("closed"), PiecewiseSource("x", 0)), 0);
  EXPECT_EQ(modeOf(at("open")), 0755U);
  EXPECT_EQ(modeOf(at("usual")), 0754U);
  EXPECT_EQ(modeOf(at("closed")), 0U);
}

TEST_F(FileCopyTest, OfASourceThatFailsInTheMiddleNothingIsLeft) {
  EXPECT_EQ(copy(at("copy"), PiecewiseSource("half of", 0644, ESTALE)), ESTALE);
  EXPECT_EQ(copy(at("copy"), PiecewiseSource("", 0644, EIO)), EIO);
  EXPECT_EQ(namesIn(folder_.path()), Names{});
}

TEST_F(FileCopyTest, ReplacesNothingNotEvenALinkThatLeadsNowhere) {
  addFile("file", "kept");
  ASSERT_EQ(::symlink("nowhere", at("link").c_str()), 0);
  ASSERT_EQ(::mkdir(at("folder").c_str(), 0755), 0);
  for (const auto* name : {"file", "link", "folder", "folder/", "folder/.", "folder/.."}) {
    EXPECT_EQ(copy(at(name)), EEXIST) << name;
  }
  EXPECT_EQ(contentOf(at("file")), "kept");
  EXPECT_EQ(namesIn(folder_.path()), (Names{"file", "folder", "link"}));
}

TEST_F(FileCopyTest, NeedsANameInAFolderThatIsThere) {
  addFile("file");
  EXPECT_EQ(copy(""), ENOENT);
  EXPECT_EQ(copy(at("missing/copy")), ENOENT);
  EXPECT_EQ(copy(at("file/copy")), ENOTDIR);
  EXPECT_EQ(copy(at("copy/")), EISDIR);
  EXPECT_EQ(copy(at("copy//")), EISDIR);
  EXPECT_EQ(copy(at(std::string(256, 'x'))), ENAMETOOLONG);
  EXPECT_EQ(copy(at("copy") + std::string(1, '\0') + "more"), EINVAL);
  EXPECT_EQ(namesIn(folder_.path()), Names{"file"});
}

TEST_F(FileCopyTest, FollowsALinkToTheFolder) {
  ASSERT_EQ(::mkdir(at("folder").c_str(), 0755), 0);
  ASSERT_EQ(::symlink("folder", at("link").c_str()), 0);
  EXPECT_EQ(copy(at("link//copy")), 0);
  EXPECT_EQ(contentOf(at("folder/copy")), "content");
}

class TreeRemovalTest : public FilesTest {
 protected:
  [[nodiscard]] int empty(const std::string& name) const { return errorOf(emptyDirectory(at(name))); }
};

TEST_F(TreeRemovalTest, EmptiesTheFolderAndKeepsItself) {
  fs::create_directories(at("folder/a/b/c"));
  fs::create_directories(at("folder/.hidden/..."));
  for (const auto* name : {"folder/file", "folder/a/b/file", "folder/..x", "folder/.hidden/file"}) addFile(name);
  EXPECT_EQ(empty("folder"), 0);
  EXPECT_EQ(namesIn(folder_.path()), Names{"folder"});
  EXPECT_EQ(namesIn(at("folder")), Names{});
  EXPECT_EQ(empty("folder"), 0);
}

TEST_F(TreeRemovalTest, RemovesLinksAndPipesAndNothingThatLinksLeadTo) {
  fs::create_directories(at("outside"));
  addFile("outside/kept");
  fs::create_directories(at("folder/inner"));
  ASSERT_EQ(::symlink("../outside", at("folder/link").c_str()), 0);
  ASSERT_EQ(::symlink("../../outside/kept", at("folder/inner/link").c_str()), 0);
  ASSERT_EQ(::symlink(".", at("folder/inner/circle").c_str()), 0);
  ASSERT_EQ(::mkfifo(at("folder/pipe").c_str(), 0600), 0);
  EXPECT_EQ(empty("folder"), 0);
  EXPECT_EQ(namesIn(at("folder")), Names{});
  EXPECT_EQ(namesIn(at("outside")), Names{"kept"});
}

TEST_F(TreeRemovalTest, EntersNothingButAFolder) {
  fs::create_directories(at("folder"));
  addFile("folder/kept");
  ASSERT_EQ(::symlink("folder", at("link").c_str()), 0);
  EXPECT_EQ(empty("folder/kept"), ENOTDIR);
  EXPECT_EQ(empty("link"), ENOTDIR);
  EXPECT_EQ(empty("missing"), ENOENT);
  EXPECT_EQ(namesIn(at("folder")), Names{"kept"});
}

TEST_F(TreeRemovalTest, StopsAtAnotherFileSystem) {
  WICKET_NEEDS(support::Need::mountNamespace);
  const bool ran = support::withTinyFileSystem(1 << 20, [](const std::string& tiny) {
    const std::string mounted = tiny + "/folder/mounted";
    fs::create_directories(mounted);
    ASSERT_EQ(::mount("tmpfs", mounted.c_str(), "tmpfs", 0, "size=65536"), 0);
    std::ofstream(mounted + "/kept") << "x";
    EXPECT_EQ(errorOf(emptyDirectory(tiny + "/folder")), EBUSY);
    EXPECT_EQ(namesIn(mounted), Names{"kept"});
    EXPECT_EQ(errorOf(emptyDirectory(mounted)), 0) << "where it begins does not matter";
  });
  EXPECT_TRUE(ran);
}

class SystemCallsTest : public FilesTest {
 protected:
  [[nodiscard]] Place place(const char* name) const { return {opened_.get(), name}; }

  const Descriptor opened_{::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(SystemCallsTest, ARenamedFileReplacesNothing) {
  addFile("from", "one");
  addFile("taken", "two");
  EXPECT_EQ(renameWithoutReplacing(place("from"), place("taken")), EEXIST);
  EXPECT_EQ(renameWithoutReplacing(place("missing"), place("new")), ENOENT);
  EXPECT_EQ(contentOf(at("from")), "one");
  EXPECT_EQ(contentOf(at("taken")), "two");
  EXPECT_EQ(renameWithoutReplacing(place("from"), place("new")), 0);
  EXPECT_EQ(namesIn(folder_.path()), (Names{"new", "taken"}));
  EXPECT_EQ(contentOf(at("new")), "one");
}

TEST_F(SystemCallsTest, AFileWithoutANameIsInNoFolderUntilItGetsOne) {
  addFile("taken", "kept");
  const Descriptor file(openUnnamedFile(opened_.get()));
  ASSERT_TRUE(file.isOpen());
  EXPECT_EQ(namesIn(folder_.path()), Names{"taken"});
  EXPECT_TRUE(system::writeAll(file.get(), std::as_bytes(std::span("content", 7))));
  EXPECT_EQ(giveName(file.get(), place("taken")), EEXIST);
  EXPECT_EQ(giveName(file.get(), place("named")), 0);
  EXPECT_EQ(contentOf(at("taken")), "kept");
  EXPECT_EQ(contentOf(at("named")), "content");
  EXPECT_EQ(modeOf(at("named")), 0600U);
}

TEST_F(SystemCallsTest, AnErrorThatHasNothingToDoWithNamesIsToldAsItIs) {
  addFile("file");
  const Descriptor file(::open(at("file").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_LT(openUnnamedFile(file.get()), 0);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(SystemCallsTest, WhatCannotBeSyncedIsNoErrorButWhatIsNotOpenIs) {
  addFile("file");
  const Descriptor file(::open(at("file").c_str(), O_RDONLY | O_CLOEXEC));
  const auto pipe = system::Pipe::make();
  ASSERT_TRUE(pipe);
  EXPECT_EQ(syncToDisk(file.get()), 0);
  EXPECT_EQ(syncToDisk(opened_.get()), 0);
  EXPECT_EQ(syncToDisk(pipe->writeEnd.get()), 0);
  EXPECT_EQ(syncToDisk(-1), EBADF);
}

/// The status of a shell that runs @p script, when it is spawned as @p prepare makes it.
int statusOf(const std::string& script, int (*prepare)(posix_spawn_file_actions_t&, posix_spawnattr_t&)) {
  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawnattr_init(&attributes);
  EXPECT_EQ(prepare(actions, attributes), 0);
  std::string shell = "/bin/sh";
  std::string option = "-c";
  std::string command = script;
  const std::array<char*, 4> arguments{shell.data(), option.data(), command.data(), nullptr};
  pid_t pid = 0;
  const int error = ::posix_spawn(&pid, shell.c_str(), &actions, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  int status = -1;
  return error == 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(SystemCallsTest, AChildGetsNoDescriptorButTheStandardOnes) {
  const Descriptor inherited(::open("/dev/null", O_RDONLY));  // NOLINT: a child is meant to get it
  const std::string isThere = "test -e /proc/self/fd/" + std::to_string(inherited.get());
  EXPECT_EQ(statusOf(isThere, [](auto&, auto&) { return 0; }), 0);
  EXPECT_EQ(statusOf(isThere, closeOtherDescriptors), 1);
  EXPECT_EQ(statusOf("test -e /proc/self/fd/0 && test -e /proc/self/fd/2", closeOtherDescriptors), 0);
}

}  // namespace
}  // namespace wicket::posix
