// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <ctime>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/contract/ClientWorlds.h"
#include "tests/contract/RealListener.h"
#include "tests/support/ProcessInspection.h"
#include "tests/support/RawClient.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using support::ProcessInspection;
using support::RawClient;

/// Lets the process have so many more descriptors and no others, for as long as it lives.
class DescriptorAllowance {
 public:
  explicit DescriptorAllowance(std::size_t more) {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit allowed = before_;
    allowed.rlim_cur = ProcessInspection::descriptorCount(getpid()) + more;
    setrlimit(RLIMIT_NOFILE, &allowed);
  }
  DescriptorAllowance(const DescriptorAllowance&) = delete;
  DescriptorAllowance& operator=(const DescriptorAllowance&) = delete;
  ~DescriptorAllowance() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

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
    const DescriptorAllowance few(12);
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
  const DescriptorAllowance enough(2000);
  doubles::RecordingHelperObject object;
  TestDelegate delegate(object);
  const ListeningSocket socket;
  linux_adapter::BusListener listener(socket.open());
  listener.setDelegate(delegate);
  listener.resume();
  std::vector<std::unique_ptr<RawClient>> silent;
  for (int i = 0; i < 256; ++i) silent.push_back(std::make_unique<RawClient>(socket.path()));
  const auto client = support::BusClient::connect(socket.path());
  ASSERT_NE(client, nullptr);
  const auto serial = client->startVersion();
  EXPECT_FALSE(client->await(serial, 300ms));
  silent.pop_back();
  const auto reply = client->await(serial, 1s);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->text, "1");
}

class BusListenerEndTest : public RealListener {
 protected:
  /// How long the end takes.
  std::chrono::steady_clock::duration finish() {
    const auto start = std::chrono::steady_clock::now();
    listener_->finish();
    return std::chrono::steady_clock::now() - start;
  }
};

TEST_F(BusListenerEndTest, TheEndWaitsForNobodyWhereThereIsNoClient) { EXPECT_LT(finish(), 100ms); }

TEST_F(BusListenerEndTest, TheEndDoesNotWaitForAClientThatHasItsAnswers) {
  const auto client = connect();
  ASSERT_TRUE(client->await(client->startVersion()));
  EXPECT_LT(finish(), 100ms);
}

TEST_F(BusListenerEndTest, TheEndWaitsUntilANewcomersCallIsAnswered) {
  object_.onCode = [](const HelperProtocol::CodeCompletion& completion) {
    std::this_thread::sleep_for(200ms);
    completion(0);
  };
  const auto client = connect();
  const auto serial = client->startRun("slow");
  client->pumpFor(20ms);
  const auto took = finish();
  EXPECT_GT(took, 100ms);
  EXPECT_LT(took, 400ms);
  listener_.reset();
  EXPECT_TRUE(client->await(serial, 1s));
}

TEST_F(BusListenerEndTest, TheEndWaitsForANewcomerThatHasNotAskedYet) {
  const auto client = connect();
  client->pumpFor(20ms);
  ASSERT_NE(delegate_.await(0), nullptr);
  std::jthread asking([&client] {
    std::this_thread::sleep_for(100ms);
    EXPECT_TRUE(client->await(client->startVersion(), 1s));
  });
  const auto took = finish();
  EXPECT_GT(took, 50ms);
  EXPECT_LT(took, 400ms);
}

TEST_F(BusListenerEndTest, TheEndDoesNotWaitForANewcomerThatCloses) {
  auto client = connect();
  client->pumpFor(20ms);
  ASSERT_NE(delegate_.await(0), nullptr);
  std::jthread leaving([&client] {
    std::this_thread::sleep_for(100ms);
    client.reset();
  });
  EXPECT_LT(finish(), 400ms);
}

TEST_F(BusListenerEndTest, ANewcomerThatAsksNothingDelaysTheEndByASecond) {
  RawClient silent(path());
  const auto client = connect();
  client->pumpFor(20ms);
  const auto took = finish();
  EXPECT_GT(took, 900ms);
  EXPECT_LT(took, 1500ms);
}

TEST_F(BusListenerEndTest, ACallThatTakesLongerThanASecondDoesNotHoldUpTheEnd) {
  std::promise<HelperProtocol::CodeCompletion> kept;
  object_.onCode = [&](const HelperProtocol::CodeCompletion& completion) { kept.set_value(completion); };
  const auto client = connect();
  (void)client->startRun("endless");
  client->pumpFor(600ms);
  // Taken over from the call's thread, to be let go of on this one.
  const auto completion = kept.get_future().get();
  const auto took = finish();
  EXPECT_GT(took, 900ms);
  EXPECT_LT(took, 1500ms);
}

TEST_F(BusListenerEndTest, AClientThatHasBeenSilentForHalfASecondDoesNotDelayTheEnd) {
  const auto client = connect();
  client->pumpFor(600ms);
  EXPECT_LT(finish(), 100ms);
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

}  // namespace
}  // namespace wicket::contract
