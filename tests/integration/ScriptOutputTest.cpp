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
  std::string outputOf(const std::string& body, std::chrono::milliseconds timeout = 20s) {
    const auto path = addScript("writer.sh", "#!/bin/bash\n" + body + "\n");
    client_ = connect();
    const auto serial = client_->startRun("writer.sh");
    EXPECT_EQ(client_->awaitCode(serial), 0);
    EXPECT_TRUE(client_->awaitExit(serial, timeout));
    client_->pumpFor(50ms);
    std::string text;
    for (const auto& chunk : client_->chunks()) {
      if (chunk.text != line::success(path)) text += chunk.text;
    }
    return text;
  }
  BusClient& client() { return *client_; }

 private:
  std::unique_ptr<BusClient> client_;
};

TEST_F(ScriptOutputTest, BothStreamsArriveWhileTheScriptStillRuns) {
  EXPECT_EQ(outputOf("echo one; sleep 0.5; echo two >&2; sleep 0.5; echo three"), "one\ntwo\nthree\n");
  std::vector<Clock::time_point> times;
  for (const auto& chunk : client().chunks()) {
    if (chunk.text.size() < 8) times.push_back(chunk.at);
  }
  ASSERT_EQ(times.size(), 3U);
  EXPECT_GT(times[1] - times[0], 400ms);
  EXPECT_GT(times[2] - times[1], 400ms);
}

TEST_F(ScriptOutputTest, OutputWithoutANewlineArrivesAtOnce) {
  addScript("prompt.sh", "#!/bin/bash\nprintf 'no newline'\nsleep 30\n");
  const auto client = connect();
  EXPECT_EQ(client->awaitCode(client->startRun("prompt.sh")), 0);
  EXPECT_TRUE(client->awaitLog("no newline", 2s));
}

TEST_F(ScriptOutputTest, ACharacterWrittenInPiecesArrivesWhole) {
  EXPECT_EQ(outputOf(R"(printf 'a\xe2'; sleep 0.2; printf '\x82'; sleep 0.2; printf '\xac|'; sleep 0.2; )"
                     R"(printf '\xf0\x9f'; sleep 0.2; printf '\x98\x80\n')"),
            "a\xE2\x82\xAC|\xF0\x9F\x98\x80\n");
}

TEST_F(ScriptOutputTest, OutputThatIsNotUtf8IsDroppedPieceByPiece) {
  EXPECT_EQ(outputOf(R"(echo before; sleep 0.2; printf 'bad \xff\xfe bytes\n'; sleep 0.2; echo after)"),
            "before\nafter\n");
}

TEST_F(ScriptOutputTest, AnUnfinishedCharacterAtTheEndIsDropped) {
  EXPECT_EQ(outputOf(R"(echo text; sleep 0.2; printf '\xe2\x82')"), "text\n");
}

TEST_F(ScriptOutputTest, BinaryOutputDoesTheHelperNoHarm) {
  const auto text = outputOf("head -c 5000000 /dev/urandom; echo; sleep 0.2; echo survived");
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

TEST_F(ScriptOutputTest, AHundredMegabytesArriveInOrder) {
  constexpr std::size_t length = 100'000'000;
  const auto path = addScript("long.sh", "#!/bin/bash\n" + NumberedLines::command(length) + "\n");
  const auto reader = connect();
  NumberedLines lines;
  reader->setLogSink([&](std::string_view text) {
    if (text != line::success(path)) lines.take(text);
  });
  const auto serial = reader->startRun("long.sh");
  EXPECT_EQ(reader->awaitExit(serial, 40s), 0);
  EXPECT_TRUE(lines.areInOrder());
  EXPECT_EQ(lines.length(), length);
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
  const auto path = addScript("parent.sh", "#!/bin/bash\n(sleep 0.7; echo late) &\nexit 5\n");
  const auto reader = connect();
  const auto serial = reader->startRun("parent.sh");
  EXPECT_EQ(reader->awaitExit(serial), 5);
  EXPECT_THAT(reader->log(), Not(HasSubstr("late")));
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
