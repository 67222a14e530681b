// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/linux/peer/CallingClient.h"
#include "tests/contract/AuthorizationWorlds.h"
#include "tests/support/DescriptorAllowance.h"
#include "tests/support/ProcessInspection.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using linux_adapter::CallingClient;
using support::PolkitAgent;
using support::ProcessInspection;
using wire::AuthorizationToken;

// What only Linux has: processes, polkit, and ways to deceive it.
class PolkitAuthorizationTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto need : PolkitWorld::needs) WICKET_NEEDS(need);
    world_.emplace();
  }
  AuthorizationStatus create(const AuthorizationToken& token) { return create(token.serialize()); }
  AuthorizationStatus create(const AuthorizationExternalForm& form) {
    const auto reference = world_->services().createFromExternalForm(form);
    return reference ? authorization_status::success : reference.error();
  }
  std::shared_ptr<AuthorizationReference> reference() {
    return world_->services().createFromExternalForm(world_->form()).value_or(nullptr);
  }
  AuthorizationStatus ask(AuthorizationReference& reference) {
    return world_->services().copyRights(reference, installRight, {});
  }

  std::optional<PolkitWorld> world_;
};

TEST_F(PolkitAuthorizationTest, BytesThatAreNoTokenAreDenied) {
  AuthorizationExternalForm form{};
  EXPECT_EQ(create(form), authorization_status::denied);
  form.fill(std::byte{0xFF});
  EXPECT_EQ(create(form), authorization_status::denied);
}

TEST_F(PolkitAuthorizationTest, ATokenWithAnyFieldOfAnotherProcessIsDenied) {
  const AuthorizationToken token = world_->token();
  EXPECT_EQ(create(token), authorization_status::success);
  AuthorizationToken other = token;
  other.uid += 1;
  EXPECT_EQ(create(other), authorization_status::denied);
  other = token;
  other.startTime += 1;
  EXPECT_EQ(create(other), authorization_status::denied);
  other = token;
  other.pidfdInode += 1;
  EXPECT_EQ(create(other), token.pidfdInode == 0 ? authorization_status::success : authorization_status::denied);
  other = token;
  other.pid = static_cast<std::uint32_t>(::getpid());
  EXPECT_EQ(create(other), authorization_status::denied);
}

TEST_F(PolkitAuthorizationTest, NumbersThatNoProcessCanHaveAreDenied) {
  for (const std::uint32_t pid : {0U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(create(AuthorizationToken{pid, 0, 0, 0}), authorization_status::denied) << pid;
  }
}

TEST_F(PolkitAuthorizationTest, AProcessThatEndedButWasNotWaitedForIsGone) {
  const AuthorizationToken token = world_->token();
  world_->client().endUnnoticed();
  EXPECT_EQ(create(token), authorization_status::denied);
}

TEST_F(PolkitAuthorizationTest, AClientThatIsNotRootIsAuthorizedAsItselfOnly) {
  const AuthorizationToken token = world_->token();
  const auto pid = static_cast<pid_t>(token.pid);
  {
    const CallingClient::Scope itself({pid, token.uid});
    EXPECT_EQ(create(token), authorization_status::success);
  }
  {
    const CallingClient::Scope anotherProcess({pid + 1, token.uid});
    EXPECT_EQ(create(token), authorization_status::denied);
  }
  {
    const CallingClient::Scope anotherUser({pid, token.uid + 1});
    EXPECT_EQ(create(token), authorization_status::denied);
  }
  const CallingClient::Scope root({::getpid(), 0});
  EXPECT_EQ(create(token), authorization_status::success);
}

TEST_F(PolkitAuthorizationTest, AReferenceThatIsKeptHoldsNoDescriptor) {
  const auto first = reference();
  const std::size_t before = ProcessInspection::descriptorCount(::getpid());
  std::vector<std::shared_ptr<AuthorizationReference>> kept;
  for (int i = 0; i < 100; ++i) kept.push_back(reference());
  EXPECT_EQ(ProcessInspection::descriptorCount(::getpid()), before);
  EXPECT_EQ(ask(*kept.back()), ask(*first)) << "and is as good as before";
}

TEST_F(PolkitAuthorizationTest, OutsideAClientsCallNobodyIsAuthorized) {
  const AuthorizationToken token = world_->token();
  auto status = std::async(std::launch::async, [&] { return create(token); });
  EXPECT_EQ(status.get(), authorization_status::denied);
}

TEST_F(PolkitAuthorizationTest, EachRequestAsksTheUserAnew) {
  world_->startAgent(PolkitAgent::Behaviour::authenticates);
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(ask(*held), authorization_status::success);
  EXPECT_EQ(ask(*held), authorization_status::success);
  EXPECT_EQ(world_->agent().numberOfQuestions(), 2);
}

/// The bus library's own limit, which a test cannot wait for, is shortened: none may apply.
TEST_F(PolkitAuthorizationTest, TheUserMayTakeAllTheTimeHeWants) {
  world_->startAgent(PolkitAgent::Behaviour::authenticates);
  world_->agent().hold();
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  ASSERT_EQ(::setenv("SYSTEMD_BUS_TIMEOUT", "500ms", 1), 0);
  auto asking = std::async(std::launch::async, [&] { return ask(*held); });
  std::this_thread::sleep_for(800ms);
  world_->agent().release();
  const auto status = asking.get();
  // The library greets the bus within the same limit, which on a busy machine may be too short for that.
  EXPECT_TRUE(status == authorization_status::success || world_->agent().numberOfQuestions() == 0) << status;
  ::unsetenv("SYSTEMD_BUS_TIMEOUT");
}

TEST_F(PolkitAuthorizationTest, TwoRequestsAtOnceAreAnsweredEachForItself) {
  world_->decide(Decision::grant);
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  auto first = std::async(std::launch::async, [&] { return ask(*held); });
  auto second = std::async(std::launch::async, [&] { return ask(*held); });
  EXPECT_EQ(first.get(), authorization_status::success);
  EXPECT_EQ(second.get(), authorization_status::success);
}

TEST_F(PolkitAuthorizationTest, ARightThatNoPolicyDefinesCannotBeObtained) {
  world_->decide(Decision::grant);
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(world_->services().copyRights(*held, "net.orvane.Wicket.unknown:", {}), authorization_status::internal);
  EXPECT_EQ(world_->services().copyRights(*held, "not an action \xFF", {}), authorization_status::internal);
  EXPECT_EQ(world_->services().copyRights(*held, "", {}), authorization_status::internal);
}

TEST_F(PolkitAuthorizationTest, WithoutPolkitNoAuthorizationIsObtained) {
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  world_->endPolkit();
  EXPECT_EQ(ask(*held), authorization_status::internal);
}

TEST_F(PolkitAuthorizationTest, AnotherBusInTheEnvironmentIsNotAsked) {
  world_->decide(Decision::grant);
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  ASSERT_EQ(::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere", 1), 0);
  EXPECT_EQ(ask(*held), authorization_status::success);
  ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

/// As many as it takes, one more each time: wherever they run out, that is no word about the client.
TEST_F(PolkitAuthorizationTest, AShortageOfDescriptorsIsNoRefusal) {
  world_->decide(Decision::grant);
  const auto form = world_->form();
  const auto held = reference();
  ASSERT_NE(held, nullptr);
  constexpr rlim_t plenty = 50;
  const auto whenEnough = [](const std::function<AuthorizationStatus()>& attempt) {
    rlim_t enough = 0;
    auto status = authorization_status::internal;
    for (; status == authorization_status::internal && enough < plenty; ++enough) {
      const support::DescriptorAllowance few(enough);
      status = attempt();
    }
    EXPECT_GT(enough, 1U);
    return status;
  };
  EXPECT_EQ(whenEnough([&] { return create(form); }), authorization_status::success);
  EXPECT_EQ(whenEnough([&] { return ask(*held); }), authorization_status::success);
}

TEST_F(PolkitAuthorizationTest, AReferenceOfSomebodyElsesMakingIsInvalid) {
  AuthorizationReference foreign;
  constexpr AuthorizationStatus invalidReference = -60002;
  EXPECT_EQ(ask(foreign), invalidReference);
}

TEST(ProcessIdentityTest, ANameThatLooksLikeFieldsDoesNotHideTheStartTime) {
  const auto before = linux_adapter::ProcessIdentity::of(static_cast<std::uint32_t>(::getpid()));
  std::array<char, 16> name{};
  ASSERT_EQ(::prctl(PR_GET_NAME, name.data()), 0);
  ASSERT_EQ(::prctl(PR_SET_NAME, "a) R 1 (2 3) 4"), 0);
  const auto after = linux_adapter::ProcessIdentity::of(static_cast<std::uint32_t>(::getpid()));
  ::prctl(PR_SET_NAME, name.data());
  ASSERT_TRUE(before && after);
  EXPECT_EQ(before->startTime(), after->startTime());
  EXPECT_NE(before->startTime(), 0U);
  EXPECT_EQ(before->uid(), ::getuid());
}

}  // namespace
}  // namespace wicket::contract
