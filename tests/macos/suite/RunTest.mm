// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"
#include "tests/support/ComesTrue.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::suite {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// Runs real children. The installed script exists in memory only, but its interpreter is a program on the disk.
class RunTest : public HelperTest {
 protected:
  void SetUp() override {
    HelperTest::SetUp();
    files().addDirectory("/var");
    files().addDirectory("/var/orvane");
  }
  void installScript(const std::string& name, const std::string& interpreter) {
    files().addFile("/var/orvane/" + name, "#!" + interpreter + "\n", 0755);
  }
  std::string makeInterpreter(const std::string& content) {
    const std::string path = folder_.path("interpreter");
    std::ofstream(path) << "#!/bin/sh\n" << content;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
  void run(const Client& client, NSString* name, NSArray* arguments) {
    client.call([&](id<HelperProtocol> helper) {
      [helper runCommandWithFilename:name arguments:arguments completion:replies_.code()];
    });
  }

  /// What its scripts have sent to the client, without the helper's own line about their start, once it is as long as
  /// @p expected or a test's patience is over.
  static std::string awaitOutput(const Client& client, const std::string& expected) {
    std::string output;
    (void)support::comesTrue([&] {
      output.clear();
      for (const std::string& line : client.lines()) {
        if (line != "Script at /var/orvane/s was executed successfully.") output += line;
      }
      return output.size() >= expected.size();
    });
    return output;
  }

  const support::TemporaryFolder folder_;
  Replies replies_;
};

TEST_F(RunTest, TheOutputOfAChildGoesToTheClientAndItsStartIsTheOnlyAnswer) {
  installScript("s", makeInterpreter("echo \"$1\"; echo wrong >&2; exit 3"));
  const Client client;
  ASSERT_TRUE(client.connect());
  run(client, @"s", @[]);
  EXPECT_THAT(replies_.all(), ElementsAre("0"));
  EXPECT_THAT([client.companion() awaitLines:4],
              UnorderedElementsAre("/var/orvane/s\n", "wrong\n", "Script at /var/orvane/s was executed successfully.",
                                   "ERROR: Execution of the script at /var/orvane/s failed with exit code 3."));
}

TEST_F(RunTest, TheExitStatusOfAChildIsNoSecondAnswer) {
  installScript("s", makeInterpreter("exit 3"));
  const Client client;
  ASSERT_TRUE(client.connect());
  run(client, @"s", @[]);
  EXPECT_EQ([client.companion() awaitLines:2].size(), 2U) << "one about the start and one about the end";
  // A second answer would be there by now, or in a moment.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_THAT(replies_.all(), ElementsAre("0"));
}

TEST_F(RunTest, TheOutputGoesToTheClientThatWasNewestWhenItsScriptWasStarted) {
  installScript("s", "/bin/echo");
  const Client caller;
  const Client newest;
  ASSERT_TRUE(caller.connect());
  ASSERT_TRUE(newest.connect());
  run(caller, @"s", @[]);
  EXPECT_EQ(awaitOutput(newest, "/var/orvane/s\n"), "/var/orvane/s\n");
  EXPECT_THAT(caller.lines(), IsEmpty());
}

TEST_F(RunTest, AScriptThatIsNotInstalledIsReportedToTheNewestClient) {
  const Client caller;
  const Client newest;
  ASSERT_TRUE(caller.connect());
  ASSERT_TRUE(newest.connect());
  run(caller, @"missing", @[]);
  EXPECT_THAT(replies_.all(), ElementsAre("756"));
  EXPECT_THAT(newest.lines(),
              ElementsAre("ERROR: The priviliged script \"missing\" was not executed, as it was not found. Please "
                          "install it again."));
  EXPECT_THAT(caller.lines(), IsEmpty());
}

TEST_F(RunTest, AScriptWhoseInterpreterIsMissingIsReportedAsNotStarted) {
  installScript("s", folder_.path("nothing"));
  const Client client;
  ASSERT_TRUE(client.connect());
  run(client, @"s", @[]);
  EXPECT_THAT(replies_.all(), ElementsAre("681"));
}

TEST_F(RunTest, AChildOutlivesItsConnectionAndItsLaterOutputIsDropped) {
  const std::string mark = folder_.path("mark");
  installScript("s", makeInterpreter("echo one; while [ ! -e '" + mark + "' ]; do sleep 0.02; done; echo two; touch '" +
                                     mark + "2'"));
  const Client client;
  ASSERT_TRUE(client.connect());
  run(client, @"s", @[]);
  EXPECT_EQ(awaitOutput(client, "one\n"), "one\n");
  [client.connection() wicketClose];
  std::ofstream(mark) << "";
  EXPECT_TRUE(support::comesTrue([&] { return std::filesystem::exists(mark + "2"); }));
  EXPECT_EQ(awaitOutput(client, ""), "one\n");
}

TEST_F(RunTest, MuchOutputArrivesWholeAndInOrder) {
  installScript("s", makeInterpreter("i=0; while [ $i -lt 20000 ]; do echo $i; i=$((i+1)); done; echo end"));
  const Client client;
  ASSERT_TRUE(client.connect());
  run(client, @"s", @[]);
  std::string expected;
  for (int i = 0; i < 20000; ++i) expected += std::to_string(i) + "\n";
  expected += "end\n";
  const std::string received = awaitOutput(client, expected);
  EXPECT_TRUE(received == expected) << received.size() << " bytes instead of " << expected.size();
}

}  // namespace
}  // namespace wicket::suite
