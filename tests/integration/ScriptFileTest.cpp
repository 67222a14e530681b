// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/integration/IntegrationTest.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;

/// Scripts whose files are odd.
class ScriptFileTest : public IntegrationTest {
 protected:
  static void expectNoTool(const std::string& content) {
    const auto path = addScript("odd.sh", content);
    const auto client = connect();
    EXPECT_EQ(client->awaitCode(client->startRun("odd.sh")), 411);
    EXPECT_TRUE(client->awaitLog(line::noTool(path)));
    EXPECT_EQ(client->log(), line::noTool(path));
  }
};

TEST_F(ScriptFileTest, AnEmptyScriptHasNoTool) { expectNoTool(""); }

TEST_F(ScriptFileTest, TheTwoCharactersAloneNameNoTool) { expectNoTool("#!"); }

TEST_F(ScriptFileTest, BlanksAfterTheTwoCharactersNameNoTool) { expectNoTool("#! \t \n/bin/bash\n"); }

TEST_F(ScriptFileTest, AByteOrderMarkHidesTheTool) { expectNoTool("\xEF\xBB\xBF#!/bin/bash\nexit 0\n"); }

TEST_F(ScriptFileTest, ABlankBeforeTheTwoCharactersHidesTheTool) { expectNoTool(" #!/bin/bash\nexit 0\n"); }

TEST_F(ScriptFileTest, AFirstLineThatEndsInCrLfNamesItsToolWithoutTheCr) {
  addScript("dos.sh", "#!/bin/echo given\r\nexit 3\r\n");
  const auto client = connect();
  const auto serial = client->startRun("dos.sh");
  EXPECT_EQ(client->awaitCode(serial), 0);
  EXPECT_EQ(client->awaitExit(serial), 0);
  EXPECT_TRUE(client->awaitLog("given /var/orvane/dos.sh\n"));
}

TEST_F(ScriptFileTest, WordsOfTheFirstLineComeBeforeThePath) {
  addScript("words.sh", "#! /bin/echo -e\t one   two\n");
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("words.sh")), 0);
  EXPECT_TRUE(client->awaitLog("one two /var/orvane/words.sh\n"));
}

TEST_F(ScriptFileTest, AScriptOfManyMegabytesRuns) {
  std::string content = "#!/bin/bash\nexit 6\n";
  content.append(isSanitized ? 10'000'000 : 100'000'000, '#');
  addScript("large.sh", content);
  const auto client = connect();
  const auto serial = client->startRun("large.sh");
  EXPECT_EQ(client->awaitCode(serial), 0);
  EXPECT_EQ(client->awaitExit(serial), 6);
}

TEST_F(ScriptFileTest, AFifoInTheScriptFolderCannotBeReadAndHoldsNobodyUp) {
  addScript("other.sh", "#!/bin/bash\n");
  ASSERT_EQ(::mkfifo((scriptFolder + "fifo.sh").c_str(), 0500), 0);
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("fifo.sh")), 367);
  EXPECT_TRUE(client->awaitLog(line::unreadable(scriptFolder + "fifo.sh")));
  EXPECT_TRUE(client->awaitLog(line::notExecuted(scriptFolder + "fifo.sh")));
}

TEST_F(ScriptFileTest, AnEmptyNameMeansTheFolderItself) {
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("")), 756);
  EXPECT_TRUE(client->awaitLog(line::notFound("")));
  std::filesystem::create_directories(scriptFolder);
  EXPECT_EQ(client->awaitCode(client->startRun("")), 367);
  EXPECT_TRUE(client->awaitLog(line::unreadable(scriptFolder)));
  EXPECT_TRUE(client->awaitLog(line::notExecuted(scriptFolder)));
}

TEST_F(ScriptFileTest, ANameWithANewlineIsJoinedAsItIs) {
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("a\nb.sh")), 756);
  EXPECT_TRUE(client->awaitLog(line::notFound("a\nb.sh")));
  addScript("a\nb.sh", "#!/bin/bash\nexit 8\n");
  const auto serial = client->startRun("a\nb.sh");
  EXPECT_EQ(client->awaitCode(serial), 0);
  EXPECT_EQ(client->awaitExit(serial), 8);
  EXPECT_TRUE(client->awaitLog(line::failure("/var/orvane/a\nb.sh", 8)));
}

TEST_F(ScriptFileTest, ANameOf4KilobytesIsNotFound) {
  const std::string name(4096, 'n');
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun(name)), 756);
  EXPECT_TRUE(client->awaitLog(line::notFound(name)));
}

TEST_F(ScriptFileTest, TenThousandArgumentsAreTakenAndNotPassedOn) {
  addScript("count.sh", "#!/bin/bash\necho \"$# arguments\"\n");
  const auto client = connect();
  const auto serial = client->startRun("count.sh", std::vector<std::string>(10'000, "an argument"));
  EXPECT_EQ(client->awaitCode(serial), 0);
  EXPECT_EQ(client->awaitExit(serial), 0);
  EXPECT_TRUE(client->awaitLog("0 arguments\n"));
}

}  // namespace
}  // namespace wicket::integration
