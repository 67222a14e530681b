// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <chrono>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/contract/RealListener.h"
#include "tests/support/Stopwatch.h"
#include "wire/BusNames.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using support::DBusBytes;
using support::RawClient;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class BusConnectionWireTest : public RealListener {
 protected:
  static std::string removal(const std::string& name, std::uint32_t serial = 1) {
    return DBusBytes::methodCall(serial, "uninstallScriptWithFilename_completion_", "s", DBusBytes::string(name));
  }
  /// Whether it is cut because of what it has sent, and not only when the time for the handshake is over.
  static bool isCutAtOnce(RawClient& client) {
    const support::Stopwatch watch;
    return client.isClosedWithin() && watch.elapsed() < 1s;
  }
  std::string errorFor(const std::string& member, const std::function<int(sd_bus_message*)>& fill) {
    const auto client = connect();
    const auto reply = client->await(client->start(member, fill));
    return reply ? reply->error : "no reply";
  }
};

TEST_F(BusConnectionWireTest, GarbageInsteadOfAHandshakeIsCutAtOnce) {
  RawClient client(path());
  client.send("GET / HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(isCutAtOnce(client));
  EXPECT_EQ(delegate_.count(), 0U);
  EXPECT_TRUE(answersOthers());
}

TEST_F(BusConnectionWireTest, GarbageInsteadOfAMessageIsCutAndRunsNothing) {
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  client.send("this is no D-Bus message, whatever one does with it");
  EXPECT_TRUE(client.isClosedWithin());
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(BusConnectionWireTest, AHandshakeWithoutEndIsCut) {
  RawClient client(path());
  client.send("\0"s + std::string(std::size_t{1} << 20U, 'A'));
  EXPECT_TRUE(isCutAtOnce(client));
}

TEST_F(BusConnectionWireTest, BeginWithoutAuthenticationIsCut) {
  RawClient client(path());
  client.send("\0BEGIN\r\n"s);
  EXPECT_TRUE(isCutAtOnce(client));
  EXPECT_EQ(delegate_.count(), 0U);
}

TEST_F(BusConnectionWireTest, AnUnfinishedHandshakeIsCutAfterFiveSecondsAndHoldsUpNobody) {
  const auto connected = std::chrono::steady_clock::now();
  const support::Stopwatch watch;
  RawClient silent(path());
  RawClient half(path());
  half.send("\0AUTH EXTERNAL 30\r\n"s);
  EXPECT_TRUE(answersOthers());
  EXPECT_LT(watch.elapsed(), 4s) << "the others had to wait until these were cut";
  EXPECT_TRUE(half.isClosedWithin());
  EXPECT_GE(std::chrono::steady_clock::now() - connected, 5s);
  EXPECT_TRUE(silent.isClosedWithin());
  EXPECT_LT(watch.elapsed(), 6s);
  EXPECT_EQ(delegate_.count(), 1U);
}

TEST_F(BusConnectionWireTest, CallsThatComeWithTheHandshakeAreDelivered) {
  RawClient client(path());
  client.send("\0AUTH EXTERNAL 30\r\nBEGIN\r\n"s + removal("a", 1) + removal("b", 2));
  EXPECT_THAT(object_.awaitEvents(2), ElementsAre("uninstallScriptWithFilename a", "uninstallScriptWithFilename b"));
}

TEST_F(BusConnectionWireTest, ACallThatArrivesByteByByteIsDelivered) {
  RawClient client(path());
  for (const char byte : "\0AUTH EXTERNAL 30\r\nBEGIN\r\n"s + removal("a")) {
    ASSERT_TRUE(client.send(std::string(1, byte)));
    std::this_thread::sleep_for(200us);
  }
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("uninstallScriptWithFilename a"));
}

TEST_F(BusConnectionWireTest, WrongTypesAreAnErrorAndNothingRuns) {
  const auto number = [](sd_bus_message* message) { return sd_bus_message_append(message, "i", 4); };
  const auto twoNames = [](sd_bus_message* message) { return sd_bus_message_append(message, "ss", "a", "b"); };
  const auto nothing = [](sd_bus_message*) { return 0; };
  for (const char* member : {"uninstallScriptAt_completion_", "runCommandWithFilename_arguments_completion_",
                             "installScriptAt_authData_completion_", "uninstallWithAll_"}) {
    EXPECT_EQ(errorFor(member, number), SD_BUS_ERROR_INVALID_ARGS) << member;
    EXPECT_EQ(errorFor(member, twoNames), SD_BUS_ERROR_INVALID_ARGS) << member;
    EXPECT_EQ(errorFor(member, nothing), SD_BUS_ERROR_INVALID_ARGS) << member;
  }
  EXPECT_THAT(object_.events(), testing::Each("invalidated"));
}

TEST_F(BusConnectionWireTest, AnUnknownMemberIsAnErrorAndTheConnectionGoesOn) {
  const auto client = connect();
  const auto reply = client->await(client->start("getVersion", [](sd_bus_message*) { return 0; }));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, SD_BUS_ERROR_UNKNOWN_METHOD);
  const auto version = client->await(client->startVersion());
  ASSERT_TRUE(version);
  EXPECT_EQ(version->text, "1");
}

TEST_F(BusConnectionWireTest, TextThatIsNotUtf8IsAnErrorOrTheEndButRunsNothing) {
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  client.send(removal("\xFF\xFE"));
  EXPECT_THAT(client.receiveUntil("org.freedesktop.DBus.Error"), HasSubstr("org.freedesktop.DBus.Error"));
  EXPECT_THAT(object_.events(), IsEmpty());
}

TEST_F(BusConnectionWireTest, AMessageThatCannotBeDecodedEndsTheConnection) {
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  std::string call = removal("a");
  call[16] = '\x7F';  // the code of the first header field
  call[17] = '\x7F';  // and the length of its signature
  client.send(call);
  EXPECT_TRUE(client.isClosedWithin());
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(BusConnectionWireTest, AMessageBeyondTheLimitEndsTheConnectionAsSoonAsItsHeaderIsThere) {
  RawClient client(path());
  ASSERT_TRUE(client.authenticate());
  std::string call = removal("a");
  const auto length = static_cast<std::uint32_t>(wire::messageSizeLimit);
  std::memcpy(call.data() + 4, &length, sizeof length);
  client.send(call.substr(0, 16));
  EXPECT_TRUE(client.isClosedWithin());
  EXPECT_THAT(object_.awaitEvents(1), ElementsAre("invalidated"));
}

TEST_F(BusConnectionWireTest, OneMebibyteOfAuthorizationDataPasses) {
  const auto client = connect();
  const std::vector<std::byte> data(std::size_t{1} << 20U);
  EXPECT_EQ(client->awaitCode(client->startInstall("a,b", data)), reply_code::success);
  EXPECT_THAT(object_.events(), ElementsAre("installScript a,b data 1048576"));
}

TEST_F(BusConnectionWireTest, EmptyDataIsAbsentData) {
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startInstall("a,b", {})), reply_code::success);
  EXPECT_THAT(object_.events(), ElementsAre("installScript a,b no data"));
}

TEST_F(BusConnectionWireTest, ArgumentsKeepTheirOrderAndTenThousandOfThemPass) {
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("name", {"x", "", "y z"})), reply_code::success);
  EXPECT_EQ(client->awaitCode(client->startRun("many", std::vector<std::string>(10000, "argument"))), 0);
  const auto events = object_.events();
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0], "runCommand name [x] [] [y z]");
  EXPECT_EQ(events[1].size(), std::string("runCommand many").size() + 10000 * std::string(" [argument]").size());
}

TEST_F(BusConnectionWireTest, AnyNonZeroByteIsTrue) {
  const auto client = connect();
  for (const int value : {0, 1, 2, 128, 255}) ASSERT_TRUE(client->uninstall(static_cast<std::uint8_t>(value)));
  ASSERT_TRUE(client->flush());
  EXPECT_THAT(object_.awaitEvents(5),
              ElementsAre("uninstall", "uninstall all", "uninstall all", "uninstall all", "uninstall all"));
}

TEST_F(BusConnectionWireTest, LinesTravelWithANullCharacterShownAsItsSymbol) {
  const auto client = connectAndGreet();
  const auto connection = delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  connection->remoteObjectProxy()->logWithStdOut("a\0b \uFFFF"s);
  EXPECT_TRUE(client->awaitLog("a\u2400b \uFFFD"));
}

TEST_F(BusConnectionWireTest, AClientWithoutARemoteInterfaceHasNoProxy) {
  delegate_.namesRemoteInterface = false;
  const auto client = connectAndGreet();
  const auto connection = delegate_.await(0);
  ASSERT_NE(connection, nullptr);
  EXPECT_EQ(connection->remoteObjectProxy(), nullptr);
}

}  // namespace
}  // namespace wicket::contract
