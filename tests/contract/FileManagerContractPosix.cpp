// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/posix/PosixFileManager.h"
#include "base/system/Descriptor.h"
#include "tests/contract/FileWorlds.h"
#include "tests/support/Machine.h"
#include "tests/support/TinyFileSystem.h"

namespace wicket::contract {
namespace {

constexpr uid_t nobody = 65534;

// What only real files have: privileges, limits of the system, full disks and concurrent users.
class FileManagerContractPosix : public testing::Test {
 protected:
  static int errorOf(const FileManager::Result& result) { return result ? 0 : result.error().number; }
  static std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
  }

  RealFiles world_;
  FileManager& files_ = world_.files();
};

// Gives up root's privileges for a while.
class AsNobody {
 public:
  AsNobody() { changed_ = ::setegid(nobody) == 0 && ::seteuid(nobody) == 0; }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;
  ~AsNobody() {
    changed_ = ::seteuid(0) == 0 && ::setegid(0) == 0;
    if (!changed_) std::abort();
  }
  [[nodiscard]] bool changed() const { return changed_; }

 private:
  bool changed_ = false;
};

TEST_F(FileManagerContractPosix, WithOwnerWriteTheModeIsSetBeforeTheOwnerAndOtherwiseAfter) {
  WICKET_NEEDS(support::Need::root);
  world_.addFile(world_.at("writable"), "x", 0600);
  world_.addFile(world_.at("read only"), "x", 0600);
  for (const auto* name : {"", "writable", "read only"}) ASSERT_EQ(::chown(world_.at(name).c_str(), nobody, nobody), 0);
  {
    const AsNobody unprivileged;
    ASSERT_TRUE(unprivileged.changed());
    EXPECT_EQ(errorOf(files_.setAttributes(world_.at("writable"), {.permissions = 0755})), EPERM);
    EXPECT_EQ(errorOf(files_.setAttributes(world_.at("read only"), {.permissions = 0500})), EPERM);
  }
  EXPECT_EQ(world_.attributes(world_.at("writable"))->permissions, 0755U);
  EXPECT_EQ(world_.attributes(world_.at("read only"))->permissions, 0600U);
}

/// A process that prepares itself, copies, and is killed by the kernel when it has copied so many bytes.
pid_t startCopyingUpTo(off_t bytes, RealFiles& world, const std::string& source, const std::string& destination,
                       const std::function<bool()>& prepare) {
  const pid_t process = ::fork();
  if (process != 0) return process;
  constexpr rlimit noDump{0, 0};
  const rlimit most{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
  if (::setrlimit(RLIMIT_CORE, &noDump) != 0 || ::setrlimit(RLIMIT_FSIZE, &most) != 0 || !prepare()) ::_exit(1);
  static_cast<void>(copyItem(world, source, destination));
  ::_exit(0);
}

/// For this process and its children: a file system without files that have no name.
bool forgetUnnamedFiles() {
  constexpr std::uint32_t unnamed = O_TMPFILE & ~O_DIRECTORY;
  std::array filter{
      sock_filter(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))),
      sock_filter(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3)),
      sock_filter(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2]))),
      sock_filter(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, unnamed, 0, 1)),
      sock_filter(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP)),
      sock_filter(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)),
  };
  const sock_fprog program{filter.size(), filter.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

class KilledCopyTest : public FileManagerContractPosix {
 protected:
  /// What stands in the folder when a copy into it was killed half way.
  std::vector<std::string> leftBehind(const std::function<bool()>& prepare) {
    const std::string source = world_.at("source");
    world_.addFile(source, "");
    constexpr off_t size = off_t{8} * 1024 * 1024;
    EXPECT_EQ(::truncate(source.c_str(), size), 0);
    world_.addDirectory(folder());
    const pid_t process = startCopyingUpTo(size / 2, world_, source, folder() + "/copy", prepare);
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
    return world_.entries(folder());
  }
  [[nodiscard]] std::string folder() { return world_.at("folder"); }
};

TEST_F(KilledCopyTest, LeavesNothing) {
  EXPECT_THAT(leftBehind([] { return true; }), testing::IsEmpty());
}

TEST_F(KilledCopyTest, LeavesNoHalfFileThatANameInTheFolderReachesWhereFilesMustHaveNames) {
  const auto names = leftBehind(forgetUnnamedFiles);
  ASSERT_EQ(names.size(), 1U);
  EXPECT_EQ(world_.kind(folder() + "/" + names.front()), ItemKind::directory);
  EXPECT_EQ(world_.attributes(folder() + "/" + names.front())->permissions, 0700U);
}

TEST_F(FileManagerContractPosix, WhereFilesMustHaveNamesACopyIsCompleteOrNothing) {
  world_.addFile(world_.at("source"), "content");
  world_.addDirectory(world_.at("folder"));
  const pid_t process = ::fork();
  if (process == 0) {
    const bool isReady = forgetUnnamedFiles();
    const bool isCopied = copyItem(world_, world_.at("source"), world_.at("folder") + "/copy").has_value();
    const bool isTaken = errorOf(copyItem(world_, world_.at("source"), world_.at("folder") + "/copy")) == EEXIST;
    ::_exit(isReady && isCopied && isTaken ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(process, &status, 0), process);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(world_.entries(world_.at("folder")), testing::ElementsAre("copy"));
  EXPECT_EQ(world_.content(world_.at("folder") + "/copy"), "content");
}

TEST_F(FileManagerContractPosix, AttributesIncludeOwnerAndGroup) {
  WICKET_NEEDS(support::Need::root);
  world_.addFile(world_.at("file"), "x", 0640);
  ASSERT_EQ(::chown(world_.at("file").c_str(), nobody, nobody), 0);
  EXPECT_EQ(errorOf(files_.setAttributes(world_.at("file"), {.permissions = 0500})), 0);
  EXPECT_EQ(world_.attributes(world_.at("file")), (FileAttributes{.permissions = 0500, .owner = 0, .group = 0}));
}

TEST_F(FileManagerContractPosix, ACreatedDirectoryStaysWhenItsOwnerCannotBeSet) {
  WICKET_NEEDS(support::Need::root);
  ASSERT_EQ(::chown(world_.at("").c_str(), nobody, nobody), 0);
  {
    const AsNobody unprivileged;
    ASSERT_TRUE(unprivileged.changed());
    EXPECT_EQ(errorOf(files_.createDirectory(world_.at("folder"), {.permissions = 0755})), 0);
  }
  EXPECT_EQ(world_.attributes(world_.at("folder")),
            (FileAttributes{.permissions = 0755, .owner = nobody, .group = nobody}));
}

TEST_F(FileManagerContractPosix, ACopyBelongsToTheCallerAndNotToTheSourcesOwner) {
  WICKET_NEEDS(support::Need::root);
  world_.addFile(world_.at("source"), "x", 0700);
  ASSERT_EQ(::chown(world_.at("source").c_str(), nobody, nobody), 0);
  EXPECT_EQ(errorOf(copyItem(world_, world_.at("source"), world_.at("copy"))), 0);
  EXPECT_EQ(world_.attributes(world_.at("copy")), (FileAttributes{.permissions = 0700, .owner = 0, .group = 0}));
}

TEST_F(FileManagerContractPosix, AFullDiskFailsTheCopyAndLeavesNothingBehind) {
  WICKET_NEEDS(support::Need::mountNamespace);
  constexpr std::size_t size = std::size_t{1} << 20;
  world_.addFile(world_.at("source"), std::string(3 * size, 's'));
  world_.addFile(world_.at("small"), std::string(size / 2, 's'));
  const bool ran = support::withTinyFileSystem(size, [&](const std::string& tiny) {
    EXPECT_EQ(errorOf(copyItem(world_, world_.at("source"), tiny + "/copy")), ENOSPC);
    EXPECT_EQ(world_.entries(tiny), std::vector<std::string>{});
    // All of the space is free again.
    EXPECT_EQ(errorOf(copyItem(world_, world_.at("small"), tiny + "/copy")), 0);
    EXPECT_EQ(world_.content(tiny + "/copy")->size(), size / 2);
  });
  EXPECT_TRUE(ran);
}

TEST_F(FileManagerContractPosix, AMountedFileSystemBelowTheDirectoryIsNotEmptied) {
  WICKET_NEEDS(support::Need::mountNamespace);
  const bool ran = support::withTinyFileSystem(1 << 20, [&](const std::string& tiny) {
    const std::string mounted = tiny + "/folder/deeper/mounted";
    std::filesystem::create_directories(mounted);
    ASSERT_EQ(::mount("tmpfs", mounted.c_str(), "tmpfs", 0, "size=65536"), 0);
    world_.addFile(mounted + "/kept", "x");
    EXPECT_EQ(errorOf(files_.removeItem(tiny + "/folder")), EBUSY);
    EXPECT_EQ(world_.content(mounted + "/kept"), "x");
    EXPECT_EQ(errorOf(files_.removeItem(mounted)), EBUSY);
    EXPECT_EQ(world_.content(mounted + "/kept"), "x");
  });
  EXPECT_TRUE(ran);
}

TEST_F(FileManagerContractPosix, WhenTwoCopyToTheSameNameExactlyOneSucceeds) {
  world_.addFile(world_.at("first"), std::string(100'000, '1'));
  world_.addFile(world_.at("second"), std::string(100'000, '2'));
  for (int round = 0; round < 20; ++round) {
    const std::string copy = world_.at("copy" + std::to_string(round));
    std::atomic<int> succeeded = 0;
    const auto copyFrom = [&](const std::string& name) {
      const auto result = copyItem(world_, world_.at(name), copy);
      if (result) ++succeeded;
      EXPECT_TRUE(result || result.error().number == EEXIST);
    };
    std::thread other(copyFrom, "second");
    copyFrom("first");
    other.join();
    EXPECT_EQ(succeeded, 1);
    const std::string content = world_.content(copy).value();
    EXPECT_EQ(content, std::string(100'000, content.front()));
  }
  EXPECT_EQ(world_.entries(world_.at("")).size(), 22U);
}

TEST_F(FileManagerContractPosix, ALargeFileIsCopiedWhole) {
  std::string content;
  for (int i = 0; content.size() < 5'000'000; ++i) content += std::to_string(i) + "\n";
  world_.addFile(world_.at("source"), content);
  EXPECT_EQ(errorOf(copyItem(world_, world_.at("source"), world_.at("copy"))), 0);
  EXPECT_EQ(world_.content(world_.at("copy")), content);
}

TEST_F(FileManagerContractPosix, RelativePathsStartAtTheCurrentDirectory) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(world_.at(""));
  world_.addFile("source", "x");
  EXPECT_EQ(errorOf(copyItem(world_, "source", "copy")), 0);
  EXPECT_EQ(errorOf(copyItem(world_, "source", "./copy2")), 0);
  EXPECT_TRUE(files_.fileExists("copy"));
  EXPECT_EQ(errorOf(files_.removeItem("source")), 0);
  std::filesystem::current_path(before);
  EXPECT_EQ(world_.entries(world_.at("")), (std::vector<std::string>{"copy", "copy2"}));
}

TEST_F(FileManagerContractPosix, ASocketOrADeviceIsNeitherReadNorCopied) {
  const std::string path = world_.at("socket");
  const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(&address.sun_path[0], sizeof address.sun_path - 1);
  void* pointer = &address;
  ASSERT_EQ(::bind(socket.get(), static_cast<sockaddr*>(pointer), sizeof address), 0);
  for (const auto& item : {path, std::string("/dev/zero")}) {
    EXPECT_EQ(files_.readFile(item).error().number, EINVAL);
    EXPECT_EQ(errorOf(copyItem(world_, item, world_.at("copy"))), EINVAL);
  }
  EXPECT_FALSE(files_.fileExists(world_.at("copy")));
}

TEST_F(FileManagerContractPosix, AFileWhoseSizeTheSystemDoesNotKnowIsReadWhole) {
  const auto content = files_.readFile("/proc/self/limits");
  ASSERT_TRUE(content);
  EXPECT_TRUE(content->starts_with("Limit"));
  EXPECT_TRUE(content->ends_with("\n"));
}

TEST_F(FileManagerContractPosix, AFileTooLargeForMemoryIsAnError) {
  world_.addFile(world_.at("sparse"), "#!/bin/sh\n");
  ASSERT_EQ(::truncate(world_.at("sparse").c_str(), off_t{1} << 32), 0);
  EXPECT_EQ(files_.readFile(world_.at("sparse")).error().number, EFBIG);
}

TEST_F(FileManagerContractPosix, ADirectoryWithManyEntriesIsRemoved) {
  world_.addDirectory(world_.at("folder"));
  for (int i = 0; i < 2'000; ++i) {
    world_.addFile(world_.at("folder/file" + std::to_string(i)), "");
    if (i % 20 != 0) continue;
    world_.addDirectory(world_.at("folder/directory" + std::to_string(i)));
    world_.addFile(world_.at("folder/directory" + std::to_string(i) + "/file"), "");
  }
  EXPECT_EQ(errorOf(files_.removeItem(world_.at("folder"))), 0);
  EXPECT_FALSE(files_.fileExists(world_.at("folder")));
}

TEST_F(FileManagerContractPosix, ATreeOfTenThousandLevelsIsRemovedWithoutExhaustingAnything) {
  const auto buildAndRemove = [&](const std::string& folder) {
    Descriptor level(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int depth = 0; depth < 10'000; ++depth) {
      ASSERT_EQ(::mkdirat(level.get(), "d", 0755), 0);
      level = Descriptor(::openat(level.get(), "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      ASSERT_TRUE(level.isOpen());
    }
    level.reset();
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = openDescriptors() + 5;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    const int error = errorOf(files_.removeItem(folder + "/d"));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(world_.entries(folder), std::vector<std::string>{});
  };
  // In memory where possible: a busy disk takes half a minute for so many directories.
  if (!support::withTinyFileSystem(1 << 20, buildAndRemove)) buildAndRemove(world_.at(""));
}

TEST_F(FileManagerContractPosix, TheRemovalStopsAtTheFirstErrorAndKeepsTheRest) {
  WICKET_NEEDS(support::Need::root);
  std::filesystem::create_directories(world_.at("folder/protected"));
  world_.addFile(world_.at("folder/protected/kept"), "x");
  ASSERT_EQ(::chown(world_.at("folder").c_str(), nobody, nobody), 0);
  ASSERT_EQ(::chmod(world_.at("").c_str(), 0755), 0);
  {
    const AsNobody unprivileged;
    ASSERT_TRUE(unprivileged.changed());
    EXPECT_EQ(errorOf(files_.removeItem(world_.at("folder"))), EACCES);
  }
  EXPECT_EQ(world_.content(world_.at("folder/protected/kept")), "x");
}

TEST_F(FileManagerContractPosix, FailedOperationsKeepNoDescriptor) {
  world_.addDirectory(world_.at("folder"));
  world_.addFile(world_.at("file"), "x");
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 10; ++i) {
    EXPECT_NE(errorOf(copyItem(world_, world_.at("file"), world_.at("folder"))), 0);
    EXPECT_NE(errorOf(copyItem(world_, world_.at("folder"), world_.at("copy"))), 0);
    EXPECT_NE(errorOf(copyItem(world_, world_.at("file"), world_.at("missing/copy"))), 0);
    EXPECT_FALSE(files_.readFile(world_.at("folder")));
  }
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace wicket::contract
