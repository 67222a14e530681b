// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "tests/contract/ClientWorlds.h"

namespace wicket::contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <typename World>
class ConnectionContract : public testing::Test {
 protected:
  void SetUp() override {
    world_.listener().setDelegate(delegate_);
    world_.listener().resume();
  }
  auto connectedClient() {
    auto client = world_.connect();
    client.greet();
    return client;
  }

  doubles::RecordingHelperObject object_;
  TestDelegate delegate_{object_};
  World world_;
};

using ConnectionWorldTypes = testing::Types<RealClients, DoubledClients>;
TYPED_TEST_SUITE(ConnectionContract, ConnectionWorldTypes, ClientWorldNames);

TYPED_TEST(ConnectionContract, NoCallIsDeliveredBeforeTheConnectionIsResumed) {
  this->delegate_.resumes = false;
  auto client = this->connectedClient();
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  client.removeScript("a");
  this->world_.settle();
  EXPECT_THAT(this->object_.events(), IsEmpty());

  connection->resume();
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("uninstallScriptWithFilename a"));
}

TYPED_TEST(ConnectionContract, CallsAreDeliveredInTheOrderTheyWereSent) {
  auto client = this->connectedClient();
  client.removeScript("a");
  client.removeScript("b");
  client.removeScript("c");
  EXPECT_THAT(
      this->object_.awaitEvents(3),
      ElementsAre("uninstallScriptWithFilename a", "uninstallScriptWithFilename b", "uninstallScriptWithFilename c"));
}

TYPED_TEST(ConnectionContract, LinesReachTheClientInOrder) {
  auto client = this->connectedClient();
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  const auto proxy = connection->remoteObjectProxy();
  ASSERT_NE(proxy, nullptr);
  proxy->logWithStdOut("first");
  proxy->logWithStdOut("second\n");
  proxy->logWithStdOut("third");
  EXPECT_THAT(client.awaitLines(3), ElementsAre("first", "second\n", "third"));
}

TYPED_TEST(ConnectionContract, TheInvalidationHandlerRunsOnceAfterALocalInvalidation) {
  auto client = this->connectedClient();
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  connection->invalidate();
  connection->invalidate();
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("invalidated"));
  EXPECT_TRUE(client.isCut());
  client.close();
  this->world_.settle();
  EXPECT_THAT(this->object_.events(), ElementsAre("invalidated"));
}

TYPED_TEST(ConnectionContract, TheInvalidationHandlerRunsOnceAfterTheClientHasClosed) {
  auto client = this->connectedClient();
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  client.close();
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("invalidated"));
  connection->invalidate();
  this->world_.settle();
  EXPECT_THAT(this->object_.events(), ElementsAre("invalidated"));
}

TYPED_TEST(ConnectionContract, ARunningCallReturnsBeforeTheInvalidationHandlerRuns) {
  std::shared_ptr<Connection> connection;
  this->object_.onCode = [&](const HelperProtocol::CodeCompletion& completion) {
    connection->invalidate();
    this->world_.settle();
    completion(reply_code::success);
    this->object_.record("returned");
  };
  this->delegate_.decide = [&](const std::shared_ptr<Connection>& offered) {
    connection = offered;
    return true;
  };
  auto client = this->connectedClient();
  client.removeScript("a");
  EXPECT_THAT(this->object_.awaitEvents(3), ElementsAre("uninstallScriptWithFilename a", "returned", "invalidated"));
}

TYPED_TEST(ConnectionContract, ACallThatHasNotStartedIsNotDeliveredAfterAnInvalidation) {
  this->delegate_.resumes = false;
  auto client = this->connectedClient();
  client.removeScript("a");
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  connection->invalidate();
  connection->resume();
  EXPECT_THAT(this->object_.awaitEvents(1), ElementsAre("invalidated"));
  this->world_.settle();
  EXPECT_THAT(this->object_.events(), ElementsAre("invalidated"));
}

TYPED_TEST(ConnectionContract, WhatAClientSentBeforeItClosedIsDeliveredBeforeTheInvalidationHandlerRuns) {
  this->delegate_.resumes = false;
  auto client = this->connectedClient();
  client.removeScript("a");
  client.removeScript("b");
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  client.close();
  this->world_.settle();
  connection->resume();
  EXPECT_THAT(this->object_.awaitEvents(3),
              ElementsAre("uninstallScriptWithFilename a", "uninstallScriptWithFilename b", "invalidated"));
}

TYPED_TEST(ConnectionContract, ALineAfterTheInvalidationIsDropped) {
  auto client = this->connectedClient();
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  const auto proxy = connection->remoteObjectProxy();
  ASSERT_NE(proxy, nullptr);
  proxy->logWithStdOut("before");
  EXPECT_THAT(client.awaitLines(1), ElementsAre("before"));
  connection->invalidate();
  proxy->logWithStdOut("after");
  EXPECT_TRUE(client.isCut());
  EXPECT_THAT(client.awaitLines(1), ElementsAre("before"));
}

TYPED_TEST(ConnectionContract, NobodyWaitsForTheCapacityOfAnInvalidatedConnection) {
  auto client = this->connectedClient();
  const auto connection = this->delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  connection->waitForCapacity();
  connection->invalidate();
  connection->waitForCapacity();
  EXPECT_TRUE(client.isCut());
}

}  // namespace
}  // namespace wicket::contract
