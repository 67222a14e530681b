// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/ChildWorlds.h"
#include "tests/support/ChildRecorder.h"

namespace wicket::contract {
namespace {

template <typename World>
class ChildProcessContract : public testing::Test {
 protected:
  std::shared_ptr<ChildProcess> start() {
    auto child = world_.launcher().launch(world_.task(recorder_));
    EXPECT_TRUE(child);
    return child.value();
  }

  World world_;
  support::ChildRecorder recorder_;
};

using ChildWorldTypes = testing::Types<RealChildren, LimitedChildren, ScriptedChildren>;
TYPED_TEST_SUITE(ChildProcessContract, ChildWorldTypes);

TYPED_TEST(ChildProcessContract, EachStreamReachesItsOwnHandler) {
  const auto child = this->start();
  this->world_.writeOutput("to output");
  this->world_.writeError("to error");
  this->world_.exit(0);
  ASSERT_TRUE(this->recorder_.waitForRelease());
  EXPECT_EQ(this->recorder_.record().output, "to output");
  EXPECT_EQ(this->recorder_.record().error, "to error");
}

TYPED_TEST(ChildProcessContract, OutputIsDeliveredWhileTheChildRuns) {
  const auto child = this->start();
  this->world_.writeOutput("first");
  EXPECT_TRUE(this->recorder_.waitForOutput("first"));
  EXPECT_TRUE(this->recorder_.record().terminations.empty());
  this->world_.writeOutput(" second");
  EXPECT_TRUE(this->recorder_.waitForOutput("first second"));
  EXPECT_EQ(this->recorder_.record().chunks, (std::vector<std::string>{"first", " second"}));
  this->world_.exit(0);
  EXPECT_EQ(child->waitUntilExit(), 0);
}

TYPED_TEST(ChildProcessContract, TheTerminationIsReportedOnceAndAfterTheOutput) {
  const auto child = this->start();
  this->world_.writeOutput("all of it");
  this->world_.exit(3);
  ASSERT_TRUE(this->recorder_.waitForRelease());
  const auto record = this->recorder_.record();
  EXPECT_EQ(record.terminations, std::vector<int>{3});
  EXPECT_EQ(record.outputAtTermination, record.output.size());
  EXPECT_FALSE(record.overlapped);
}

TYPED_TEST(ChildProcessContract, WaitingGivesTheExitStatusToEverybodyAndAtAnyTime) {
  const auto child = this->start();
  auto early = std::async(std::launch::async, [&] { return child->waitUntilExit(); });
  EXPECT_EQ(early.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  this->world_.exit(255);
  EXPECT_EQ(early.get(), 255);
  EXPECT_EQ(child->waitUntilExit(), 255);
  ASSERT_TRUE(this->recorder_.waitForRelease());
  EXPECT_EQ(child->waitUntilExit(), 255);
}

TYPED_TEST(ChildProcessContract, TheStatusOfAKilledChildIsTheBareNumberOfTheSignal) {
  const auto child = this->start();
  this->world_.die(SIGKILL);
  EXPECT_EQ(child->waitUntilExit(), 9);
  ASSERT_TRUE(this->recorder_.waitForRelease());
  EXPECT_EQ(this->recorder_.record().terminations, std::vector<int>{9});
}

TYPED_TEST(ChildProcessContract, ADescendantThatHoldsThePipesDelaysNoTerminationAndItsOutputFollows) {
  const auto child = this->start();
  this->world_.writeOutput("own");
  ASSERT_TRUE(this->recorder_.waitForOutput("own"));
  this->world_.startDescendant();
  this->world_.exit(4);
  EXPECT_EQ(child->waitUntilExit(), 4);
  ASSERT_TRUE(this->recorder_.waitForTermination());
  EXPECT_EQ(this->recorder_.record().output, "own");
  EXPECT_FALSE(this->recorder_.record().released);
  this->world_.descendantWritesOutput(" and more");
  EXPECT_TRUE(this->recorder_.waitForOutput("own and more"));
  this->world_.descendantExits();
  EXPECT_TRUE(this->recorder_.waitForRelease());
  EXPECT_EQ(this->recorder_.record().terminations, std::vector<int>{4});
}

TYPED_TEST(ChildProcessContract, DroppingTheChildDoesNotStopIt) {
  this->start().reset();
  this->world_.writeOutput("still here");
  ASSERT_TRUE(this->recorder_.waitForOutput("still here"));
  this->world_.exit(5);
  ASSERT_TRUE(this->recorder_.waitForRelease());
  EXPECT_EQ(this->recorder_.record().terminations, std::vector<int>{5});
}

TYPED_TEST(ChildProcessContract, AFailedLaunchIsAnErrorAndNoHandlerRuns) {
  const auto child = this->world_.launcher().launch(this->world_.taskThatCannotStart(this->recorder_));
  ASSERT_FALSE(child);
  EXPECT_EQ(child.error(), LaunchError{ENOENT});
  ASSERT_TRUE(this->recorder_.waitForRelease());
  EXPECT_TRUE(this->recorder_.record().terminations.empty());
  EXPECT_TRUE(this->recorder_.record().chunks.empty());
}

TYPED_TEST(ChildProcessContract, HandlersThatAreNotSetAreNotMissed) {
  auto task = this->world_.task(this->recorder_);
  task.onStandardOutput = nullptr;
  task.onStandardError = nullptr;
  task.onTermination = nullptr;
  const auto child = this->world_.launcher().launch(std::move(task));
  ASSERT_TRUE(child);
  this->world_.writeOutput("unheard");
  this->world_.writeError("unheard");
  this->world_.exit(6);
  EXPECT_EQ((*child)->waitUntilExit(), 6);
}

}  // namespace
}  // namespace wicket::contract
