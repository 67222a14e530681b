// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/contract/ClientWorlds.h"

namespace wicket::contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <typename World>
class ListenerContract : public testing::Test {
 protected:
  doubles::RecordingHelperObject object_;
  TestDelegate delegate_{object_};
  World world_;
};

using ListenerWorldTypes = testing::Types<RealClients, DoubledClients>;
TYPED_TEST_SUITE(ListenerContract, ListenerWorldTypes, ClientWorldNames);

TYPED_TEST(ListenerContract, NobodyIsAcceptedBeforeTheListenerIsResumed) {
  this->world_.listener().setDelegate(this->delegate_);
  auto client = this->world_.connect();
  client.greetInVain();
  this->world_.settle();
  EXPECT_EQ(this->delegate_.count(), 0U);

  this->world_.listener().resume();
  client.greet();
  EXPECT_NE(this->delegate_.await(0), nullptr);
  client.removeScript("a");
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("uninstallScriptWithFilename a"));
}

TYPED_TEST(ListenerContract, ClientsAreOfferedOneAfterTheOtherAsTheyArrive) {
  this->world_.listener().setDelegate(this->delegate_);
  this->world_.listener().resume();
  auto first = this->world_.connect();
  first.greet();
  ASSERT_NE(this->delegate_.await(0), nullptr);
  auto second = this->world_.connect();
  second.greet();
  ASSERT_NE(this->delegate_.await(1), nullptr);
  this->delegate_.await(0)->remoteObjectProxy()->logWithStdOut("to the first");
  this->delegate_.await(1)->remoteObjectProxy()->logWithStdOut("to the second");
  EXPECT_THAT(first.awaitLines(1), ElementsAre("to the first"));
  EXPECT_THAT(second.awaitLines(1), ElementsAre("to the second"));
}

TYPED_TEST(ListenerContract, ARefusedClientIsCutWithoutAnythingHavingRun) {
  this->delegate_.decide = [](const std::shared_ptr<Connection>&) { return false; };
  this->world_.listener().setDelegate(this->delegate_);
  this->world_.listener().resume();
  auto client = this->world_.connect();
  client.greet();
  client.removeScript("a");
  EXPECT_TRUE(client.isCut());
  this->world_.settle();
  EXPECT_THAT(this->object_.events(), IsEmpty());
}

TYPED_TEST(ListenerContract, AClientIsAcceptedAfterAnotherWasRefused) {
  this->delegate_.decide = [this](const std::shared_ptr<Connection>&) { return this->delegate_.count() == 1; };
  this->world_.listener().setDelegate(this->delegate_);
  this->world_.listener().resume();
  auto refused = this->world_.connect();
  refused.greet();
  ASSERT_NE(this->delegate_.await(0), nullptr);
  auto accepted = this->world_.connect();
  accepted.greet();
  ASSERT_NE(this->delegate_.await(1), nullptr);
  accepted.removeScript("a");
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("uninstallScriptWithFilename a"));
}

TYPED_TEST(ListenerContract, AClientThatComesAfterTheEndIsNotTaken) {
  this->world_.listener().setDelegate(this->delegate_);
  this->world_.listener().resume();
  auto before = this->world_.connect();
  before.removeScript("a");
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("uninstallScriptWithFilename a"));

  this->world_.listener().finish();
  auto after = this->world_.connect();
  after.greetInVain();
  this->world_.settle();
  EXPECT_EQ(this->delegate_.count(), 1U);
}

TYPED_TEST(ListenerContract, AClientThatWasTakenBeforeTheEndIsServedAfterIt) {
  this->world_.listener().setDelegate(this->delegate_);
  this->world_.listener().resume();
  auto client = this->world_.connect();
  client.removeScript("a");
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("uninstallScriptWithFilename a"));
  this->world_.listener().finish();
  client.removeScript("b");
  EXPECT_THAT(this->object_.awaitEvents(2),
              ElementsAre("uninstallScriptWithFilename a", "uninstallScriptWithFilename b"));
}

}  // namespace
}  // namespace wicket::contract
