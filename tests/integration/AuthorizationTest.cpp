// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/PolkitAgent.h"
#include "tests/support/PolkitSandbox.h"
#include "tests/support/TokenOfProcess.h"
#include "tests/support/UserProcess.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using Behaviour = support::PolkitAgent::Behaviour;

constexpr char scriptPaths[] = "/var/tmp/source.sh,/var/orvane/job.sh";
constexpr char malformed[] = "Invalid Authorization External Form Data";
constexpr char denied[] = "Optional(The authorization was denied.)";
constexpr char canceled[] = "Optional(The authorization was canceled by the user.)";
constexpr char noInteraction[] = "Optional(The authorization was denied since no user interaction was possible.)";
constexpr char unobtainable[] = "Optional(Unable to obtain authorization for this operation.)";

class AuthorizationTest : public IntegrationTest {
 protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    writeFile("/var/tmp/source.sh", "#!/bin/bash\n");
  }
  void TearDown() override {
    agent_.reset();
    // Born later and by a plain fork, it holds what keeps the sandbox running.
    user_.reset();
    polkit_.reset();
    IntegrationTest::TearDown();
  }

  /// A process of an ordinary user, for whom polkit has to decide.
  void startPolkit(const std::string& answer) {
    polkit_ = support::PolkitSandbox::start(policyFile());
    ASSERT_NE(polkit_, nullptr);
    polkit_->setAnswer(answer);
    user_.emplace();
  }
  void startAgent(Behaviour behaviour) {
    agent_ = support::PolkitAgent::start(user_->pid(), behaviour);
    ASSERT_NE(agent_, nullptr);
  }
  support::UserProcess& user() { return *user_; }
  support::PolkitAgent& agent() { return *agent_; }
  [[nodiscard]] std::vector<std::byte> userToken() const { return support::tokenOfProcess(user_->pid()); }

  static void expectGranted(const std::vector<std::byte>& authorization) {
    const auto client = connect();
    EXPECT_EQ(client->awaitCode(client->startInstall(scriptPaths, authorization)), 0);
    EXPECT_EQ(client->log(), "");
    EXPECT_TRUE(std::filesystem::exists("/var/orvane/job.sh"));
  }
  /// Refused with this message, and nothing on disk was touched.
  static void expectRefused(const std::vector<std::byte>& authorization, const std::string& message) {
    const auto earlier = addScript("job.sh", "earlier");
    const auto client = connect();
    EXPECT_EQ(client->awaitCode(client->startInstall(scriptPaths, authorization)), 156);
    EXPECT_TRUE(client->awaitLog(line::notAuthorized(message)));
    EXPECT_EQ(client->log(), line::notAuthorized(message));
    EXPECT_EQ(readFile(earlier), "earlier");
  }

 private:
  std::unique_ptr<support::PolkitSandbox> polkit_;
  std::optional<support::UserProcess> user_;
  std::unique_ptr<support::PolkitAgent> agent_;
};

TEST_F(AuthorizationTest, DataOfTheWrongLengthIsInvalid) {
  for (const std::size_t length : {0U, 1U, 31U, 33U, 1U << 20U}) {
    SCOPED_TRACE(length);
    expectRefused(std::vector<std::byte>(length, std::byte{0x57}), malformed);
  }
}

TEST_F(AuthorizationTest, ARandomFormNamesNoLivingAuthorization) {
  std::mt19937 generator(20261121);
  for (int i = 0; i < 20; ++i) {
    std::vector<std::byte> form(32);
    for (std::byte& byte : form) byte = static_cast<std::byte>(generator());
    expectRefused(form, denied);
  }
}

TEST_F(AuthorizationTest, AFormOfAProcessThatIsGoneIsDenied) {
  startPolkit("yes");
  const auto token = userToken();
  user().end();
  expectRefused(token, denied);
}

TEST_F(AuthorizationTest, AFormWithAnotherStartTimeIsDenied) {
  startPolkit("yes");
  auto token = userToken();
  token[16] ^= std::byte{1};
  expectRefused(token, denied);
}

TEST_F(AuthorizationTest, WithoutPolkitNothingCanBeObtained) {
  expectRefused(support::tokenOfProcess(::getpid()), unobtainable);
}

TEST_F(AuthorizationTest, AHundredThousandRefusedInstallationsLeaveTheHelperAsItWas) {
  const auto token = support::tokenOfProcess(::getpid());
  // A connection lives no longer than 45 seconds, however slow the machine is.
  const auto refuse = [&](int count) {
    for (int done = 0; done < count; done += 500) {
      const auto client = connect();
      client->setLogSink([](std::string_view) {});
      std::vector<BusClient::Serial> calls;
      for (int i = 0; i < 500; ++i) calls.push_back(client->startInstall(scriptPaths, token));
      for (const auto call : calls) ASSERT_EQ(client->awaitCode(call), 156);
    }
  };
  refuse(500);
  const pid_t helper = helperPid();
  const std::size_t descriptors = ProcessInspection::descriptorCount(helper);
  const std::size_t memory = ProcessInspection::residentBytes(helper);
  for (int round = 0; round < 20; ++round) refuse(isSanitized ? 500 : 5000);
  EXPECT_EQ(helperPid(), helper);
  EXPECT_TRUE(eventually([&] { return ProcessInspection::descriptorCount(helper) <= descriptors + 2; }));
  EXPECT_LE(ProcessInspection::residentBytes(helper), memory + ((isSanitized ? 64U : 30U) << 20U));
}

TEST_F(AuthorizationTest, AThousandInstallationsThatAreDeniedLeaveTheHelperAsItWas) {
  startPolkit("no");
  const auto token = userToken();
  const auto refuse = [&](int count) {
    for (int done = 0; done < count; done += 5) {
      // A connection lives no longer than 45 seconds, however slow the machine is, and its seat stays so long.
      const auto client = connect();
      for (int i = 0; i < 5; ++i) ASSERT_EQ(client->awaitCode(client->startInstall(scriptPaths, token)), 156);
    }
  };
  refuse(50);
  const std::size_t descriptors = ProcessInspection::descriptorCount(helperPid());
  const std::size_t memory = ProcessInspection::residentBytes(helperPid());
  const auto children = [&] { return ProcessInspection::childrenOf(helperPid()).size(); };
  for (int round = 0; round < 10; ++round) refuse(isSanitized ? 10 : 100);
  EXPECT_TRUE(eventually([&] { return ProcessInspection::descriptorCount(helperPid()) <= descriptors + 2; }));
  EXPECT_EQ(children(), 0U);
  EXPECT_LE(ProcessInspection::residentBytes(helperPid()), memory + ((isSanitized ? 16U : 1U) << 20U));
}

TEST_F(AuthorizationTest, ARuleThatSaysNoDenies) {
  startPolkit("no");
  expectRefused(userToken(), denied);
}

TEST_F(AuthorizationTest, ARuleThatSaysYesGrants) {
  startPolkit("yes");
  expectGranted(userToken());
}

TEST_F(AuthorizationTest, WithoutAnAgentNobodyCanBeAsked) {
  startPolkit("default");
  expectRefused(userToken(), noInteraction);
}

TEST_F(AuthorizationTest, AnAdministratorWhoAuthenticatesGrants) {
  startPolkit("default");
  startAgent(Behaviour::authenticates);
  expectGranted(userToken());
  EXPECT_EQ(agent().numberOfQuestions(), 1);
  EXPECT_THAT(agent().message(),
              testing::StartsWith("Tolvern wants to install a privileged script in a safe location."));
  EXPECT_THAT(agent().message(), testing::HasSubstr(R"( User: "nobody" (65534).)"));
}

TEST_F(AuthorizationTest, ADialogThatIsDismissedCancels) {
  startPolkit("default");
  startAgent(Behaviour::dismisses);
  expectRefused(userToken(), canceled);
}

TEST_F(AuthorizationTest, AnOpenDialogHoldsUpNoOtherClientAndOnlyTheLaterCallsOfItsOwn) {
  startPolkit("default");
  startAgent(Behaviour::authenticates);
  agent().hold();
  const auto other = connectAndGreet();
  const auto client = connectAndGreet();
  const auto installation = client->startInstall(scriptPaths, userToken());
  const auto version = client->startVersion();
  EXPECT_TRUE(eventually([&] { return agent().numberOfQuestions() == 1; }));
  ASSERT_TRUE(other->await(other->startVersion()));
  client->pumpFor(200ms);
  EXPECT_FALSE(client->hasReply(installation));
  EXPECT_FALSE(client->hasReply(version)) << "the calls of one client run one after the other";
  agent().release();
  EXPECT_EQ(client->awaitCode(installation), 0);
  EXPECT_TRUE(client->await(version));
}

/// What happens to the source while the question about it is open.
class ChangedSourceTest : public AuthorizationTest {
 protected:
  static constexpr char source[] = "/var/tmp/source.sh";
  static constexpr char before[] = "#!/bin/bash\necho before\n";
  static constexpr char after[] = "#!/bin/bash\necho after!\n";

  void SetUp() override {
    AuthorizationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    writeFile(source, before);
    startPolkit("default");
    startAgent(Behaviour::authenticates);
  }
  /// The reply when the user consents after that change.
  std::optional<std::int64_t> installDuring(const std::function<void()>& change) {
    agent().hold();
    const auto client = connect();
    const auto installation = client->startInstall(scriptPaths, userToken());
    EXPECT_TRUE(client->flush());
    EXPECT_TRUE(eventually([&] { return agent().numberOfQuestions() == 1; }));
    EXPECT_FALSE(std::filesystem::exists("/var/orvane")) << "nothing is stored before the consent";
    change();
    agent().release();
    return client->awaitCode(installation);
  }
};

TEST_F(ChangedSourceTest, AFileThatIsExchangedDuringTheQuestionIsNotWhatIsInstalled) {
  writeFile("/var/tmp/other.sh", after);
  EXPECT_EQ(installDuring([] { std::filesystem::rename("/var/tmp/other.sh", source); }), 0);
  EXPECT_EQ(readFile("/var/orvane/job.sh"), before);
}

TEST_F(ChangedSourceTest, ALinkThatIsSetDuringTheQuestionIsNotFollowed) {
  EXPECT_EQ(installDuring([] {
              std::filesystem::remove(source);
              std::filesystem::create_symlink("/etc/shadow", source);
            }),
            0);
  EXPECT_EQ(readFile("/var/orvane/job.sh"), before);
}

TEST_F(ChangedSourceTest, AContentThatIsChangedDuringTheQuestionIsNotInstalled) {
  EXPECT_EQ(installDuring([] { writeFile(source, after); }), 590);
  EXPECT_FALSE(std::filesystem::exists("/var/orvane/job.sh"));
}

TEST_F(ChangedSourceTest, TheQuestionTellsWhatIsInstalled) {
  EXPECT_EQ(installDuring([] {}), 0);
  EXPECT_EQ(agent().message(),
            "Tolvern wants to install a privileged script in a safe location. File: \"/var/tmp/source.sh\". "
            "Destination: \"/var/orvane/job.sh\". User: \"nobody\" (65534). Size: 24 bytes. "
            "SHA-256: 228bdf7790bdcfbcf1041410d13fc358....");
}

TEST_F(ChangedSourceTest, WhatCannotBeReadIsAskedAboutAsSuchAndFailsAfterTheConsent) {
  std::filesystem::remove(source);
  EXPECT_EQ(installDuring([] { writeFile(source, after); }), 590);
  EXPECT_THAT(agent().message(), testing::HasSubstr("File: \"/var/tmp/source.sh\" (cannot be read: No such file"));
  EXPECT_FALSE(std::filesystem::exists("/var/orvane/job.sh"));
}

TEST_F(AuthorizationTest, WithoutTheAuthorizationTheReplyIsTheSameWhateverTheSourceIs) {
  startPolkit("no");
  const auto client = connect();
  for (const auto* paths : {"/var/tmp/source.sh,/var/orvane/a.sh", "/no/such/file,/var/orvane/a.sh",
                            "/etc,/var/orvane/a.sh", "no comma", "/a,/b,/c"}) {
    EXPECT_EQ(client->awaitCode(client->startInstall(paths, userToken())), 156) << paths;
  }
}

TEST_F(AuthorizationTest, RemovingAndRunningNeedNoAuthorization) {
  addScript("job.sh", "#!/bin/bash\n");
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("job.sh")), 0);
  EXPECT_EQ(client->awaitCode(client->startUninstallNamed("job.sh")), 0);
}

}  // namespace
}  // namespace wicket::integration
