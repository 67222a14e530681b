// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/integration/AttackTest.h"

#include "tests/support/RawClient.h"

namespace wicket::integration {
namespace {

using support::DBusBytes;
using support::StandIn;

constexpr char witness[] = "/run/witness";
/// What a helper may keep for itself after a few clients, and not for each.
constexpr std::size_t keptByHelper = (isSanitized ? std::size_t{64} : std::size_t{4}) << 20U;

std::string callOfTheWitnessScript() {
  std::string body = DBusBytes::string("witness.sh");
  DBusBytes::align(body, 4);
  body += DBusBytes::number(0);
  return DBusBytes::methodCall(1, "runCommandWithFilename_arguments_completion_", "sas", body);
}

}  // namespace

void AttackTest::SetUp() {
  IntegrationTest::SetUp();
  if (IsSkipped() || HasFatalFailure()) return;
  journal_.emplace();
  addScript("witness.sh", "#!/bin/bash\necho done > /run/witness\n");
  addScript("nothing.sh", "#!/bin/bash\n");
  writeFile(callFile, callOfTheWitnessScript());
  std::filesystem::copy_file(CompanionStage::standIn(), plain);
  ASSERT_TRUE(CompanionStage::installAsCompanion(CompanionStage::standIn(), companion));
  expectNoEffect();
  helper_ = helperPid();
  memory_ = ProcessInspection::residentBytes(helper_);
}

void AttackTest::TearDown() {
  if (memory_ != 0) {
    expectNoEffect();
    EXPECT_EQ(helperPid(), helper_) << "the helper has ended";
    EXPECT_LE(ProcessInspection::residentBytes(helper_), memory_ + keptByHelper);
    const auto started = journal_->receive();
    EXPECT_TRUE(started && started->at("MESSAGE").starts_with("TlvPrivilegedHelper was initialized"));
    EXPECT_FALSE(journal_->receive()) << "something was logged";
  }
  journal_.reset();
  IntegrationTest::TearDown();
}

AttackTest::Steps AttackTest::joined(std::initializer_list<Steps> parts) {
  Steps all;
  for (const Steps& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

AttackTest::Client AttackTest::start(const Steps& steps) { return std::make_unique<StandIn>(plain, steps); }

AttackTest::Client AttackTest::startCompanion(const std::string& program, const Steps& before) {
  return start(joined({asUser(), before, {"execute", program}, connectAndAsk()}));
}

void AttackTest::expectServed(StandIn& client) {
  EXPECT_TRUE(client.awaitSaid("served"));
  EXPECT_TRUE(eventually([] { return std::filesystem::exists(witness); }));
  std::filesystem::remove(witness);
}

void AttackTest::expectRefused(StandIn& client) {
  EXPECT_TRUE(client.awaitSaid("refused"));
  expectNoEffect();
}

void AttackTest::expectUnreachable(StandIn& client) {
  EXPECT_TRUE(client.awaitSaid("unreachable"));
  expectNoEffect();
}

void AttackTest::expectGenuineServed() {
  const auto reply = genuine().await(genuine().startVersion());
  EXPECT_TRUE(reply && reply->error.empty());
}

void AttackTest::expectNoEffect() {
  // A script from its start to its end: whatever was dispatched before has started meanwhile.
  BusClient& client = genuine();
  EXPECT_EQ(client.awaitExit(client.startRun("nothing.sh")), 0) << "the genuine client is not served";
  EXPECT_FALSE(std::filesystem::exists(witness)) << "the call of a client that was refused had its effect";
}

}  // namespace wicket::integration
