// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <vector>

#include "adapters/linux/peer/CallingClient.h"
#include "base/system/linux/SdHandle.h"
#include "tests/contract/AuthorizationWorlds.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/Patience.h"
#include "tests/support/ProcessInspection.h"

namespace wicket::contract {
namespace {

using linux_adapter::CallingClient;
using support::comesTrue;
using support::PolkitAgent;
using support::ProcessInspection;
using support::UserProcess;
using Asking = std::future<AuthorizationStatus>;

/// Of all processes, that of who counts included. None when there is no bus.
std::optional<std::size_t> numberOfBusConnections() {
  sd_bus* opened = nullptr;
  sd_bus_message* received = nullptr;
  if (sd_bus_open_system(&opened) < 0) return std::nullopt;
  const linux_adapter::SdHandle<sd_bus> bus(opened);
  if (sd_bus_call_method(opened, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames",
                         nullptr, &received, "") < 0 ||
      sd_bus_message_enter_container(received, SD_BUS_TYPE_ARRAY, "s") < 0) {
    return std::nullopt;
  }
  const linux_adapter::SdHandle<sd_bus_message> reply(received);
  std::size_t count = 0;
  for (const char* name = nullptr; sd_bus_message_read(received, "s", &name) > 0;) {
    if (name[0] == ':') ++count;
  }
  return count;
}

// What becomes of questions while their user thinks.
class PolkitQuestionTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto need : PolkitWorld::needs) WICKET_NEEDS(need);
    world_.emplace();
    startThinking();
  }
  void startThinking() {
    world_->startAgent(PolkitAgent::Behaviour::authenticates);
    agent().hold();
  }
  PolkitAgent& agent() { return world_->agent(); }
  PolkitAgent::Dialog dialog(std::size_t number) { return agent().dialogs().at(number); }
  bool awaitDialogs(int count) {
    return comesTrue([this, count] { return agent().numberOfQuestions() == count; });
  }

  /// A question of a thread of its own, about the world's client.
  Asking ask(AuthorizationDetails details = {}, std::optional<CallingClient> asker = std::nullopt) {
    const auto form = world_->form();
    return askFor(form, std::move(details), asker);
  }
  Asking askFor(const AuthorizationExternalForm& form, AuthorizationDetails details,
                std::optional<CallingClient> asker = std::nullopt) {
    auto reference = world_->services().createFromExternalForm(form);
    if (!reference) throw std::runtime_error("the client is not known");
    return std::async(std::launch::async, [this, held = *reference, told = std::move(details), asker] {
      std::optional<CallingClient::Scope> onBehalfOf;
      if (asker) onBehalfOf.emplace(*asker);
      return world_->services().copyRights(*held, installRight, told);
    });
  }
  /// What it comes to without the user's doing.
  AuthorizationStatus outcomeOf(Asking& asking) {
    const bool hasEnded = asking.wait_for(support::patience) == std::future_status::ready;
    EXPECT_TRUE(hasEnded);
    if (!hasEnded) agent().release();
    return asking.get();
  }

  std::optional<PolkitWorld> world_;
};

TEST_F(PolkitQuestionTest, AHundredOpenQuestionsTakeOneConnectionAndOneThread) {
  constexpr int count = 100;
  const auto connections = numberOfBusConnections();
  ASSERT_TRUE(connections);
  const std::size_t threads = ProcessInspection::threadCount(::getpid());
  const std::size_t descriptors = ProcessInspection::descriptorCount(::getpid());
  std::vector<Asking> askings;
  for (int i = 0; i < count; ++i) askings.push_back(ask());
  EXPECT_TRUE(awaitDialogs(count));
  EXPECT_EQ(numberOfBusConnections(), *connections + 1);
  EXPECT_EQ(ProcessInspection::threadCount(::getpid()), threads + count + 1);
  agent().release();
  for (auto& asking : askings) EXPECT_EQ(asking.get(), authorization_status::success);
  EXPECT_TRUE(comesTrue([&] { return numberOfBusConnections() == connections; })) << "and leave none behind";
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::threadCount(::getpid()) == threads; }));
  EXPECT_EQ(ProcessInspection::descriptorCount(::getpid()), descriptors);
}

/// The bus refuses the calls of a connection that waits for too many replies.
TEST_F(PolkitQuestionTest, QuestionsBeyondWhatTheBusAllowsWaitTheirTurnAndMayEndBefore) {
  constexpr int limit = linux_adapter::PolkitConversation::openLimit;
  UserProcess leaving;
  std::vector<Asking> askings;
  for (int i = 0; i < limit; ++i) askings.push_back(ask());
  EXPECT_TRUE(awaitDialogs(limit));
  const std::size_t descriptors = ProcessInspection::descriptorCount(::getpid());
  auto neverAsked = ask({}, CallingClient{leaving.pid(), leaving.uid()});
  // A question holds both processes from its beginning on.
  EXPECT_TRUE(comesTrue([&] { return ProcessInspection::descriptorCount(::getpid()) == descriptors + 2; }));
  leaving.end();
  EXPECT_EQ(outcomeOf(neverAsked), authorization_status::denied);
  EXPECT_EQ(agent().numberOfQuestions(), limit);
  for (int i = 0; i < limit; ++i) askings.push_back(ask());
  agent().decide(0, PolkitAgent::Behaviour::authenticates);
  EXPECT_TRUE(awaitDialogs(limit + 1));
  agent().release();
  for (auto& asking : askings) EXPECT_EQ(asking.get(), authorization_status::success);
  EXPECT_EQ(agent().numberOfQuestions(), 2 * limit);
}

TEST_F(PolkitQuestionTest, EachQuestionGetsTheAnswerThatItsDialogWasGiven) {
  std::vector<Asking> askings;
  for (const char* file : {"first", "second", "third", "fourth"}) {
    askings.push_back(ask({{"file", file}}));
    EXPECT_TRUE(awaitDialogs(static_cast<int>(askings.size())));
    EXPECT_NE(dialog(askings.size() - 1).message.find(std::string(" File: ") + file + "."), std::string::npos);
  }
  agent().decide(3, PolkitAgent::Behaviour::failsToAuthenticate);
  EXPECT_EQ(outcomeOf(askings[3]), authorization_status::denied);
  agent().decide(1, PolkitAgent::Behaviour::authenticates);
  EXPECT_EQ(outcomeOf(askings[1]), authorization_status::success);
  agent().decide(2, PolkitAgent::Behaviour::dismisses);
  EXPECT_EQ(outcomeOf(askings[2]), authorization_status::canceled);
  agent().decide(0, PolkitAgent::Behaviour::authenticates);
  EXPECT_EQ(outcomeOf(askings[0]), authorization_status::success);
}

TEST_F(PolkitQuestionTest, AClientThatEndsTakesItsQuestionAndTheDialogWithIt) {
  auto asking = ask();
  EXPECT_TRUE(awaitDialogs(1));
  world_->client().endUnnoticed();
  EXPECT_EQ(outcomeOf(asking), authorization_status::denied);
  EXPECT_TRUE(comesTrue([this] { return dialog(0).isCanceled; }));
}

TEST_F(PolkitQuestionTest, ACallerThatEndsTakesItsOwnQuestionWithItAndNoOther) {
  UserProcess leaving;
  const UserProcess staying;
  auto itsOwn = ask({{"file", "its own"}}, CallingClient{leaving.pid(), leaving.uid()});
  EXPECT_TRUE(awaitDialogs(1));
  auto another = ask({{"file", "another"}}, CallingClient{staying.pid(), staying.uid()});
  EXPECT_TRUE(awaitDialogs(2));
  leaving.end();
  EXPECT_EQ(outcomeOf(itsOwn), authorization_status::denied);
  EXPECT_TRUE(comesTrue([this] { return dialog(0).isCanceled; }));
  EXPECT_FALSE(dialog(1).isCanceled);
  agent().decide(1, PolkitAgent::Behaviour::authenticates);
  EXPECT_EQ(outcomeOf(another), authorization_status::success);
}

TEST_F(PolkitQuestionTest, ACallerThatHasEndedBeforeIsDenied) {
  UserProcess gone;
  const CallingClient caller{gone.pid(), gone.uid()};
  gone.end();
  auto asking = ask({}, caller);
  EXPECT_EQ(outcomeOf(asking), authorization_status::denied);
  EXPECT_EQ(agent().numberOfQuestions(), 0);
}

TEST_F(PolkitQuestionTest, ABusThatGoesAwayEndsTheOpenQuestionsAndServesAgainOnceItIsBack) {
  std::vector<Asking> askings;
  for (int i = 0; i < 5; ++i) askings.push_back(ask());
  EXPECT_TRUE(awaitDialogs(5));
  world_->endPolkit();
  for (auto& asking : askings) EXPECT_EQ(outcomeOf(asking), authorization_status::internal);
  world_->startPolkit();
  startThinking();
  auto later = ask();
  EXPECT_TRUE(awaitDialogs(1));
  agent().release();
  EXPECT_EQ(later.get(), authorization_status::success);
}

TEST_F(PolkitQuestionTest, TheDialogShowsTheDetailsWordForWord) {
  agent().release();
  auto asking = ask({{"file", R"("/home/\x24(user)/a b.sh")"},
                     {"destination", "$(user)$(size)"},
                     {"size", "12 bytes"},
                     {"sha256", "0123abcd"}});
  EXPECT_EQ(asking.get(), authorization_status::success);
  EXPECT_EQ(agent().message(),
            R"(Tolvern wants to install a privileged script in a safe location. File: "/home/\x24(user)/a b.sh".)"
            R"( Destination: $(user)$(size). User: "nobody" (65534). Size: 12 bytes. SHA-256: 0123abcd.)");
}

}  // namespace
}  // namespace wicket::contract
