// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "companion/HelperConnection.h"
#include "companion/hardening/GroupPrivilege.h"
#include "tests/support/Machine.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::companion {
namespace {

constexpr uid_t user = 65534;
constexpr gid_t ownGroup = 65534;
constexpr gid_t givenGroup = 4242;
constexpr auto unchanged = static_cast<gid_t>(-1);

struct Groups {
  gid_t real = unchanged;
  gid_t effective = unchanged;
  gid_t saved = unchanged;

  static Groups ofThisProcess() {
    Groups groups;
    static_cast<void>(!::getresgid(&groups.real, &groups.effective, &groups.saved));
    return groups;
  }
  bool operator==(const Groups&) const = default;
};

class GroupPrivilegeTest : public testing::Test {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::root);  // to become what a set-group program is
  }

  /// In a child process that looks as if an ordinary user had started a program of the group @p group. The
  /// child's exit status: 0 when @p steps said true.
  static int asSetGroupProgram(const std::function<bool()>& steps, gid_t group = givenGroup) {
    const pid_t child = ::fork();
    if (child == 0) {
      const bool ready = ::setresgid(ownGroup, group, group) == 0 && ::setresuid(user, user, user) == 0 && prepared();
      ::_exit(ready ? (steps() ? 0 : 1) : 2);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  /// Readable, as a kernel with fs.suid_dumpable=1 leaves it.
  static bool prepared() { return ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0) == 0; }
};

/// From the permitted capabilities into the effective ones.
bool takeCapabilityToSetGroups() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  constexpr __u32 setGroups = 1U << CAP_SETGID;
  const std::array<__user_cap_data_struct, 2> data{{{setGroups, setGroups, 0}, {0, 0, 0}}};
  return ::syscall(SYS_capset, &header, data.data()) == 0;
}

bool isUnreadable() { return ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 0; }

TEST_F(GroupPrivilegeTest, IsPutAsideAtTheStartAndKept) {
  EXPECT_EQ(asSetGroupProgram([] {
              const GroupPrivilege privilege;
              return privilege.wasGiven() && privilege.group() == givenGroup && isUnreadable() &&
                     Groups::ofThisProcess() == Groups{ownGroup, ownGroup, givenGroup};
            }),
            0);
}

TEST_F(GroupPrivilegeTest, IsInEffectOnlyAsLongAsItIsAskedFor) {
  EXPECT_EQ(asSetGroupProgram([] {
              GroupPrivilege privilege;
              bool during = false;
              {
                const GroupPrivilege::InEffect inEffect(privilege);
                during = ::getegid() == givenGroup && isUnreadable();
              }
              return during && isUnreadable() && Groups::ofThisProcess() == Groups{ownGroup, ownGroup, givenGroup};
            }),
            0);
}

TEST_F(GroupPrivilegeTest, CannotComeBackOnceItIsGivenUp) {
  EXPECT_EQ(asSetGroupProgram([] {
              GroupPrivilege privilege;
              privilege.giveUp();
              const bool isGone = Groups::ofThisProcess() == Groups{ownGroup, ownGroup, ownGroup};
              const bool staysAway = ::setegid(givenGroup) != 0 && ::setresgid(unchanged, givenGroup, unchanged) != 0;
              return isGone && staysAway && isUnreadable();
            }),
            0);
}

TEST_F(GroupPrivilegeTest, HasNoEffectAfterItWasGivenUp) {
  EXPECT_EQ(asSetGroupProgram([] {
              GroupPrivilege privilege;
              privilege.giveUp();
              const GroupPrivilege::InEffect inEffect(privilege);
              return Groups::ofThisProcess() == Groups{ownGroup, ownGroup, ownGroup};
            }),
            0);
}

TEST_F(GroupPrivilegeTest, GoesWithItsObject) {
  EXPECT_EQ(asSetGroupProgram([] {
              {
                const GroupPrivilege privilege;
              }
              return Groups::ofThisProcess() == Groups{ownGroup, ownGroup, ownGroup};
            }),
            0);
}

TEST_F(GroupPrivilegeTest, OfAProgramWithoutASetGroupBitChangesNothing) {
  EXPECT_EQ(asSetGroupProgram(
                [] {
                  GroupPrivilege privilege;
                  bool during = false;
                  {
                    const GroupPrivilege::InEffect inEffect(privilege);
                    during = ::getegid() == ownGroup;
                  }
                  return during && !privilege.wasGiven() && isUnreadable();
                },
                ownGroup),
            0);
}

TEST_F(GroupPrivilegeTest, AProcessThatCouldTakeTheGroupBackEndsAtOnce) {
  if (support::hasThreadSanitizer) {
    GTEST_SKIP() << "the sanitizer's own thread has not the capability, and the C library ends the process for it";
  }
  // An ordinary user's process that kept CAP_SETGID, which the kernel takes from every real set-group program.
  const pid_t child = ::fork();
  if (child == 0) {
    const bool ready = ::prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) == 0 &&
                       ::setresgid(ownGroup, givenGroup, givenGroup) == 0 && ::setresuid(user, user, user) == 0 &&
                       takeCapabilityToSetGroups();
    GroupPrivilege privilege;
    if (ready) privilege.giveUp();
    ::_exit(1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 125);
}

/// A socket that notes the effective group of the first that connects, as the kernel tells it.
class GroupNotingSocket {
 public:
  explicit GroupNotingSocket(std::string path)
      : path_(std::move(path)), listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    static_cast<void>(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                      ::listen(listener_, 1) == 0 && ::chown(path_.c_str(), 0, givenGroup) == 0 &&
                      ::chmod(path_.c_str(), 0660) == 0);
  }
  GroupNotingSocket(const GroupNotingSocket&) = delete;
  GroupNotingSocket& operator=(const GroupNotingSocket&) = delete;
  ~GroupNotingSocket() { ::close(listener_); }

  [[nodiscard]] gid_t peerGroup() const {
    const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK);
    ucred credentials{};
    socklen_t size = sizeof credentials;
    const bool known = ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0;
    ::close(connection);
    return known ? credentials.gid : unchanged;
  }

 private:
  std::string path_;
  int listener_;
};

class GroupPrivilegeOfConnectionTest : public GroupPrivilegeTest {
 protected:
  void SetUp() override {
    GroupPrivilegeTest::SetUp();
    if (IsSkipped()) return;
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0711), 0);
  }
  support::TemporaryFolder folder_;
};

TEST_F(GroupPrivilegeOfConnectionTest, AConnectionIsMadeWithTheGroupWhichIsGoneAfterwards) {
  const std::string path = folder_.path("socket");
  const GroupNotingSocket socket(path);
  EXPECT_EQ(asSetGroupProgram([&] {
              GroupPrivilege privilege;
              ConnectOptions options;
              options.socketPath = path;
              options.privilege = &privilege;
              const auto connection = HelperConnection::connect(options);
              return connection.has_value() && Groups::ofThisProcess() == Groups{ownGroup, ownGroup, ownGroup} &&
                     isUnreadable();
            }),
            0);
  EXPECT_EQ(socket.peerGroup(), givenGroup);
}

TEST_F(GroupPrivilegeOfConnectionTest, WithoutTheGroupTheSocketLetsNobodyIn) {
  const std::string path = folder_.path("socket");
  const GroupNotingSocket socket(path);
  EXPECT_EQ(asSetGroupProgram([&] {
              const GroupPrivilege privilege;
              ConnectOptions options;
              options.socketPath = path;
              const auto connection = HelperConnection::connect(options);
              return !connection && connection.error().failure == ConnectionFailure::notPermitted;
            }),
            0);
}

TEST_F(GroupPrivilegeOfConnectionTest, TheGroupIsGivenUpWhenThereIsNoConnection) {
  EXPECT_EQ(asSetGroupProgram([&] {
              GroupPrivilege privilege;
              ConnectOptions options;
              options.socketPath = folder_.path("missing");
              options.privilege = &privilege;
              return !HelperConnection::connect(options) &&
                     Groups::ofThisProcess() == Groups{ownGroup, ownGroup, ownGroup};
            }),
            0);
}

}  // namespace
}  // namespace wicket::companion
