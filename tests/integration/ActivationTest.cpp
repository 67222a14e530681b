// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/JournalSocket.h"
#include "tests/support/Program.h"
#include "tests/support/RawClient.h"
#include "wire/BusNames.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::Program;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class ActivationTest : public IntegrationTest {};

TEST_F(ActivationTest, TheHelperStartsWithTheFirstConnectionOnly) {
  EXPECT_EQ(helperPid(), 0);
  const auto client = connectAndGreet();
  EXPECT_NE(helperPid(), 0);
}

TEST_F(ActivationTest, AFirstClientThatAsksWithItsHandshakeIsServed) {
  using namespace std::string_literals;
  ASSERT_EQ(helperPid(), 0);
  support::RawClient client(wire::socketPath);
  ASSERT_TRUE(client.send("\0AUTH EXTERNAL 30\r\nBEGIN\r\n"s +
                          support::DBusBytes::methodCall(7, "getVersionWithCompletion_", "", "")));
  EXPECT_TRUE(hears(client, "9417"));
}

TEST_F(ActivationTest, AHelperThatIsNoLongerTheInstalledOneAcceptsNobodyAndServesWhomItHas) {
  const std::string helper = "/run/helper";
  std::filesystem::copy_file(helperExecutable(), helper);
  activateThrough(helper);
  const auto client = connectAndGreet();
  std::filesystem::copy_file(helperExecutable(), "/run/newer");
  std::filesystem::rename("/run/newer", helper);
  const auto newcomer = connect();
  const auto refused = newcomer->await(newcomer->startVersion());
  EXPECT_TRUE(refused && !refused->error.empty());
  const auto served = client->await(client->startVersion());
  EXPECT_TRUE(served && served->error.empty());
}

TEST_F(ActivationTest, WithoutASocketTheHelperSaysSoInOneLineAndFails) {
  const auto helper = Program::run({"env", "-u", "LISTEN_FDS", "-u", "LISTEN_PID", helperExecutable()});
  EXPECT_GT(helper.status, 0);
  EXPECT_LT(helper.status, 128);
  EXPECT_EQ(helper.output, "");
  EXPECT_THAT(helper.errors, AllOf(HasSubstr("socket"), EndsWith("\n")));
  EXPECT_EQ(std::ranges::count(helper.errors, '\n'), 1);
}

TEST_F(ActivationTest, ADescriptorThatIsNoListeningSocketIsRefused) {
  const auto helper =
      Program::run({"bash", "-c", "LISTEN_FDS=1 LISTEN_PID=$$ exec " + helperExecutable() + " 3</dev/null"});
  EXPECT_GT(helper.status, 0);
  EXPECT_LT(helper.status, 128);
  EXPECT_EQ(std::ranges::count(helper.errors, '\n'), 1);
}

TEST_F(ActivationTest, ASocketMeantForAnotherProcessIsRefused) {
  const auto helper =
      Program::run({"bash", "-c", "LISTEN_FDS=1 LISTEN_PID=1 exec " + helperExecutable() + " 3</dev/null"});
  EXPECT_GT(helper.status, 0);
  EXPECT_LT(helper.status, 128);
}

TEST_F(ActivationTest, TheStartIsWrittenToTheJournalAsACriticalEntry) {
  support::JournalSocket journal;
  const auto client = connectAndGreet();
  std::optional<support::JournalSocket::Entry> entry;
  ASSERT_TRUE(eventually([&] { return (entry = journal.receive()).has_value(); }));
  EXPECT_EQ(entry->at("MESSAGE"), "TlvPrivilegedHelper was initialized... - ");
  EXPECT_EQ(entry->at("PRIORITY"), "2");
  client->pumpFor(200ms);
  EXPECT_FALSE(journal.receive()) << "something else was logged";
}

TEST_F(ActivationTest, SystemdsOwnActivatorStartsTheHelperToo) {
  stopActivator();
  const std::string socket = wire::socketPath;
  std::vector<std::string> words{"/usr/bin/systemd-socket-activate", "--listen=" + socket, helperExecutable()};
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, 2, "/run/activator.errors", O_CREAT | O_WRONLY, 0600);
  pid_t activator = -1;
  ASSERT_EQ(::posix_spawn(&activator, arguments[0], &quiet, nullptr, arguments.data(), environ), 0);
  posix_spawn_file_actions_destroy(&quiet);

  addScript("job.sh", "#!/bin/bash\nenv | grep LISTEN_\nexit 3\n");
  std::unique_ptr<BusClient> client;
  ASSERT_TRUE(eventually([&] { return (client = BusClient::connect(socket)) != nullptr; }));
  const auto version = client->await(client->startVersion());
  ASSERT_TRUE(version);
  EXPECT_EQ(version->text, "9417");
  const auto serial = client->startRun("job.sh");
  EXPECT_EQ(client->awaitExit(serial), 3);
  EXPECT_THAT(client->log(), ::testing::Not(HasSubstr("LISTEN_")));
  // The helper took the activator's place, and so it is ours to end.
  ::kill(activator, SIGKILL);
  ::waitpid(activator, nullptr, 0);
}

TEST_F(ActivationTest, SelfRemovalRemovesTheJobAndThenTheInstalledFile) {
  support::PrivateFolders folders;
  const std::filesystem::path executable = WICKET_INSTALLED_HELPER;
  ASSERT_TRUE(folders.replace(executable.parent_path()));
  writeFile(executable, "the installed helper");
  replaceSystemctl(0);
  const auto client = connectAndGreet();
  ASSERT_TRUE(client->uninstall(0));
  EXPECT_TRUE(eventually([&] { return !std::filesystem::exists(executable); }));
  client->pumpFor(200ms);
  const auto called = readFile("/run/systemctl.called");
  EXPECT_THAT(called, HasSubstr("net.orvane.Wicket.TlvPrivilegedHelper.socket"));
  EXPECT_EQ(client->log(), "");
}

TEST_F(ActivationTest, TheInstalledFileStaysWhenTheJobCannotBeRemoved) {
  support::PrivateFolders folders;
  const std::filesystem::path executable = WICKET_INSTALLED_HELPER;
  ASSERT_TRUE(folders.replace(executable.parent_path()));
  writeFile(executable, "the installed helper");
  const auto client = connectAndGreet();
  ASSERT_TRUE(client->uninstall(0));
  EXPECT_TRUE(eventually([] { return std::filesystem::exists("/run/systemctl.called"); }));
  client->pumpFor(500ms);
  EXPECT_TRUE(std::filesystem::exists(executable));
}

TEST_F(ActivationTest, SelfRemovalKeepsTheScriptsUnlessAllIsAskedFor) {
  addScript("job.sh", "#!/bin/bash\n");
  const auto client = connectAndGreet();
  ASSERT_TRUE(client->uninstall(0));
  ASSERT_TRUE(client->await(client->startVersion()));
  EXPECT_TRUE(std::filesystem::exists(scriptFolder + "job.sh"));
}

TEST_F(ActivationTest, AnyByteButZeroAsksForAll) {
  for (const int byte : {1, 2, 128, 255}) {
    addScript("job.sh", "#!/bin/bash\n");
    const auto client = connectAndGreet();
    ASSERT_TRUE(client->uninstall(static_cast<std::uint8_t>(byte)));
    ASSERT_TRUE(client->await(client->startVersion()));
    EXPECT_FALSE(std::filesystem::exists("/var/orvane")) << byte;
    EXPECT_EQ(client->log(), "");
  }
}

}  // namespace
}  // namespace wicket::integration
