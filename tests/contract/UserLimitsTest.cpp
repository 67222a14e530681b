// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "adapters/linux/peer/CallingClient.h"
#include "adapters/linux/peer/UserShares.h"
#include "tests/contract/RealListener.h"
#include "tests/support/AsUser.h"
#include "tests/support/DescriptorAllowance.h"
#include "tests/support/Machine.h"
#include "tests/support/Stopwatch.h"
#include "wire/UserLimits.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using linux_adapter::UserShares;
using support::AsUser;
using support::BusClient;
using support::RawClient;

constexpr uid_t alice = 4001;
constexpr uid_t bob = 4002;

TEST(UserSharesTest, AUserGetsAsManyAsTheLimitSaysAndRootAny) {
  UserShares shares;
  std::vector<UserShares::Share> ofAlice;
  for (unsigned i = 0; i < wire::openQuestions.most; ++i) {
    ofAlice.push_back(shares.take(wire::openQuestions, alice));
    EXPECT_NE(ofAlice.back(), nullptr) << i;
  }
  EXPECT_EQ(shares.take(wire::openQuestions, alice), nullptr);
  std::vector<UserShares::Share> ofRoot;
  for (unsigned i = 0; i < 2 * wire::openQuestions.most; ++i) {
    ofRoot.push_back(shares.take(wire::openQuestions, 0));
    EXPECT_NE(ofRoot.back(), nullptr) << i;
  }
}

TEST(UserSharesTest, WhatOneUserHasIsNotCountedForAnotherNorForAnotherLimit) {
  UserShares shares;
  std::vector<UserShares::Share> ofAlice;
  for (unsigned i = 0; i < wire::openQuestions.most; ++i) ofAlice.push_back(shares.take(wire::openQuestions, alice));
  EXPECT_NE(shares.take(wire::openQuestions, bob), nullptr);
  EXPECT_NE(shares.take(wire::runningScripts, alice), nullptr);
}

TEST(UserSharesTest, WhatIsGivenBackCanBeTakenAgain) {
  UserShares shares;
  std::vector<UserShares::Share> ofAlice;
  for (unsigned i = 0; i < wire::openQuestions.most; ++i) ofAlice.push_back(shares.take(wire::openQuestions, alice));
  auto copy = ofAlice.back();
  ofAlice.pop_back();
  EXPECT_EQ(shares.take(wire::openQuestions, alice), nullptr) << "somebody has it still";
  copy.reset();
  EXPECT_NE(shares.take(wire::openQuestions, alice), nullptr);
}

class UserLimitsTest : public RealListener {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::root);
    ASSERT_EQ(::chmod(path().c_str(), 0666), 0);
    ASSERT_EQ(::chmod(path().substr(0, path().rfind('/')).c_str(), 0755), 0);
    RealListener::SetUp();
  }

  [[nodiscard]] std::unique_ptr<BusClient> connectAs(uid_t user) const {
    const AsUser as(user);
    return connect();
  }
  /// The text of the reply, or the name of the error.
  static std::string version(BusClient& client) {
    const auto reply = client.await(client.startVersion());
    if (!reply) return "no reply";
    return reply->error.empty() ? reply->text : reply->error;
  }
  [[nodiscard]] std::vector<std::unique_ptr<BusClient>> greetedClientsOf(uid_t user, unsigned count) const {
    std::vector<std::unique_ptr<BusClient>> clients;
    for (unsigned i = 0; i < count; ++i) {
      clients.push_back(connectAs(user));
      EXPECT_EQ(version(*clients.back()), "1") << i;
    }
    return clients;
  }

  const support::DescriptorAllowance enough_{4000};
};

TEST_F(UserLimitsTest, WhoHasTooManyConnectionsIsToldSoAndNobodyElseNotices) {
  auto ofAlice = greetedClientsOf(alice, wire::openConnections.most);
  const auto excess = connectAs(alice);
  EXPECT_EQ(version(*excess), wire::openConnections.error);
  EXPECT_TRUE(excess->awaitClosed());
  EXPECT_EQ(delegate_.count(), wire::openConnections.most) << "it was not offered to anybody";
  EXPECT_EQ(version(*connectAs(bob)), "1");
  EXPECT_EQ(version(*connectAs(0)), "1");
  EXPECT_EQ(version(*ofAlice.front()), "1");
}

TEST_F(UserLimitsTest, AConnectionThatIsClosedMakesRoomForAnother) {
  auto ofAlice = greetedClientsOf(alice, wire::openConnections.most);
  ofAlice.pop_back();
  std::string last;
  EXPECT_TRUE(ofAlice.front()->pumpUntil([&] { return (last = version(*connectAs(alice))) == "1"; })) << last;
}

TEST_F(UserLimitsTest, RootMayHaveAnyNumberOfConnections) {
  constexpr unsigned many = wire::openConnections.most + 5;
  EXPECT_EQ(greetedClientsOf(0, many).size(), many);
}

TEST_F(UserLimitsTest, ThreeHundredSilentConnectionsOfOneUserHoldUpNobodyElse) {
  const support::Stopwatch watch;
  std::vector<std::unique_ptr<RawClient>> silent;
  {
    const AsUser as(alice);
    for (int i = 0; i < 300; ++i) silent.push_back(std::make_unique<RawClient>(path()));
  }
  EXPECT_EQ(version(*connectAs(bob)), "1");
  // As many again as may be open wait to be told; whoever comes behind them is closed at once.
  for (std::size_t i = 2 * wire::openConnections.most; i < silent.size(); ++i) {
    EXPECT_TRUE(silent[i]->isClosedWithin(support::patience)) << i;
  }
  EXPECT_LT(watch.elapsed(), 4s) << "those in front of them had to be cut first";
}

TEST_F(UserLimitsTest, WhoHasTooManyQuestionsOpenIsToldSoAndNobodyElseNotices) {
  const auto answers = answerBy([this](const auto& completion) {
    gate_.pass();
    completion(0);
  });
  std::vector<std::unique_ptr<BusClient>> ofAlice;
  std::vector<BusClient::Serial> questions;
  for (unsigned i = 0; i < wire::openQuestions.most; ++i) {
    ofAlice.push_back(connectAs(alice));
    questions.push_back(ofAlice.back()->startInstall("a,b", {}));
    EXPECT_TRUE(ofAlice.back()->flush());
  }
  EXPECT_TRUE(ofAlice.front()->pumpUntil([&] { return object_.events().size() == questions.size(); }));
  const auto ninth = connectAs(alice);
  const auto refused = ninth->await(ninth->startInstall("a,b", {}));
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->error, wire::openQuestions.error);
  EXPECT_EQ(version(*ninth), "1") << "everything else is answered";
  const auto ofBob = connectAs(bob);
  const auto answered = ofBob->startInstall("a,b", {});
  EXPECT_TRUE(ofBob->flush());
  gate_.open();
  EXPECT_EQ(ofBob->awaitCode(answered), 0);
  for (std::size_t i = 0; i < questions.size(); ++i) EXPECT_EQ(ofAlice[i]->awaitCode(questions[i]), 0);
  EXPECT_EQ(ninth->awaitCode(ninth->startInstall("a,b", {})), 0) << "there is room again";
}

TEST_F(UserLimitsTest, WhatACallTookIsKeptByWhatOutlivesIt) {
  std::mutex mutex;
  std::vector<UserShares::Share> kept;
  const auto answers = answerBy([&](const auto& completion) {
    {
      const std::scoped_lock lock(mutex);
      kept.push_back(linux_adapter::CallingClient::current()->share);
    }
    completion(0);
  });
  const auto ofAlice = connectAs(alice);
  for (unsigned i = 0; i < wire::runningScripts.most; ++i) {
    EXPECT_EQ(ofAlice->awaitCode(ofAlice->startRun("a.sh")), 0) << i;
  }
  const auto refused = ofAlice->await(ofAlice->startRun("a.sh"));
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->error, wire::runningScripts.error);
  {
    const std::scoped_lock lock(mutex);
    kept.pop_back();
  }
  EXPECT_EQ(ofAlice->awaitCode(ofAlice->startRun("a.sh")), 0);
}

}  // namespace
}  // namespace wicket::contract
