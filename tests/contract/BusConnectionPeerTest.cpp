// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <filesystem>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <sys/syscall.h>

#include "adapters/linux/peer/AuditTokenWords.h"
#include "adapters/linux/peer/CallingClient.h"
#include "tests/contract/RealListener.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/Machine.h"
#include "tests/support/ProcessInspection.h"
#include "tests/support/StandIn.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using linux_adapter::AuditTokenWords;
using linux_adapter::CallingClient;
using support::DBusBytes;
using support::StandIn;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char removalOfA[] = "uninstallScriptWithFilename a";

class BusConnectionPeerTest : public RealListener {
 protected:
  /// A file with the bytes of a call.
  std::string callFile(const std::string& name) const {
    const std::string path = folder_.path("call-" + name);
    std::ofstream(path, std::ios::binary)
        << DBusBytes::methodCall(1, "uninstallScriptWithFilename_completion_", "s", DBusBytes::string(name));
    return path;
  }
  /// Another file with the same program.
  std::string copyOfProgram() const {
    std::filesystem::copy_file(WICKET_STAND_IN, folder_.path("copy"),
                               std::filesystem::copy_options::overwrite_existing);
    return folder_.path("copy");
  }
  std::vector<std::string> greeting(std::vector<std::string> then) const {
    std::vector<std::string> steps{"connect", path(), "greet"};
    steps.insert(steps.end(), then.begin(), then.end());
    return steps;
  }
  AuditTokenWords wordsOfClient(std::size_t index) {
    const auto connection = delegate_.await(index);
    return AuditTokenWords::of(connection->auditToken());
  }

  support::TemporaryFolder folder_;
};

TEST_F(BusConnectionPeerTest, ACallRunsOnBehalfOfTheProcessThatConnected) {
  std::promise<std::optional<CallingClient>> caller;
  const auto answers = answerBy([&](const HelperProtocol::CodeCompletion& completion) {
    caller.set_value(CallingClient::current());
    completion(reply_code::success);
  });
  const StandIn client(WICKET_STAND_IN, greeting({"send", callFile("a")}));
  auto future = caller.get_future();
  ASSERT_EQ(future.wait_for(patience), std::future_status::ready);
  const auto current = future.get();
  ASSERT_TRUE(current);
  EXPECT_EQ(current->pid, client.pid());
  EXPECT_EQ(current->uid, getuid());
  EXPECT_FALSE(CallingClient::current()) << "this thread runs no call";
}

TEST_F(BusConnectionPeerTest, TheAuditTokenTellsWhoConnectedAndStaysAsItIs) {
  WICKET_NEEDS(support::Need::root);
  StandIn user(WICKET_STAND_IN, greeting({"become", "65534", "65533", "say", "changed"}));
  ASSERT_TRUE(user.awaitSaid("changed"));
  const auto connection = delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  const auto words = AuditTokenWords::of(connection->auditToken());
  EXPECT_EQ(words.pid, static_cast<std::uint32_t>(user.pid()));
  EXPECT_EQ(words.euid, getuid()) << "the user when it connected, not the one that it has become";
  EXPECT_EQ(words.egid, AuditTokenWords::unset) << "it is its real group as well";
  EXPECT_NE(words.pidVersion, 0U);
  user.end();
  EXPECT_EQ(AuditTokenWords::of(connection->auditToken()).pidVersion, words.pidVersion);
}

TEST_F(BusConnectionPeerTest, TheTokensOfTwoProcessesHaveDifferentVersions) {
  StandIn first(WICKET_STAND_IN, greeting({}));
  const auto firstWords = wordsOfClient(0);
  StandIn second(WICKET_STAND_IN, greeting({}));
  const auto secondWords = wordsOfClient(1);
  EXPECT_NE(firstWords.pid, secondWords.pid);
  EXPECT_NE(firstWords.pidVersion, secondWords.pidVersion);
}

TEST_F(BusConnectionPeerTest, AProcessThatHasExecutedAnotherProgramIsCutWithoutItsCallHavingRun) {
  StandIn client(WICKET_STAND_IN, greeting({"send", callFile("a"), "wait", "execute", copyOfProgram(), "say",
                                            "executed", "send", callFile("b")}));
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre(removalOfA));
  client.proceed();
  ASSERT_TRUE(client.awaitSaid("executed"));
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre(removalOfA, "invalidated"));
}

TEST_F(BusConnectionPeerTest, AProcessThatExecutedAnotherProgramBeforeItWasAcceptedIsTakenForThatOne) {
  StandIn client(WICKET_STAND_IN, {"connect", path(), "execute", copyOfProgram(), "greet", "send", callFile("a")});
  const auto events = object_.awaitEvents(1);
  // It depends on who was first: either is whole, and the image at the time of acceptance decides.
  EXPECT_THAT(events, testing::AnyOf(ElementsAre(removalOfA), ElementsAre("invalidated")));
}

TEST_F(BusConnectionPeerTest, AForkedChildThatKeepsTheDescriptorIsCutWithoutItsCallHavingRun) {
  StandIn client(WICKET_STAND_IN, greeting({"send", callFile("a"), "wait", "send-from-child", callFile("b")}));
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre(removalOfA));
  client.proceed();
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre(removalOfA, "invalidated"));
}

TEST_F(BusConnectionPeerTest, AChildThatOutlivesTheProcessThatConnectedIsCutWithoutItsCallHavingRun) {
  StandIn client(WICKET_STAND_IN, greeting({"leave-to-child", "send", callFile("a"), "say", "sent"}));
  ASSERT_TRUE(client.awaitSaid("sent"));
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(BusConnectionPeerTest, AHandshakeOfAnotherProcessIsCutBeforeTheDelegateIsAsked) {
  StandIn client(WICKET_STAND_IN, {"connect", path(), "say", "connected", "wait", "leave-to-child", "greet"});
  ASSERT_TRUE(client.awaitSaid("connected"));
  // Once another client has been offered, this one has been accepted.
  const auto other = connect();
  ASSERT_TRUE(other->await(other->startVersion()));
  client.proceed();
  EXPECT_FALSE(client.awaitSaid("anything", 300ms));
  EXPECT_EQ(delegate_.count(), 1U);
}

TEST_F(BusConnectionPeerTest, ADescriptorThatAnotherProcessHasTakenIsCutWithoutItsCallHavingRun) {
  WICKET_NEEDS(support::Need::takenDescriptor);
  StandIn client(WICKET_STAND_IN, greeting({"say", "greeted"}));
  ASSERT_TRUE(client.awaitSaid("greeted"));
  ASSERT_NE(delegate_.await(0), nullptr);
  const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, client.pid(), 0)));
  const Descriptor taken(static_cast<int>(syscall(SYS_pidfd_getfd, process.get(), 9, 0)));
  ASSERT_TRUE(taken.isOpen());
  const auto call = DBusBytes::methodCall(1, "uninstallScriptWithFilename_completion_", "s", DBusBytes::string("a"));
  ASSERT_EQ(send(taken.get(), call.data(), call.size(), MSG_NOSIGNAL), static_cast<ssize_t>(call.size()));
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(BusConnectionPeerTest, ACallOfWhichAnotherProcessSentTheBeginningDoesNotRun) {
  WICKET_NEEDS(support::Need::takenDescriptor);
  const std::string call =
      DBusBytes::methodCall(1, "uninstallScriptWithFilename_completion_", "s", DBusBytes::string("a"));
  const std::string rest = folder_.path("rest");
  std::ofstream(rest, std::ios::binary) << call.substr(20);
  StandIn client(WICKET_STAND_IN, greeting({"say", "greeted", "wait", "send", rest}));
  ASSERT_TRUE(client.awaitSaid("greeted"));
  ASSERT_NE(delegate_.await(0), nullptr);
  const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, client.pid(), 0)));
  const Descriptor taken(static_cast<int>(syscall(SYS_pidfd_getfd, process.get(), 9, 0)));
  ASSERT_EQ(send(taken.get(), call.data(), 20, MSG_NOSIGNAL), 20);
  client.proceed();
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(BusConnectionPeerTest, TheCallsOfAProcessThatHasEndedDoNotRun) {
  object_.onCode = [this](const HelperProtocol::CodeCompletion& completion) {
    gate_.pass();
    completion(reply_code::success);
  };
  StandIn client(WICKET_STAND_IN, greeting({"send", callFile("a"), "send", callFile("b"), "say", "sent"}));
  ASSERT_THAT(object_.awaitEvents(1), ElementsAre(removalOfA));
  ASSERT_TRUE(client.awaitSaid("sent"));
  client.end();
  gate_.open();
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre(removalOfA, "invalidated"));
  std::this_thread::sleep_for(100ms);
  EXPECT_THAT(object_.events(), ElementsAre(removalOfA, "invalidated"));
}

TEST_F(BusConnectionPeerTest, ARunningProgramWhoseFileHasBeenDeletedIsStillTheSame) {
  const std::string program = copyOfProgram();
  StandIn client(program, greeting({"say", "greeted", "wait", "send", callFile("a")}));
  ASSERT_TRUE(client.awaitSaid("greeted"));
  std::filesystem::remove(program);
  client.proceed();
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre(removalOfA));
}

TEST_F(BusConnectionPeerTest, DescriptorsThatAreSentAlongDoNotEnterAndEndTheConnection) {
  const auto other = connect();
  ASSERT_TRUE(other->await(other->startVersion()));
  const std::size_t before = support::ProcessInspection::descriptorCount(getpid());
  {
    StandIn client(WICKET_STAND_IN, greeting({"wait", "send-with-descriptor", callFile("a")}));
    ASSERT_NE(delegate_.await(1), nullptr);
    client.proceed();
    EXPECT_THAT(object_.awaitEvents(2), ElementsAre("getVersion", "invalidated"));
  }
  EXPECT_TRUE(support::comesTrue([&] { return support::ProcessInspection::descriptorCount(getpid()) <= before; }));
}

TEST_F(BusConnectionPeerTest, OfTwoHundredClientsThatEndAtAnyStepNoneStaysAndNoneRunsWhatItDidNotSend) {
  const std::string call = callFile("a");
  for (int i = 0; i < 200; ++i) {
    StandIn client(WICKET_STAND_IN, greeting({"send", call}));
    std::this_thread::sleep_for(std::chrono::microseconds(i * 20));
    client.end();
  }
  EXPECT_TRUE(answersOthers());
}

}  // namespace
}  // namespace wicket::contract
