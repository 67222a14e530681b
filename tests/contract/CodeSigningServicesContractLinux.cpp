// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <thread>

#include "adapters/linux/peer/AuditTokenWords.h"
#include "tests/contract/InstalledCompanion.h"
#include "tests/support/Machine.h"

namespace wicket::contract {
namespace {

using linux_adapter::AuditTokenWords;

/// Notices every opening of a file and every reading from it.
class Watch {
 public:
  explicit Watch(const std::string& path) : inotify_(inotify_init1(IN_CLOEXEC)) {
    inotify_add_watch(inotify_.get(), path.c_str(), IN_OPEN | IN_ACCESS);
  }
  [[nodiscard]] bool hasSeenAnything() const {
    pollfd polled{inotify_.get(), POLLIN, 0};
    return poll(&polled, 1, 0) > 0;
  }

 private:
  const Descriptor inotify_;
};

class CodeSigningServicesContractLinux : public testing::Test {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::root);
    WICKET_NEEDS(support::Need::mountNamespace);
  }
  /// Runs the test's body with a companion.
  static void with(const std::function<void(InstalledCompanion&)>& body) { ASSERT_TRUE(withInstalledCompanion(body)); }
  /// What comes out for a program that has the right group but is not what it should be.
  static CodeSigningStatus statusOf(InstalledCompanion& companion, const AuditTokenData& token) {
    const auto code = companion.services().identify(token);
    return code ? code_signing_status::success : code.error();
  }
};

TEST_F(CodeSigningServicesContractLinux, TheCompanionOfAnOrdinaryUserIsLetIn) {
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    EXPECT_TRUE(companion.letsIn(client.token));
    const auto words = AuditTokenWords::of(client.token);
    EXPECT_EQ(words.euid, 65534U);
    EXPECT_EQ(words.ruid, 65534U);
    EXPECT_EQ(words.egid, InstalledCompanion::group);
    EXPECT_EQ(words.rgid, 65534U);
    EXPECT_EQ(words.pid, static_cast<std::uint32_t>(client.process->pid()));
  });
}

TEST_F(CodeSigningServicesContractLinux, ACompanionThatHasDroppedItsGroupSinceIsLetIn) {
  with([](InstalledCompanion& companion) {
    EXPECT_TRUE(companion.letsIn(companion.connect(companion.path(), {"drop-group"}).token));
  });
}

TEST_F(CodeSigningServicesContractLinux, AHardLinkAndASymbolicLinkToTheCompanionAreTheCompanion) {
  with([](InstalledCompanion& companion) {
    std::filesystem::create_hard_link(companion.path(), companion.path("hard"));
    std::filesystem::create_symlink(companion.path(), companion.path("symbolic"));
    EXPECT_TRUE(companion.letsIn(companion.connect(companion.path("hard")).token));
    EXPECT_TRUE(companion.letsIn(companion.connect(companion.path("symbolic")).token));
  });
}

TEST_F(CodeSigningServicesContractLinux, APlainProcessIsNoCodeAndItsFileIsNotOpened) {
  with([](InstalledCompanion& companion) {
    std::filesystem::copy_file(WICKET_STAND_IN, companion.path("plain"));
    const auto client = companion.connect(companion.path("plain"));
    const Watch watch(companion.path("plain"));
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::noSuchCode);
    EXPECT_FALSE(companion.letsIn(client.token));
    EXPECT_FALSE(watch.hasSeenAnything());
  });
}

TEST_F(CodeSigningServicesContractLinux, ACopyWithoutTheSetGroupBitIsNoCode) {
  with([](InstalledCompanion& companion) {
    InstalledCompanion::own(companion.path(), InstalledCompanion::group, 0755);
    EXPECT_FALSE(companion.letsIn(companion.connect().token));
  });
}

TEST_F(CodeSigningServicesContractLinux, AFileThatIsNotAsItWasInstalledIsRefusedUnopened) {
  with([](InstalledCompanion& companion) {
    const std::string path = companion.path();
    const auto client = companion.connectWithGroup(path);
    EXPECT_TRUE(companion.letsIn(client.token));
    for (const mode_t mode : {0755U, 02775U, 02757U, 02645U, 04755U}) {
      InstalledCompanion::own(path, InstalledCompanion::group, mode);
      const Watch watch(path);
      EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid) << std::oct << mode;
      EXPECT_FALSE(watch.hasSeenAnything()) << std::oct << mode;
    }
    InstalledCompanion::own(path, 0);
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid) << "another group";
    InstalledCompanion::own(path);
    ASSERT_EQ(chown(path.c_str(), 65534, InstalledCompanion::group), 0);
    ASSERT_EQ(chmod(path.c_str(), 02755), 0);
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid) << "another owner";
    InstalledCompanion::own(path);
    EXPECT_TRUE(companion.letsIn(client.token));
  });
}

TEST_F(CodeSigningServicesContractLinux, AFileOnAMountWithoutSetGroupBitsIsRefusedUnopened) {
  with([](InstalledCompanion& companion) {
    const std::string folder = std::filesystem::path(companion.path()).parent_path();
    ASSERT_EQ(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_NOSUID, nullptr), 0);
    EXPECT_FALSE(companion.letsIn(companion.connect().token));
    const auto client = companion.connectWithGroup(companion.path());
    const Watch watch(companion.path());
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid);
    EXPECT_FALSE(watch.hasSeenAnything());
  });
}

TEST_F(CodeSigningServicesContractLinux, UnderNoNewPrivilegesTheCompanionIsNoCode) {
  with([](InstalledCompanion& companion) {
    EXPECT_FALSE(companion.letsIn(companion.connect(companion.path(), {}, {"no-new-privileges"}).token));
  });
}

TEST_F(CodeSigningServicesContractLinux, AProcessOfAnotherUserNamespaceIsRefused) {
  WICKET_NEEDS(support::Need::userNamespace);
  with([](InstalledCompanion& companion) {
    EXPECT_FALSE(companion.letsIn(companion.connect(companion.path(), {}, {"user-namespace"}).token));
    const auto client = companion.connectWithGroup(companion.path(), {"user-namespace"});
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid);
  });
}

TEST_F(CodeSigningServicesContractLinux, ATracedProcessIsRefused) {
  WICKET_NEEDS(support::Need::tracing);
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    ASSERT_EQ(ptrace(PTRACE_SEIZE, client.process->pid(), nullptr, nullptr), 0);
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid);
    client.process->end();
  });
}

TEST_F(CodeSigningServicesContractLinux, AProcessThatItsOwnUserMayTraceIsRefused) {
  with([](InstalledCompanion& companion) {
    EXPECT_FALSE(companion.letsIn(companion.connect(companion.path(), {"drop-group", "dumpable"}).token));
  });
}

TEST_F(CodeSigningServicesContractLinux, AProcessThatConnectsAndThenExecutesTheCompanionIsNoCode) {
  with([](InstalledCompanion& companion) {
    std::filesystem::copy_file(WICKET_STAND_IN, companion.path("plain"));
    const auto client =
        companion.connect(companion.path("plain"), {"execute", companion.path(), "say", "I am the companion"});
    ASSERT_TRUE(client.process->awaitSaid("I am the companion"));
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::noSuchCode);
  });
}

TEST_F(CodeSigningServicesContractLinux, ACompanionThatThenExecutesAnotherProgramIsRefused) {
  with([](InstalledCompanion& companion) {
    std::filesystem::copy_file(WICKET_STAND_IN, companion.path("plain"));
    const auto client = companion.connect(companion.path(), {"execute", companion.path("plain")});
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid);
  });
}

TEST_F(CodeSigningServicesContractLinux, AProgramThatOnlyMemoryHoldsIsRefused) {
  with([](InstalledCompanion& companion) {
    // Started by root, so that the copy has the right owner: what is missing is a name and a mount.
    const auto client = companion.connectWithGroup(companion.path(), {"execute-from-memory", companion.path()});
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::guestInvalid);
  });
}

TEST_F(CodeSigningServicesContractLinux, ACompanionWhoseFileHasBeenDeletedOrReplacedIsRefused) {
  with([](InstalledCompanion& companion) {
    const auto deleted = companion.connect();
    std::filesystem::remove(companion.path());
    EXPECT_EQ(statusOf(companion, deleted.token), code_signing_status::guestInvalid);
    companion.install(companion.path());
    EXPECT_EQ(statusOf(companion, deleted.token), code_signing_status::guestInvalid);
    EXPECT_TRUE(companion.letsIn(companion.connect().token));
  });
}

TEST_F(CodeSigningServicesContractLinux, ATokenOfNobodyIsNoCode) {
  with([](InstalledCompanion& companion) {
    EXPECT_EQ(statusOf(companion, AuditTokenData{}), code_signing_status::noSuchCode);
    AuditTokenData invalid;
    invalid.fill(std::byte{0xFF});
    EXPECT_EQ(statusOf(companion, invalid), code_signing_status::noSuchCode);
  });
}

TEST_F(CodeSigningServicesContractLinux, AProcessThatHasEndedIsNoCode) {
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    const auto code = companion.services().identify(client.token);
    ASSERT_TRUE(code);
    EXPECT_EQ((*code)->meets("always"), code_signing_status::success);
    client.process->end();
    EXPECT_EQ(statusOf(companion, client.token), code_signing_status::noSuchCode);
    EXPECT_EQ((*code)->meets("always"), code_signing_status::guestInvalid);
  });
}

TEST_F(CodeSigningServicesContractLinux, ALaterProcessOfTheSameNumberIsNoCode) {
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    auto words = AuditTokenWords::of(client.token);
    ASSERT_NE(words.pidVersion, 0U);
    ++words.pidVersion;
    EXPECT_EQ(statusOf(companion, words.data()), code_signing_status::noSuchCode);
    words.pidVersion = 0;
    EXPECT_EQ(statusOf(companion, words.data()), code_signing_status::noSuchCode);
  });
}

TEST_F(CodeSigningServicesContractLinux, OfTwoThousandProcessesThatEndAtOnceNoneIsTakenForTheNext) {
  with([](InstalledCompanion& companion) {
    const auto genuine = companion.connect();
    std::vector<std::uint32_t> versions;
    for (int i = 0; i < 2000; ++i) {
      std::array<int, 2> pair{};
      ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
      const Descriptor mine(pair[0]);
      const Descriptor theirs(pair[1]);
      const pid_t child = vfork();
      if (child == 0) _exit(0);
      // The companion's token with the number of a process that comes and goes.
      auto words = AuditTokenWords::of(genuine.token);
      words.pid = static_cast<std::uint32_t>(child);
      EXPECT_EQ(statusOf(companion, words.data()), code_signing_status::noSuchCode);
      waitpid(child, nullptr, 0);
      EXPECT_EQ(statusOf(companion, words.data()), code_signing_status::noSuchCode);
    }
    EXPECT_TRUE(companion.letsIn(genuine.token));
  });
}

TEST_F(CodeSigningServicesContractLinux, WithoutTheGroupOrWithAnotherNobodyIsCode) {
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    const auto anchor = codesign::Certificate::retaining(companion.chain().root.x509());
    for (const std::optional<gid_t> group : {std::optional<gid_t>(), std::optional<gid_t>(64998)}) {
      linux_adapter::LinuxCodeSigningServices services(linux_adapter::CompanionGroup([group] { return group; }),
                                                       anchor);
      EXPECT_EQ(services.identify(client.token).error(), code_signing_status::noSuchCode);
    }
  });
}

TEST_F(CodeSigningServicesContractLinux, AnUnsignedProgramHasNeitherFlagsNorEntitlements) {
  with([](InstalledCompanion& companion) {
    InstalledCompanion::copy(companion.path("unsigned"));
    const auto client = companion.connect(companion.path("unsigned"));
    const auto code = companion.services().identify(client.token);
    ASSERT_TRUE(code);
    const auto information = (*code)->signingInformation();
    ASSERT_TRUE(information);
    EXPECT_FALSE(information->flags);
    EXPECT_FALSE(information->entitlementsDict);
    EXPECT_EQ((*code)->meets("always"), code_signing_status::unsignedCode);
    EXPECT_EQ((*code)->meets("always always"), code_signing_status::requirementInvalid) << "that is looked at first";
    EXPECT_FALSE(companion.letsIn(client.token));
  });
}

TEST_F(CodeSigningServicesContractLinux, SignaturesOfOthersOrForOtherProgramsAreRefused) {
  with([](InstalledCompanion& companion) {
    const std::string commonName(SigningCertificate::commonName());
    const auto refuses = [&](const std::string& name) {
      return !companion.letsIn(companion.connect(companion.path(name)).token);
    };
    const auto genuine = InstalledCompanion::genuineRequest();
    InstalledCompanion::install(companion.path("root"), genuine, InstalledCompanion::chainNamed(commonName));
    EXPECT_TRUE(refuses("root")) << "signed by another root";

    auto request = genuine;
    request.identifier = "net.orvane.Wicket2";
    companion.install(companion.path("identifier"), request);
    EXPECT_TRUE(refuses("identifier"));
    request = genuine;
    request.flags = 0;
    companion.install(companion.path("flags"), request);
    EXPECT_TRUE(refuses("flags"));
    request = genuine;
    request.entitlements.reset();
    companion.install(companion.path("entitlements"), request);
    EXPECT_TRUE(refuses("entitlements"));

    const auto other = companion.chain().intermediate.issue(support::leafRecipe(commonName + "x"));
    InstalledCompanion::install(companion.path("name"), genuine,
                                {companion.chain().root, companion.chain().intermediate, other});
    EXPECT_TRUE(refuses("name")) << "another common name";
    companion.install(companion.path("same"), genuine);
    EXPECT_FALSE(refuses("same"));
  });
}

TEST_F(CodeSigningServicesContractLinux, EachEntitlementThatLetsOtherCodeInRefusesWhenItIsSet) {
  with([](InstalledCompanion& companion) {
    using codesign::PropertyValue;
    for (const char* const name :
         {"com.apple.security.get-task-allow", "com.apple.security.cs.disable-library-validation",
          "com.apple.security.cs.allow-dyld-environment-variables"}) {
      const std::vector<std::pair<PropertyValue, bool>> cases{{PropertyValue(true), false}, {PropertyValue(1), false},
                                                              {PropertyValue(false), true}, {PropertyValue(0), true},
                                                              {PropertyValue(-1), true},    {PropertyValue(2), true}};
      for (const auto& [value, isLetIn] : cases) {
        auto request = InstalledCompanion::genuineRequest();
        request.entitlements->emplace(name, value);
        companion.install(companion.path(), request);
        EXPECT_EQ(companion.letsIn(companion.connect().token), isLetIn) << name;
      }
    }
  });
}

/// Changes a byte of a file in place, and nothing else.
void alterByte(const std::string& path, std::streamoff offset) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekg(offset, offset < 0 ? std::ios::end : std::ios::beg);
  const auto position = file.tellg();
  const auto byte = static_cast<char>(file.get() ^ 1);
  file.seekp(position);
  file.put(byte);
}

TEST_F(CodeSigningServicesContractLinux, AnAlteredByteAnywhereIsRefused) {
  with([](InstalledCompanion& companion) {
    const auto length = static_cast<std::streamoff>(std::filesystem::file_size(companion.path()));
    // In the padding behind the program's header, in the signed message, and in the trailer.
    for (const std::streamoff offset : {std::streamoff{9}, length - 200, std::streamoff{-20}}) {
      companion.install(companion.path());
      alterByte(companion.path(), offset);
      InstalledCompanion::own(companion.path());
      EXPECT_FALSE(companion.letsIn(companion.connect().token)) << offset;
    }
  });
}

TEST_F(CodeSigningServicesContractLinux, WhatIsRememberedOfAFileEndsWithItsNextChange) {
  with([](InstalledCompanion& companion) {
    // Until the file is old enough for anything to be remembered.
    std::this_thread::sleep_for(std::chrono::milliseconds(3100));
    EXPECT_TRUE(companion.letsIn(companion.connect().token));
    {
      const auto again = companion.connect();
      const Watch watch(companion.path());
      EXPECT_TRUE(companion.letsIn(again.token));
      EXPECT_TRUE(watch.hasSeenAnything()) << "it is opened, and not read";
    }
    alterByte(companion.path(), 9);
    InstalledCompanion::own(companion.path());
    EXPECT_FALSE(companion.letsIn(companion.connect().token));
    alterByte(companion.path(), 9);
    InstalledCompanion::own(companion.path());
    EXPECT_TRUE(companion.letsIn(companion.connect().token));
  });
}

TEST_F(CodeSigningServicesContractLinux, ATextThatIsNoRequirementDoesNotCompile) {
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    const auto code = companion.services().identify(client.token);
    ASSERT_TRUE(code);
    for (const char* const text : {"", "anchor apple generic and", "identifier \"a", "always always"}) {
      EXPECT_EQ((*code)->meets(text), code_signing_status::requirementInvalid) << text;
    }
  });
}

TEST_F(CodeSigningServicesContractLinux, ARequirementThatIsNotMetIsToldApart) {
  with([](InstalledCompanion& companion) {
    const auto client = companion.connect();
    const auto code = companion.services().identify(client.token);
    ASSERT_TRUE(code);
    const auto check = [&](const std::string& text) { return (*code)->meets(text); };
    EXPECT_EQ(check("never"), code_signing_status::requirementFailed);
    EXPECT_EQ(check("identifier \"net.orvane\""), code_signing_status::requirementFailed);
    EXPECT_EQ(check("anchor apple generic and identifier \"net.orvane.Wicket\""), code_signing_status::success);
  });
}

TEST(CompanionGroupTest, AGroupThatCouldNotBeReadIsLookedUpUntilItIsFoundAndThenNoMore) {
  int lookups = 0;
  linux_adapter::CompanionGroup group([&lookups] { return ++lookups < 3 ? std::nullopt : std::optional<gid_t>(871); });
  EXPECT_EQ(lookups, 1);
  EXPECT_EQ(group.number(), std::nullopt);
  EXPECT_EQ(group.number(), 871U);
  EXPECT_EQ(group.number(), 871U);
  EXPECT_EQ(lookups, 3);
}

}  // namespace
}  // namespace wicket::contract
