// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/posix/PosixChildProcessLauncher.h"
#include "tests/contract/ChildWorlds.h"
#include "tests/support/ChildRecorder.h"
#include "tests/support/ComesTrue.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using support::comesTrue;

std::size_t countEntries(const std::string& folder) {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  return 0;
}

// How a real child's output and end arrive.
class ChildProcessContractPosixOutput : public testing::Test {
 protected:
  std::shared_ptr<ChildProcess> start(ChildProcessTask task) {
    auto child = launcher_.launch(std::move(task));
    EXPECT_TRUE(child);
    return child.value();
  }

  PosixChildProcessLauncher launcher_;
  support::ChildRecorder recorder_;
};

TEST_F(ChildProcessContractPosixOutput, BinaryOutputArrivesByteForByte) {
  start(recorder_.shell("i=0; while [ $i -lt 256 ]; do printf \"\\\\$(printf %03o $i)\"; i=$((i+1)); done"));
  ASSERT_TRUE(recorder_.waitForTermination());
  std::string expected;
  for (int value = 0; value < 256; ++value) expected += static_cast<char>(value);
  EXPECT_EQ(recorder_.record().output, expected);
}

TEST_F(ChildProcessContractPosixOutput, OutputWithoutANewlineArrivesWhileTheChildRuns) {
  start(recorder_.shell("printf %s $$; exec sleep 60"));
  ASSERT_TRUE(recorder_.waitFor([](const auto& record) { return !record.output.empty(); }));
  EXPECT_TRUE(recorder_.record().terminations.empty());
  ASSERT_EQ(::kill(std::stoi(recorder_.record().output), SIGTERM), 0);
  EXPECT_TRUE(recorder_.waitForRelease());
}

TEST_F(ChildProcessContractPosixOutput, ACharacterWrittenInPiecesArrivesInOneChunk) {
  RealChildren child;
  start(child.task(recorder_));
  child.writeOutput("a\xC3");
  ASSERT_TRUE(recorder_.waitForOutput("a"));
  child.writeOutput(
      "\xA9"
      "b\xF0\x9F");
  ASSERT_TRUE(
      recorder_.waitForOutput("a\xC3\xA9"
                              "b"));
  child.writeOutput("\x98\x80");
  child.exit(0);
  ASSERT_TRUE(recorder_.waitForTermination());
  EXPECT_EQ(recorder_.record().chunks, (std::vector<std::string>{"a",
                                                                 "\xC3\xA9"
                                                                 "b",
                                                                 "\xF0\x9F\x98\x80"}));
}

TEST_F(ChildProcessContractPosixOutput, OutputThatEndsInsideACharacterArrivesBeforeTheTermination) {
  start(recorder_.shell("printf 'end\\360\\237\\230'"));
  ASSERT_TRUE(recorder_.waitForTermination());
  const auto record = recorder_.record();
  EXPECT_EQ(record.output, "end\xF0\x9F\x98");
  EXPECT_EQ(record.outputAtTermination, record.output.size());
}

TEST_F(ChildProcessContractPosixOutput, EverythingTheChildWroteComesBeforeItsTermination) {
  constexpr std::size_t fullPipe = 65'536;
  for (int round = 0; round < 30; ++round) {
    support::ChildRecorder recorder;
    start(recorder.task("/usr/bin/head", {"-c", std::to_string(fullPipe), "/dev/zero"},
                        [] { std::this_thread::sleep_for(1ms); }));
    ASSERT_TRUE(recorder.waitForTermination());
    EXPECT_EQ(recorder.record().outputAtTermination, fullPipe);
    EXPECT_FALSE(recorder.record().overlapped);
  }
}

TEST_F(ChildProcessContractPosixOutput, ADescendantThatWritesWithoutPauseDoesNotHoldUpTheTermination) {
  start(recorder_.shell("yes descendant & echo own $!; exit 2", [] { std::this_thread::sleep_for(20ms); }));
  ASSERT_TRUE(recorder_.waitForTermination());
  const auto record = recorder_.record();
  EXPECT_EQ(record.terminations, std::vector<int>{2});
  const std::size_t number = record.output.find("own ");
  ASSERT_NE(number, std::string::npos);
  ASSERT_EQ(::kill(std::stoi(record.output.substr(number + 4)), SIGKILL), 0);
  EXPECT_TRUE(recorder_.waitForRelease());
}

TEST_F(ChildProcessContractPosixOutput, AChildThatClosesItsStreamsEarlyIsStillWaitedFor) {
  RealChildren orders;
  const auto child = start(orders.task(recorder_));
  orders.writeOutput("bye");
  orders.closeStreams();
  EXPECT_TRUE(recorder_.waitForOutput("bye"));
  EXPECT_FALSE(recorder_.waitFor([](const auto& record) { return record.released; }, 100ms));
  orders.exit(8);
  EXPECT_EQ(child->waitUntilExit(), 8);
  EXPECT_TRUE(recorder_.waitForRelease());
  EXPECT_EQ(recorder_.record().terminations, std::vector<int>{8});
}

TEST_F(ChildProcessContractPosixOutput, WaitingEndsWithTheChildEvenWhileAHandlerBlocks) {
  std::promise<void> gate;
  const auto child =
      start(recorder_.shell("echo text; exit 7", [opened = gate.get_future().share()] { opened.wait(); }));
  EXPECT_EQ(child->waitUntilExit(), 7);
  EXPECT_TRUE(recorder_.record().terminations.empty());
  gate.set_value();
  EXPECT_TRUE(recorder_.waitForRelease());
  EXPECT_EQ(recorder_.record().terminations, std::vector<int>{7});
}

TEST_F(ChildProcessContractPosixOutput, ABlockedHandlerPausesTheChildAndNothingPilesUp) {
  std::promise<void> gate;
  start(recorder_.shell("echo $$; exec yes", [opened = gate.get_future().share()] { opened.wait(); }));
  ASSERT_TRUE(recorder_.waitFor([](const auto& record) { return record.output.contains('\n'); }));
  const pid_t pid = std::stoi(recorder_.record().output);
  const auto writtenBytes = [pid] {
    std::ifstream counters("/proc/" + std::to_string(pid) + "/io");
    for (std::string line; std::getline(counters, line);) {
      if (line.starts_with("wchar:")) return std::stol(line.substr(6));
    }
    return -1L;
  };
  constexpr long halfAPipe = 32'768;
  ASSERT_TRUE(comesTrue([&] { return writtenBytes() >= halfAPipe; }));
  const long resident = residentKilobytes();
  // Long enough for much more than pipes hold.
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(writtenBytes(), 200'000);
  EXPECT_LT(residentKilobytes() - resident, 1'024);
  EXPECT_EQ(recorder_.record().chunks.size(), 1U);
  ASSERT_EQ(::kill(pid, SIGKILL), 0);
  gate.set_value();
  EXPECT_TRUE(recorder_.waitForRelease());
  EXPECT_EQ(recorder_.record().terminations, std::vector<int>{SIGKILL});
}

TEST_F(ChildProcessContractPosixOutput, AHundredMegabytesArriveCompleteAndInOrder) {
  constexpr long lastNumber = 12'400'000;
  constexpr std::size_t largestChunk = 65'536;
  // Counts along with the child, so that a lost, doubled or misplaced byte shows.
  long next = 1;
  std::string expected;
  bool asExpected = true;
  std::size_t total = 0;
  // The handler may still be at it when this test has its status.
  const auto ended = std::make_shared<std::promise<int>>();
  ChildProcessTask task;
  task.launchPath = "/usr/bin/seq";
  task.arguments = {"1", std::to_string(lastNumber)};
  task.onStandardOutput = [&](std::span<const std::byte> chunk) {
    while (expected.size() < chunk.size() && next <= lastNumber) expected += std::to_string(next++) + "\n";
    asExpected = asExpected && chunk.size() <= largestChunk && chunk.size() <= expected.size() &&
                 std::ranges::equal(chunk, std::as_bytes(std::span(expected)).first(chunk.size()));
    expected.erase(0, chunk.size());
    total += chunk.size();
  };
  task.onTermination = [ended](int status) { ended->set_value(status); };
  start(std::move(task));
  EXPECT_EQ(ended->get_future().get(), 0);
  EXPECT_TRUE(asExpected);
  EXPECT_TRUE(expected.empty());
  EXPECT_EQ(next, lastNumber + 1);
  EXPECT_GT(total, 100'000'000U);
}

TEST_F(ChildProcessContractPosixOutput, SimultaneousChildrenDoNotMixTheirOutput) {
  std::vector<support::ChildRecorder> recorders(20);
  for (std::size_t i = 0; i < recorders.size(); ++i) {
    start(recorders[i].shell("echo " + std::to_string(i) + "; sleep 0.1; echo " + std::to_string(i) + " >&2; exit " +
                             std::to_string(i)));
  }
  for (std::size_t i = 0; i < recorders.size(); ++i) {
    ASSERT_TRUE(recorders[i].waitForRelease());
    EXPECT_EQ(recorders[i].record().output, std::to_string(i) + "\n");
    EXPECT_EQ(recorders[i].record().error, std::to_string(i) + "\n");
    EXPECT_EQ(recorders[i].record().terminations, std::vector<int>{static_cast<int>(i)});
  }
}

TEST_F(ChildProcessContractPosixOutput, TwoHundredChildrenLeaveNoDescriptorThreadOrZombie) {
  {
    support::ChildRecorder warmUp;
    start(warmUp.shell("exit 0"));
    ASSERT_TRUE(warmUp.waitForRelease());
  }
  ASSERT_TRUE(comesTrue([] { return ::waitpid(-1, nullptr, WNOHANG) == -1; }));
  // At least: what the first child needed may still be going.
  const std::size_t descriptors = countEntries("/proc/self/fd");
  const std::size_t threads = countEntries("/proc/self/task");
  for (int round = 0; round < 10; ++round) {
    std::vector<support::ChildRecorder> recorders(20);
    for (auto& recorder : recorders) start(recorder.task("/bin/true", {}));
    for (auto& recorder : recorders) ASSERT_TRUE(recorder.waitForRelease());
  }
  EXPECT_FALSE(launcher_.launch(recorder_.task("/no/such/tool", {})));
  EXPECT_TRUE(comesTrue([&] { return countEntries("/proc/self/fd") <= descriptors; }));
  EXPECT_TRUE(comesTrue([&] { return countEntries("/proc/self/task") <= threads; }));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace wicket::contract
