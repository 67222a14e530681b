// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

#include "tests/integration/IntegrationTest.h"
#include "tests/integration/NumberedLines.h"
#include "tests/support/Stopwatch.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t mebibyte = std::size_t{1} << 20U;
/// The sanitizers keep freed memory and shadow bytes, so their numbers say little about the helper's own.
constexpr std::size_t allowedGrowth = isSanitized ? 200 * mebibyte : 16 * mebibyte;
/// 1 GiB, or what flows while there is still time enough for the rest before the connection is cut.
constexpr std::size_t outputLength = 1024 * mebibyte;
constexpr auto readingTime = 20s;
/// More than is kept anywhere for a client that does not read.
constexpr std::size_t heldLength = 16 * mebibyte;

class BackpressureTest : public IntegrationTest {
 protected:
  /// A client with a script that writes numbered lines to it without end, and that it does not read.
  void startStalledRun() {
    path_ = addScript("flood.sh", "#!/bin/bash\n" + NumberedLines::commandUntil("/run/stop", "/run/length"));
    reader_ = connectAndGreet();
    reader_->setLogSink([this](std::string_view text) { receive(text); });
    baseline_ = ProcessInspection::residentBytes(helperPid());
    serial_ = reader_->startRun("flood.sh");
    EXPECT_EQ(reader_->awaitCode(serial_), 0);
  }
  void TearDown() override {
    reader_.reset();
    IntegrationTest::TearDown();
  }
  void noteMemory() { highest_ = std::max(highest_, ProcessInspection::residentBytes(helperPid())); }
  [[nodiscard]] std::size_t growth() const { return highest_ > baseline_ ? highest_ - baseline_ : 0; }

  void receive(std::string_view text) {
    if (text == line::success(path_)) {
      ++successLines_;
      return;
    }
    lines_.take(text);
    if (++pieces_ % 256 == 0) noteMemory();
  }

  BusClient& reader() { return *reader_; }
  BusClient::Serial serial() const { return serial_; }
  const NumberedLines& lines() const { return lines_; }
  int successLines() const { return successLines_; }

 private:
  std::string path_;
  std::unique_ptr<BusClient> reader_;
  BusClient::Serial serial_ = 0;
  std::size_t baseline_ = 0;
  std::size_t highest_ = 0;
  NumberedLines lines_;
  int successLines_ = 0;
  std::size_t pieces_ = 0;
};

TEST_F(BackpressureTest, AClientThatStopsReadingMakesTheHelperNeitherGrowNorSlowAndMissesNoByte) {
  startStalledRun();
  const auto other = connectAndGreet();
  std::chrono::nanoseconds slowest{0};
  for (const auto end = Clock::now() + 4s; Clock::now() < end; std::this_thread::sleep_for(20ms)) {
    const support::Stopwatch watch({helperPid()});
    ASSERT_TRUE(other->await(other->startVersion()));
    slowest = std::max(slowest, watch.elapsed());
    noteMemory();
  }
  EXPECT_LT(slowest, 100ms);
  EXPECT_LT(growth(), allowedGrowth);
  EXPECT_LT(lines().length(), 8 * mebibyte) << "nothing was held back";

  reader().pumpUntil(
      [this] { return lines().length() >= outputLength || Clock::now() > reader().connectedAt() + readingTime; },
      patience);
  writeFile("/run/stop", "");
  EXPECT_EQ(reader().awaitExit(serial()), 0);
  EXPECT_TRUE(lines().areInOrder());
  EXPECT_EQ(std::to_string(lines().length()) + "\n", readFile("/run/length"));
  EXPECT_EQ(successLines(), 2);
  EXPECT_LT(growth(), allowedGrowth);
}

TEST_F(BackpressureTest, AScriptThatWaitsForItsReaderGoesOnWhenTheConnectionIsCut) {
  addScript("waits.sh", "#!/bin/bash\n" + NumberedLines::command(heldLength) + "\necho > /run/done\n");
  const auto other = connectAndGreet();
  const auto client = connect();
  const auto serial = client->startRun("waits.sh");
  EXPECT_EQ(client->awaitCode(serial), 0);
  const auto before = ProcessInspection::residentBytes(helperPid());
  std::this_thread::sleep_until(client->connectedAt() + 35s);
  EXPECT_FALSE(std::filesystem::exists("/run/done")) << "the script was not held back";
  EXPECT_LT(ProcessInspection::residentBytes(helperPid()), before + allowedGrowth);
  EXPECT_TRUE(eventually([] { return std::filesystem::exists("/run/done"); }));
}

TEST_F(BackpressureTest, AClientThatGoesAwayWithoutReadingReleasesTheScript) {
  addScript("waits.sh", "#!/bin/bash\n" + NumberedLines::command(heldLength) + "\necho > /run/done\n");
  auto client = connectAndGreet();
  EXPECT_EQ(client->awaitCode(client->startRun("waits.sh")), 0);
  std::this_thread::sleep_for(1s);
  EXPECT_FALSE(std::filesystem::exists("/run/done"));
  client.reset();
  EXPECT_TRUE(eventually([] { return std::filesystem::exists("/run/done"); }));
}

}  // namespace
}  // namespace wicket::integration
