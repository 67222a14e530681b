// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/linux/peer/CallingClient.h"
#include "adapters/linux/sources/ClientSourceFiles.h"
#include "base/system/Descriptor.h"
#include "base/system/linux/ProcessFiles.h"
#include "tests/contract/FileWorlds.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/Machine.h"
#include "tests/support/ProcessInspection.h"

namespace wicket::contract {
namespace {

using linux_adapter::CallingClient;
using linux_adapter::ClientSourceFiles;
using linux_adapter::ProcessFiles;
using support::ProcessInspection;

constexpr uid_t ordinaryUser = 65534;
constexpr gid_t itsGroup = 4001;
constexpr gid_t companionGroup = 4002;
constexpr gid_t furtherGroup = 4003;

/// What the system's own wrappers would do in all threads of the sanitizers, too.
bool setUserAndGroups() {
  const gid_t further = furtherGroup;
  return ::setgroups(1, &further) == 0 && ::setresgid(itsGroup, companionGroup, companionGroup) == 0 &&
         ::setresuid(ordinaryUser, ordinaryUser, ordinaryUser) == 0;
}

/// A client that does nothing but be somewhere.
class PlacedClient {
 public:
  explicit PlacedClient(const std::function<bool()>& goThere) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const Descriptor ready(ends[0]);
    Descriptor notice(ends[1]);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (!goThere() || ::write(notice.get(), "", 1) != 1) ::_exit(1);
      for (;;) ::pause();
    }
    notice.reset();
    char byte = 0;
    isThere_ = ::read(ready.get(), &byte, 1) == 1;
  }
  PlacedClient(const PlacedClient&) = delete;
  PlacedClient& operator=(const PlacedClient&) = delete;
  ~PlacedClient() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  [[nodiscard]] bool isThere() const { return isThere_; }
  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
  bool isThere_ = false;
};

class SourceFilesContractLinux : public testing::Test {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::root);
    ASSERT_EQ(::chmod(world_.at("").c_str(), 0755), 0);
  }

  std::string place(const std::string& name, uid_t owner, gid_t group, unsigned permissions) {
    const std::string path = world_.at(name);
    world_.addFile(path, name, permissions);
    if (::chown(path.c_str(), owner, group) != 0) throw std::runtime_error("chown");
    return path;
  }
  /// The content, or the number of the error.
  static std::string read(const PlacedClient& client, uid_t uid, const std::string& path) {
    EXPECT_TRUE(client.isThere());
    const CallingClient::Scope onBehalfOf({client.pid(), uid});
    ClientSourceFiles files(WICKET_HELPER);
    const auto file = files.open(path);
    if (!file) return std::to_string(file.error().number);
    std::vector<std::byte> buffer((*file)->size() + 1);
    const auto count = (*file)->read(buffer);
    return count ? std::string(reinterpret_cast<const char*>(buffer.data()), *count) : "unread";
  }
  /// A file that takes hours to read.
  std::string endlessFile() {
    const std::string path = world_.at("endless");
    world_.addFile(path, "");
    if (::truncate(path.c_str(), off_t{1} << 42) != 0) throw std::runtime_error("truncate");
    return path;
  }

  RealFiles world_;
};

const std::string denied = std::to_string(EACCES);

TEST_F(SourceFilesContractLinux, OutsideAClientsCallNothingIsOpened) {
  ClientSourceFiles files(WICKET_HELPER);
  EXPECT_EQ(files.open(place("open", 0, 0, 0644)).error().number, EPERM);
}

TEST_F(SourceFilesContractLinux, AFileIsReadWithTheClientsRightsAndNotWithThoseOfRoot) {
  const PlacedClient client(setUserAndGroups);
  EXPECT_EQ(read(client, ordinaryUser, place("open", 0, 0, 0644)), "open");
  EXPECT_EQ(read(client, ordinaryUser, place("own", ordinaryUser, 0, 0600)), "own");
  EXPECT_EQ(read(client, ordinaryUser, place("of root", 0, 0, 0600)), denied);
  EXPECT_EQ(read(client, ordinaryUser, place("of another", 1234, 0, 0600)), denied);
  world_.addLink(world_.at("link"), "/etc/shadow");
  EXPECT_EQ(read(client, ordinaryUser, world_.at("link")), denied);
}

TEST_F(SourceFilesContractLinux, ItsRealGroupAndItsSupplementaryOnesCountAndTheCompanionsDoesNot) {
  const PlacedClient client(setUserAndGroups);
  EXPECT_EQ(read(client, ordinaryUser, place("real", 0, itsGroup, 0640)), "real");
  EXPECT_EQ(read(client, ordinaryUser, place("further", 0, furtherGroup, 0640)), "further");
  EXPECT_EQ(read(client, ordinaryUser, place("companion's", 0, companionGroup, 0640)), denied);
  EXPECT_EQ(read(client, ordinaryUser, place("of root's group", 0, 0, 0640)), denied);
}

TEST_F(SourceFilesContractLinux, RootReadsEverythingUnlessItWasDeniedThat) {
  const std::string path = place("of a user", ordinaryUser, 0, 0600);
  const PlacedClient root([] { return true; });
  EXPECT_EQ(read(root, 0, path), "of a user");
  const PlacedClient weakRoot([] {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none{};
    return ::syscall(SYS_capset, &header, none.data()) == 0;
  });
  EXPECT_EQ(read(weakRoot, 0, path), denied);
}

TEST_F(SourceFilesContractLinux, AMountThatOnlyTheClientSeesIsWhatIsRead) {
  WICKET_NEEDS(support::Need::mountNamespace);
  const std::string folder = world_.at("folder");
  world_.addDirectory(folder);
  world_.addFile(folder + "/file", "seen by all");
  const PlacedClient client([&] {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    if (::mount("tmpfs", folder.c_str(), "tmpfs", 0, "mode=755") != 0) return false;
    world_.addFile(folder + "/file", "seen by the client");
    return setUserAndGroups();
  });
  EXPECT_EQ(read(client, ordinaryUser, folder + "/file"), "seen by the client");
  EXPECT_EQ(world_.content(folder + "/file"), "seen by all");
}

TEST_F(SourceFilesContractLinux, PathsAndLinksStartAtTheClientsRootDirectory) {
  const std::string folder = world_.at("folder");
  world_.addDirectory(folder);
  world_.addFile(folder + "/file", "below the root");
  world_.addLink(folder + "/link", "/file");
  world_.addLink(folder + "/up", "../../../../../etc/passwd");
  const PlacedClient client([&] { return ::chroot(folder.c_str()) == 0 && setUserAndGroups(); });
  EXPECT_EQ(read(client, ordinaryUser, "/file"), "below the root");
  EXPECT_EQ(read(client, ordinaryUser, "/link"), "below the root");
  EXPECT_EQ(read(client, ordinaryUser, "/up"), std::to_string(ENOENT));
}

TEST_F(SourceFilesContractLinux, WhoReadsHasTheClientsIdentityAndNoCapability) {
  const PlacedClient client(setUserAndGroups);
  const std::string path = endlessFile();
  int error = 0;
  std::thread reading([&] {
    const CallingClient::Scope onBehalfOf({client.pid(), ordinaryUser});
    ClientSourceFiles files(WICKET_HELPER, std::chrono::hours(1));
    const auto file = files.open(path);
    error = file ? 0 : file.error().number;
  });
  std::string status;
  EXPECT_TRUE(support::comesTrue([&] {
    for (const pid_t child : ProcessInspection::childrenOf(::getpid())) {
      if (child == client.pid()) continue;
      status = ProcessFiles(child).read("status").value_or("");
      if (ProcessFiles::statusNumber(status, "NoNewPrivs") != 1U) continue;
      ::kill(child, SIGKILL);
      return true;
    }
    return false;
  }));
  reading.join();
  EXPECT_EQ(error, EIO) << "the reader was killed";
  for (int index = 0; index < 4; ++index) {
    EXPECT_EQ(ProcessFiles::statusNumber(status, "Uid", index), ordinaryUser);
    EXPECT_EQ(ProcessFiles::statusNumber(status, "Gid", index), itsGroup);
  }
  EXPECT_EQ(ProcessFiles::statusNumbers(status, "Groups"), std::vector<gid_t>{furtherGroup});
  for (const auto* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"}) {
    EXPECT_EQ(ProcessFiles::statusMask(status, set), 0U) << set;
  }
}

TEST_F(SourceFilesContractLinux, AFileThatTakesTooLongIsGivenUpAndNobodyReadsOn) {
  const PlacedClient client(setUserAndGroups);
  const CallingClient::Scope onBehalfOf({client.pid(), ordinaryUser});
  ClientSourceFiles files(WICKET_HELPER, std::chrono::milliseconds(100));
  const auto file = files.open(endlessFile());
  ASSERT_FALSE(file);
  EXPECT_EQ(file.error().number, ETIMEDOUT);
  EXPECT_EQ(ProcessInspection::childrenOf(::getpid()), std::vector<pid_t>{client.pid()});
}

TEST_F(SourceFilesContractLinux, NothingOfAReadingStaysBehind) {
  const PlacedClient client(setUserAndGroups);
  const std::string open = place("open", 0, 0, 0644);
  const std::string closed = place("closed", 0, 0, 0600);
  EXPECT_EQ(read(client, ordinaryUser, open), "open");
  const std::size_t before = ProcessInspection::descriptorCount(::getpid());
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(read(client, ordinaryUser, open), "open");
    EXPECT_EQ(read(client, ordinaryUser, closed), denied);
  }
  EXPECT_EQ(ProcessInspection::descriptorCount(::getpid()), before);
  EXPECT_EQ(ProcessInspection::childrenOf(::getpid()), std::vector<pid_t>{client.pid()});
}

TEST_F(SourceFilesContractLinux, AProcessOfAnotherUserIsNotTakenForTheClientWhoseNumberItHas) {
  const PlacedClient another(setUserAndGroups);
  EXPECT_EQ(read(another, 1234, place("open", 0, 0, 0644)), std::to_string(ESRCH));
}

TEST_F(SourceFilesContractLinux, AClientThatHasGoneReadsNothing) {
  pid_t gone = 0;
  {
    const PlacedClient client(setUserAndGroups);
    gone = client.pid();
  }
  const CallingClient::Scope onBehalfOf({gone, ordinaryUser});
  ClientSourceFiles files(WICKET_HELPER);
  EXPECT_EQ(files.open(place("open", 0, 0, 0644)).error().number, ESRCH);
}

}  // namespace
}  // namespace wicket::contract
