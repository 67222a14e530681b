// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <chrono>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "tests/contract/ClientWorlds.h"
#include "tests/contract/RealListener.h"
#include "tests/support/DescriptorAllowance.h"
#include "tests/support/RawClient.h"
#include "tests/support/Stopwatch.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using support::DescriptorAllowance;
using support::RawClient;

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST(BusListenerTest, ClientsForWhomThereAreNoDescriptorsWaitAndAreServedLater) {
  doubles::RecordingHelperObject object;
  TestDelegate delegate(object);
  const ListeningSocket socket;
  linux_adapter::BusListener listener(socket.open());
  listener.setDelegate(delegate);
  std::vector<std::unique_ptr<RawClient>> clients;
  for (int i = 0; i < 8; ++i) clients.push_back(std::make_unique<RawClient>(socket.path()));
  {
    const DescriptorAllowance few(13);
    listener.resume();
    EXPECT_TRUE(clients.front()->authenticate());
    EXPECT_NE(delegate.await(0), nullptr);
    const double before = processorSeconds();
    EXPECT_FALSE(clients.back()->isClosedWithin(500ms));
    EXPECT_LT(processorSeconds() - before, 0.1);
    EXPECT_EQ(delegate.count(), 1U);
  }
  for (std::size_t i = 1; i < clients.size(); ++i) EXPECT_TRUE(clients[i]->authenticate()) << i;
  EXPECT_NE(delegate.await(7), nullptr);
}

TEST(BusListenerTest, ClientsBeyondThoseWhoseHandshakeIsPendingWaitForTheirTurn) {
  const DescriptorAllowance enough(8000);
  doubles::RecordingHelperObject object;
  TestDelegate delegate(object);
  const ListeningSocket socket;
  linux_adapter::BusListener listener(socket.open());
  listener.setDelegate(delegate);
  listener.resume();
  const support::Stopwatch watch;
  std::vector<std::unique_ptr<RawClient>> silent;
  for (int i = 0; i < 1024; ++i) silent.push_back(std::make_unique<RawClient>(socket.path()));
  const auto client = support::BusClient::connect(socket.path());
  ASSERT_NE(client, nullptr);
  const auto serial = client->startVersion();
  // On a machine that is so busy that the silent ones are cut by now, it is its turn.
  const auto isCut = [](const auto& one) { return one->isClosedWithin(1ms); };
  EXPECT_TRUE(!client->await(serial, 300ms) || std::ranges::any_of(silent, isCut));
  silent.pop_back();
  const auto reply = client->await(serial);
  EXPECT_LT(watch.elapsed(), 4s) << "it had to wait until the silent ones were cut";
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->text, "1");
}

/// How the end of a listener treats its clients. What is promised as a minimum is compared with all of the time that
/// has passed; what is promised as a maximum, with the time that the listener itself took.
class BusListenerEndTest : public RealListener {
 protected:
  using Clock = std::chrono::steady_clock;
  struct Took {
    Clock::duration all;
    Clock::duration own;
  };
  static constexpr std::chrono::milliseconds noTime{100};
  static constexpr auto notAllTheTime = Listener::timeToFinish;
  static constexpr auto allTheTimeAtMost = Listener::timeToFinish + 500ms;

  /// How long the end takes.
  Took finish() {
    const auto start = Clock::now();
    const support::Stopwatch watch;
    listener_->finish();
    return {Clock::now() - start, watch.elapsed()};
  }
  /// True on a machine so busy that those who came first are no newcomers any more, whom the end waits for.
  [[nodiscard]] bool noNewcomerIsLeft() const { return Clock::now() - began_ >= Listener::timeToAsk; }
  /// Until nobody who is there by now is a newcomer.
  static void letNewcomersAge() { std::this_thread::sleep_for(Listener::timeToAsk); }

 private:
  const Clock::time_point began_ = Clock::now();
};

TEST_F(BusListenerEndTest, TheEndWaitsForNobodyWhereThereIsNoClient) { EXPECT_LT(finish().own, noTime); }

TEST_F(BusListenerEndTest, TheEndDoesNotWaitForAClientThatHasItsAnswers) {
  const auto client = connect();
  ASSERT_TRUE(client->await(client->startVersion()));
  EXPECT_LT(finish().own, noTime);
}

TEST_F(BusListenerEndTest, TheEndWaitsUntilANewcomersCallIsAnswered) {
  object_.onCode = [this](const HelperProtocol::CodeCompletion& completion) {
    gate_.pass();
    std::this_thread::sleep_for(200ms);
    completion(0);
  };
  const auto client = connect();
  const auto serial = client->startRun("slow");
  ASSERT_TRUE(client->flush());
  ASSERT_EQ(object_.awaitEvents(1).size(), 1U);
  const auto start = Clock::now();
  gate_.open();
  const Took took = finish();
  const auto sinceStart = Clock::now() - start;
  EXPECT_GE(sinceStart, 200ms);
  EXPECT_LT(took.own, notAllTheTime);
  listener_.reset();
  // On a machine so busy that the call took all the time, the listener has ended without it.
  EXPECT_TRUE(client->awaitCode(serial) == 0 || sinceStart >= Listener::timeToFinish);
}

TEST_F(BusListenerEndTest, TheEndWaitsForANewcomerThatHasNotAskedYet) {
  const auto client = connectAndGreet();
  std::jthread asking([&client] {
    std::this_thread::sleep_for(100ms);
    EXPECT_TRUE(client->await(client->startVersion()));
  });
  const Took took = finish();
  EXPECT_TRUE(object_.events() == std::vector<std::string>{"getVersion"} || noNewcomerIsLeft());
  EXPECT_LT(took.own, notAllTheTime);
}

TEST_F(BusListenerEndTest, TheEndDoesNotWaitForANewcomerThatCloses) {
  auto client = connectAndGreet();
  std::jthread leaving([&client] {
    std::this_thread::sleep_for(100ms);
    client.reset();
  });
  EXPECT_LT(finish().own, notAllTheTime);
}

TEST_F(BusListenerEndTest, ANewcomerThatAsksNothingDelaysTheEndByASecond) {
  RawClient silent(path());
  const auto client = connectAndGreet();
  const Took took = finish();
  EXPECT_TRUE(took.all >= Listener::timeToFinish || (noNewcomerIsLeft() && took.own < noTime));
  EXPECT_LT(took.own, allTheTimeAtMost);
}

TEST_F(BusListenerEndTest, ACallThatTakesLongerThanASecondDoesNotHoldUpTheEnd) {
  object_.onCode = [this](const HelperProtocol::CodeCompletion& completion) {
    gate_.pass();
    completion(0);
  };
  const auto client = connect();
  (void)client->startRun("endless");
  ASSERT_TRUE(client->flush());
  ASSERT_EQ(object_.awaitEvents(1).size(), 1U);
  letNewcomersAge();
  const Took took = finish();
  EXPECT_GE(took.all, Listener::timeToFinish);
  EXPECT_LT(took.own, allTheTimeAtMost);
}

TEST_F(BusListenerEndTest, AClientThatHasBeenSilentForHalfASecondDoesNotDelayTheEnd) {
  const auto client = connectAndGreet();
  // Its time begins when it has been let in, which is some time after it was accepted; from then on it is written to.
  delegate_.await(0)->remoteObjectProxy()->logWithStdOut("let in");
  ASSERT_TRUE(client->awaitLog("let in"));
  letNewcomersAge();
  EXPECT_LT(finish().own, noTime);
}

TEST(BusListenerTest, AnIdleListenerWithAGatedClientUsesNoProcessorTime) {
  doubles::RecordingHelperObject object;
  TestDelegate delegate(object);
  delegate.resumes = false;
  const ListeningSocket socket;
  linux_adapter::BusListener listener(socket.open());
  listener.setDelegate(delegate);
  listener.resume();
  auto waiting = std::make_unique<RawClient>(socket.path());
  ASSERT_TRUE(waiting->authenticate());
  ASSERT_NE(delegate.await(0), nullptr);
  auto gone = std::make_unique<RawClient>(socket.path());
  ASSERT_TRUE(gone->authenticate());
  ASSERT_NE(delegate.await(1), nullptr);
  gone.reset();
  const double before = processorSeconds();
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(processorSeconds() - before, 0.05);
}

TEST(BusListenerCredentialsTest, TheKernelNamesTheSendersBeforeAnybodyIsAccepted) {
  const ListeningSocket socket;
  Descriptor listening = socket.open();
  const Descriptor same(::dup(listening.get()));
  const linux_adapter::BusListener listener(std::move(listening));
  int isNamed = 0;
  socklen_t length = sizeof isNamed;
  ASSERT_EQ(::getsockopt(same.get(), SOL_SOCKET, SO_PASSCRED, &isNamed, &length), 0);
  EXPECT_EQ(isNamed, 1) << "who connects now and writes at once would be nobody";
}

}  // namespace
}  // namespace wicket::contract
