// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/integration/NumberedLines.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

/// What scripts write and how it arrives.
class ScriptOutputTest : public IntegrationTest {
 protected:
  void TearDown() override {
    client_.reset();
    IntegrationTest::TearDown();
  }

  /// Runs a script to its end and gives what it wrote, without the helper's own lines.
  std::string outputOf(const std::string& body) {
    const auto path = addScript("writer.sh", "#!/bin/bash\n" + untilRead + body + "\n");
    client_ = connect();
    const auto serial = client_->startRun("writer.sh");
    EXPECT_EQ(client_->awaitCode(serial), 0);
    EXPECT_TRUE(client_->awaitExit(serial));
    client_->pumpFor(50ms);
    std::string text;
    for (const auto& chunk : client_->chunks()) {
      if (chunk.text != line::success(path)) text += chunk.text;
    }
    return text;
  }
  BusClient& client() { return *client_; }

 private:
  /// For scripts: waits until nothing of what has been written is left in the pipe, so that the helper reads what comes
  /// next by itself.
  inline static const std::string untilRead =
      "until_read() { perl -e 'do { select undef, undef, undef, 0.005; ioctl STDOUT, 0x541B, $left = pack \"i\", 0 or "
      "die }"
      " while unpack \"i\", $left'; }\n";

  std::unique_ptr<BusClient> client_;
};

TEST_F(ScriptOutputTest, BothStreamsArriveWhileTheScriptStillRuns) {
  addScript("steps.sh",
            "#!/bin/bash\necho one\nuntil [[ -e /run/go ]]; do sleep 0.02; done\necho two >&2\nsleep 1000\n");
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("steps.sh")), 0);
  ASSERT_TRUE(client->awaitLog("one\n"));
  writeFile("/run/go", "");
  EXPECT_TRUE(client->awaitLog("two\n"));
  EXPECT_LT(client->log().find("one\n"), client->log().find("two\n"));
}

TEST_F(ScriptOutputTest, OutputWithoutANewlineArrivesAtOnce) {
  addScript("prompt.sh", "#!/bin/bash\nprintf 'no newline'\nsleep 1000\n");
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("prompt.sh")), 0);
  EXPECT_TRUE(client->awaitLog("no newline"));
}

TEST_F(ScriptOutputTest, ACharacterWrittenInPiecesArrivesWhole) {
  EXPECT_EQ(outputOf(R"(printf 'a\xe2'; until_read; printf '\x82'; until_read; printf '\xac|'; until_read; )"
                     R"(printf '\xf0\x9f'; until_read; printf '\x98\x80\n')"),
            "a\xE2\x82\xAC|\xF0\x9F\x98\x80\n");
}

TEST_F(ScriptOutputTest, OutputThatIsNotUtf8IsDroppedPieceByPiece) {
  EXPECT_EQ(outputOf(R"(echo before; until_read; printf 'bad \xff\xfe bytes\n'; until_read; echo after)"),
            "before\nafter\n");
}

TEST_F(ScriptOutputTest, AnUnfinishedCharacterAtTheEndIsDropped) {
  EXPECT_EQ(outputOf(R"(echo text; until_read; printf '\xe2\x82')"), "text\n");
}

TEST_F(ScriptOutputTest, BinaryOutputDoesTheHelperNoHarm) {
  const auto text = outputOf("head -c 5000000 /dev/urandom; echo; until_read; echo survived");
  EXPECT_THAT(text, HasSubstr("survived\n"));
  const auto reply = client().await(client().startVersion());
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->text, "9417");
}

TEST_F(ScriptOutputTest, ANullCharacterArrivesAsItsSymbol) {
  EXPECT_EQ(outputOf(R"(printf 'a\0b\n')"),
            "a\xE2\x90\x80"
            "b\n");
}

TEST_F(ScriptOutputTest, AHundredMegabytesOrAllThatFlowsIn20SecondsArriveInOrder) {
  constexpr std::size_t length = 100'000'000;
  const auto path = addScript("long.sh", "#!/bin/bash\n" + NumberedLines::commandUntil("/run/stop", "/run/length"));
  const auto reader = connect();
  NumberedLines lines;
  reader->setLogSink([&](std::string_view text) {
    if (text != line::success(path)) lines.take(text);
  });
  const auto serial = reader->startRun("long.sh");
  reader->pumpUntil([&] { return lines.length() >= length || Clock::now() > reader->connectedAt() + 20s; }, patience);
  writeFile("/run/stop", "");
  EXPECT_EQ(reader->awaitExit(serial), 0);
  EXPECT_TRUE(lines.areInOrder());
  EXPECT_EQ(std::to_string(lines.length()) + "\n", readFile("/run/length"));
}

TEST_F(ScriptOutputTest, EverythingThatTheScriptWroteComesBeforeItsStatusLine) {
  const auto path = addScript("burst.sh", "#!/bin/bash\nseq 1 20000\necho the end\n");
  const auto reader = connect();
  const auto serial = reader->startRun("burst.sh");
  EXPECT_EQ(reader->awaitExit(serial), 0);
  ASSERT_FALSE(reader->chunks().empty());
  EXPECT_EQ(reader->chunks().back().text, line::success(path));
  EXPECT_THAT(reader->log(), HasSubstr("20000\nthe end\n"));
}

TEST_F(ScriptOutputTest, ADescendantThatOutlivesTheScriptStillReachesTheClient) {
  const auto path =
      addScript("parent.sh", "#!/bin/bash\n(until [[ -e /run/go ]]; do sleep 0.02; done; echo late) &\nexit 5\n");
  const auto reader = connect();
  const auto serial = reader->startRun("parent.sh");
  EXPECT_EQ(reader->awaitExit(serial), 5);
  EXPECT_THAT(reader->log(), Not(HasSubstr("late")));
  writeFile("/run/go", "");
  EXPECT_TRUE(reader->awaitLog("late\n"));
}

TEST_F(ScriptOutputTest, TheScriptsInputIsOpenAndEmpty) {
  // 142: the read ran into its time limit. At the end of the input it would be 1.
  EXPECT_EQ(outputOf("read -t 0.5 word; echo \"read: $?\""), "read: 142\n");
}

TEST_F(ScriptOutputTest, TheScriptInheritsNothingOfTheHelper) {
  const auto text = outputOf(
      "env | grep LISTEN\n"
      "for fd in /proc/$BASHPID/fd/*; do n=${fd##*/}; [ -e \"$fd\" ] && [ $n -gt 2 ] && [ $n -lt 255 ] && echo fd $n; "
      "done\n"
      "grep -E '^Sig(Blk|Ign)' /proc/self/status\n"
      "[ $(ps -o pgid= -p $$) = $$ ] && echo leads a group\n"
      "id -u; true");
  EXPECT_THAT(text, Not(HasSubstr("LISTEN")));
  EXPECT_THAT(text, Not(HasSubstr("fd ")));
  // The C library ignores the two signals that it keeps for itself, 32 and 33, in whatever it spawns.
  EXPECT_THAT(text, ContainsRegex("SigBlk:\t0{16}\nSigIgn:\t0{7}[01][08]0{7}\n"));
  EXPECT_THAT(text, HasSubstr("leads a group\n0\n"));
}

}  // namespace
}  // namespace wicket::integration
