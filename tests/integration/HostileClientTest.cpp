// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/RawClient.h"
#include "tests/support/Stopwatch.h"
#include "wire/BusNames.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using namespace std::string_view_literals;
using support::DBusBytes;
using support::RawClient;
using ::testing::HasSubstr;

/// One after the other; what is many times slower under a sanitizer needs to be done fewer times.
constexpr int manyConnections = isSanitized ? 2'000 : 10'000;
constexpr char getVersion[] = "getVersionWithCompletion_";
constexpr char removeByName[] = "uninstallScriptWithFilename_completion_";

class HostileClientTest : public IntegrationTest {
 protected:
  /// A helper that runs and a client that it serves.
  void SetUp() override {
    IntegrationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    expectServed(genuine());
    helper_ = helperPid();
  }
  /// Whatever happened, the same process still serves both the old client and a new one.
  void TearDown() override {
    if (helper_ != 0) {
      EXPECT_EQ(helperPid(), helper_);
      expectServed(genuine());
      expectServed(*connect());
    }
    IntegrationTest::TearDown();
  }
  static void expectServed(BusClient& client) {
    const auto reply = client.await(client.startVersion());
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->text, "9417");
  }
  static std::unique_ptr<RawClient> authenticated() {
    auto client = std::make_unique<RawClient>(wire::socketPath);
    if (!client->isConnected() || !client->authenticate()) throw std::runtime_error("the handshake failed");
    return client;
  }
  /// A client that sends these bytes after the handshake loses its connection.
  static void expectCutAfter(std::string_view bytes) {
    const auto client = authenticated();
    EXPECT_TRUE(client->send(bytes));
    EXPECT_TRUE(client->isClosedWithin(patience));
  }
  /// A removal with these bytes for its name is answered with an error and removes nothing.
  static void expectInconsistent(const std::string& name) {
    addScript("stays.sh", "#!/bin/bash\n");
    const auto client = authenticated();
    EXPECT_TRUE(client->send(DBusBytes::methodCall(1, removeByName, "s", name)));
    EXPECT_TRUE(hears(*client, "org.freedesktop.DBus.Error.InconsistentMessage"));
    EXPECT_TRUE(std::filesystem::exists(scriptFolder + "stays.sh"));
    EXPECT_TRUE(client->send(DBusBytes::methodCall(2, getVersion, "", "")));
    EXPECT_TRUE(hears(*client, "9417"));
  }
  pid_t helper() const { return helper_; }

 private:
  pid_t helper_ = 0;
};

TEST_F(HostileClientTest, MessagesMadeByHandAreAnswered) {
  const auto client = authenticated();
  EXPECT_TRUE(client->send(DBusBytes::methodCall(7, getVersion, "", "")));
  EXPECT_TRUE(hears(*client, "9417"));
}

TEST_F(HostileClientTest, ANameThatIsNotUtf8IsAnErrorAndRunsNothing) {
  expectInconsistent(DBusBytes::string("stays.sh\xFF"));
}

TEST_F(HostileClientTest, ANullInsideANameIsAnErrorAndRunsNothing) {
  expectInconsistent(DBusBytes::string("stays.sh\0x"sv));
}

TEST_F(HostileClientTest, AStringLongerThanItsMessageIsAnErrorAndRunsNothing) {
  expectInconsistent(DBusBytes::number(1'000'000) + "stays.sh");
}

TEST_F(HostileClientTest, GarbageInsteadOfAHandshakeCutsTheConnection) {
  for (const auto bytes : {"GET / HTTP/1.1\r\n\r\n"sv, "\x16\x03\x01\x02\x00\x01\x00\x01"sv, "\r\n\r\n"sv}) {
    RawClient client(wire::socketPath);
    static_cast<void>(client.send(bytes));
    EXPECT_TRUE(client.isClosedWithin(patience));
  }
}

TEST_F(HostileClientTest, GarbageAfterTheHandshakeCutsTheConnection) {
  expectCutAfter("this is no D-Bus message at all, whatever it may be");
}

TEST_F(HostileClientTest, AMessageThatAnnouncesMoreThanItMayHoldCutsTheConnection) {
  const auto before = ProcessInspection::residentBytes(helper());
  for (const std::uint32_t length : {0x7FFFFFFFU, 0xFFFFFFFFU, 64U << 20U, 2U << 20U}) {
    auto message = DBusBytes::methodCall(1, getVersion, "", "");
    message.replace(4, 4, DBusBytes::number(length));
    expectCutAfter(message);
  }
  EXPECT_LT(ProcessInspection::residentBytes(helper()), before + (isSanitized ? 64U << 20U : 4U << 20U));
}

TEST_F(HostileClientTest, AHandshakeThatIsNotFinishedIsDroppedAfterFiveSeconds) {
  const support::Stopwatch watch({helper()});
  const auto began = Clock::now();
  RawClient silent(wire::socketPath);
  RawClient half(wire::socketPath);
  EXPECT_TRUE(half.send("\0AUTH EXTERNAL 30\r\nNEGOTIATE_"sv));
  EXPECT_TRUE(silent.isClosedWithin(patience));
  EXPECT_GE(Clock::now() - began, 5s);
  EXPECT_TRUE(half.isClosedWithin(patience));
  EXPECT_LT(watch.elapsed(), 6s);
}

TEST_F(HostileClientTest, AHandshakeSentByteByByteDoesNotOutliveFiveSecondsEither) {
  const support::Stopwatch watch({helper()});
  RawClient slow(wire::socketPath);
  bool isOpen = slow.send("\0"sv);
  while (isOpen && watch.elapsed() < 6s) isOpen = slow.send("A") && !slow.isClosedWithin(200ms);
  EXPECT_FALSE(isOpen);
}

TEST_F(HostileClientTest, WrongTypesAreAnErrorAndNothingRuns) {
  const auto expectError = [&](BusClient::Serial serial) {
    const auto reply = genuine().await(serial);
    ASSERT_TRUE(reply);
    EXPECT_THAT(reply->error, HasSubstr("org.freedesktop.DBus.Error."));
  };
  addScript("stays.sh", "#!/bin/bash\necho > /run/was-started\n");
  expectError(genuine().start("runCommandWithFilename_arguments_completion_", [](sd_bus_message* message) {
    return sd_bus_message_append(message, "ss", "stays.sh", "x");
  }));
  expectError(genuine().start("runCommandWithFilename_arguments_completion_",
                              [](sd_bus_message* message) { return sd_bus_message_append(message, "s", "stays.sh"); }));
  expectError(genuine().start("uninstallScriptWithFilename_completion_",
                              [](sd_bus_message* message) { return sd_bus_message_append(message, "o", "/stays"); }));
  expectError(genuine().start("installScriptAt_authData_completion_", [](sd_bus_message* message) {
    return sd_bus_message_append(message, "ss", "/a,/b", "data");
  }));
  expectError(genuine().start("uninstallWithAll_",
                              [](sd_bus_message* message) { return sd_bus_message_append(message, "b", 1); }));
  expectError(
      genuine().start(getVersion, [](sd_bus_message* message) { return sd_bus_message_append(message, "s", "x"); }));
  EXPECT_TRUE(std::filesystem::exists(scriptFolder + "stays.sh"));
  EXPECT_FALSE(std::filesystem::exists("/run/was-started"));
}

TEST_F(HostileClientTest, UnknownMembersAreAnError) {
  for (const char* member : {"getVersion", "getVersionWithCompletion", "logWithStdOut_", "x"}) {
    const auto reply = genuine().await(genuine().start(member, [](sd_bus_message*) { return 0; }));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->error, "org.freedesktop.DBus.Error.UnknownMethod") << member;
  }
}

TEST_F(HostileClientTest, ThousandsOfConnectionsLeaveNothingBehind) {
  const auto descriptors = ProcessInspection::descriptorCount(helper());
  const auto threads = ProcessInspection::threadCount(helper());
  const auto memory = ProcessInspection::residentBytes(helper());
  for (int i = 0; i < manyConnections; ++i) {
    RawClient client(wire::socketPath);
    ASSERT_TRUE(client.isConnected()) << i;
    if (i % 100 == 0) expectServed(genuine());
  }
  expectServed(genuine());
  EXPECT_TRUE(eventually([&] { return ProcessInspection::descriptorCount(helper()) <= descriptors + 2; }));
  EXPECT_TRUE(eventually([&] { return ProcessInspection::threadCount(helper()) <= threads + 2; }));
  EXPECT_LT(ProcessInspection::residentBytes(helper()), memory + (isSanitized ? 256U << 20U : 16U << 20U));
}

TEST_F(HostileClientTest, ManyClientsThatSayWhoTheyAreAndGoLeaveNothingOpen) {
  const auto descriptors = ProcessInspection::descriptorCount(helper());
  const auto threads = ProcessInspection::threadCount(helper());
  const auto memory = ProcessInspection::residentBytes(helper());
  for (int i = 0; i < manyConnections / 5; ++i) {
    if (i % 100 == 0) expectServed(genuine());
    const auto client = authenticated();
    ASSERT_TRUE(client->send(DBusBytes::methodCall(1, getVersion, "", "")));
  }
  expectServed(genuine());
  EXPECT_TRUE(eventually([&] { return ProcessInspection::descriptorCount(helper()) <= descriptors + 2; }));
  EXPECT_TRUE(eventually([&] { return ProcessInspection::threadCount(helper()) <= threads + 2; }));
  EXPECT_LT(ProcessInspection::residentBytes(helper()), memory + (isSanitized ? 256U << 20U : 16U << 20U));
}

TEST_F(HostileClientTest, AThousandSilentConnectionsDoNotKeepAGenuineClientOut) {
  std::vector<std::unique_ptr<RawClient>> silent;
  for (int i = 0; i < 200; ++i) silent.push_back(std::make_unique<RawClient>(wire::socketPath));
  const support::Stopwatch watch({helper()});
  expectServed(*connect());
  EXPECT_LT(watch.elapsed(), 1s);
  for (int i = 0; i < 800; ++i) silent.push_back(std::make_unique<RawClient>(wire::socketPath));
  // The silent ones go after 5 s at the latest and make room.
  const auto late = connect();
  expectServed(*late);
}

TEST_F(HostileClientTest, AClientThatAsksWithoutReadingTheAnswersMakesTheHelperNeitherGrowNorSlow) {
  const auto memory = ProcessInspection::residentBytes(helper());
  const auto client = authenticated();
  client->giveUpSendingAfter(1s);
  std::string calls;
  for (std::uint32_t i = 1; i <= 1000; ++i) calls += DBusBytes::methodCall(i, getVersion, "", "");
  bool isTaken = true;
  for (int i = 0; isTaken && i < 500; ++i) isTaken = client->send(calls);
  EXPECT_FALSE(isTaken) << "nothing slowed the client down";
  static_cast<void>(genuine());
  const support::Stopwatch watch({helper()});
  expectServed(genuine());
  EXPECT_LT(watch.elapsed(), 1s);
  EXPECT_LT(ProcessInspection::residentBytes(helper()), memory + (isSanitized ? 200U << 20U : 16U << 20U));
}

}  // namespace
}  // namespace wicket::integration
