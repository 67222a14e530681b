// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacUnifiedLog.h"
#include "adapters/macos/XpcConnection.h"
#include "helper/clients/LogUtil.h"
#include "tests/macos/frameworks/SystemVersion.h"
#include "tests/macos/frameworks/UnifiedLog.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using UnifiedLogTest = FrameworkTest;

TEST_F(UnifiedLogTest, TheStartUpLineIsAFaultWithTwoPrivateTexts) {
  MacWithOwnFiles platform;
  const auto helper = std::make_shared<PrivilegedHelper>(platform);
  EXPECT_THAT(recorded("log"), ElementsAre("log fault %s - %s: TlvPrivilegedHelper was initialized... - "));
}

TEST_F(UnifiedLogTest, NothingIsWrittenBeforeMacOs11) {
  frameworks::setSystemVersion(10, 15);
  MacWithOwnFiles platform;
  const auto helper = std::make_shared<PrivilegedHelper>(platform);
  EXPECT_THAT(recorded("log"), IsEmpty());
}

TEST_F(UnifiedLogTest, TheLogIsThereFromMacOs11On) {
  const macos_adapter::MacUnifiedLog log;
  frameworks::setSystemVersion(10, 16);
  EXPECT_FALSE(log.isAvailable());
  frameworks::setSystemVersion(11, 0);
  EXPECT_TRUE(log.isAvailable());
}

TEST_F(UnifiedLogTest, NothingIsWrittenWhileFaultsAreSwitchedOff) {
  frameworks::UnifiedLog::takesFaults = false;
  EXPECT_FALSE(macos_adapter::MacUnifiedLog().isFaultEnabled());
  MacWithOwnFiles platform;
  const auto helper = std::make_shared<PrivilegedHelper>(platform);
  EXPECT_THAT(recorded("log"), IsEmpty());
}

class ClientLogTest : public FrameworkTest {
 protected:
  ClientLogTest() { connection_->setRemoteObjectInterface(app_protocol::interface); }
  void TearDown() override {
    connection_->invalidate();
    FrameworkTest::TearDown();
  }

  const Client client_;
  const std::shared_ptr<macos_adapter::XpcConnection> connection_ = std::make_shared<macos_adapter::XpcConnection>(
      client_.connection(), std::make_shared<macos_adapter::ServedCalls>());
};

TEST_F(ClientLogTest, ALineGoesToTheClientsObject) {
  LogUtil::log("gr\u00fc\u00df dich", connection_);
  EXPECT_THAT(client_.lines(), ElementsAre("gr\u00fc\u00df dich"));
}

TEST_F(ClientLogTest, ALineKeepsItsEmbeddedNul) {
  LogUtil::log(std::string("a\0b", 3), connection_);
  EXPECT_THAT(client_.lines(), ElementsAre(std::string("a\0b", 3)));
}

TEST_F(ClientLogTest, NothingIsSentToAnObjectThatIsNotOfTheCompanionsProtocol) {
  client_.connection().wicketProxyConforms = NO;
  EXPECT_EQ(connection_->remoteObjectProxy(), nullptr);
  LogUtil::log("text", connection_);
  EXPECT_THAT(client_.lines(), IsEmpty());
}

TEST_F(ClientLogTest, NothingIsSentBeforeTheClientsInterfaceIsKnown) {
  client_.connection().remoteObjectInterface = nil;
  LogUtil::log("text", connection_);
  EXPECT_THAT(client_.lines(), IsEmpty());
}

TEST_F(ClientLogTest, AnEmptyTextIsNotSent) {
  LogUtil::log("", connection_);
  EXPECT_THAT(client_.lines(), IsEmpty());
}

TEST_F(ClientLogTest, ALineAfterTheInvalidationIsDropped) {
  const auto proxy = connection_->remoteObjectProxy();
  ASSERT_NE(proxy, nullptr);
  connection_->invalidate();
  proxy->logWithStdOut("late");
  EXPECT_THAT(client_.lines(), IsEmpty());
}

TEST_F(ClientLogTest, BytesThatAreNotUtf8AreNotSent) {
  const auto proxy = connection_->remoteObjectProxy();
  ASSERT_NE(proxy, nullptr);
  proxy->logWithStdOut("\xff");
  EXPECT_THAT(client_.lines(), IsEmpty());
}

}  // namespace
}  // namespace wicket::suite
