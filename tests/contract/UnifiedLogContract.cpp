// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "adapters/linux/JournalLog.h"
#include "tests/doubles/RecordingUnifiedLog.h"
#include "tests/support/JournalSocket.h"
#include "tests/support/Machine.h"
#include "tests/support/PrivateFolders.h"
#include "tests/support/PrivateNamespace.h"

namespace wicket::contract {
namespace {

class RecordedLog {
 public:
  static constexpr std::array<support::Need, 0> needs{};

  UnifiedLog& log() { return log_; }
  std::vector<std::string> messages() { return log_.entries(); }

 private:
  doubles::RecordingUnifiedLog log_;
};

/// The real log, with a journal of the test's own to write to.
class Journal {
 public:
  static constexpr std::array needs{support::Need::mountNamespace};

  Journal() {
    if (const auto reason = support::PrivateNamespace::enter()) throw std::runtime_error(*reason);
    if (!folders_.replace("/run")) throw std::runtime_error("/run cannot be replaced");
    socket_.emplace();
  }

  UnifiedLog& log() { return log_; }
  std::vector<support::JournalSocket::Entry> entries() {
    std::vector<support::JournalSocket::Entry> entries;
    while (auto entry = socket_->receive()) entries.push_back(std::move(*entry));
    return entries;
  }
  std::vector<std::string> messages() {
    std::vector<std::string> messages;
    for (auto& entry : entries()) messages.push_back(entry["MESSAGE"]);
    return messages;
  }
  void end() { socket_.reset(); }

 private:
  support::PrivateFolders folders_;
  std::optional<support::JournalSocket> socket_;
  linux_adapter::JournalLog log_;
};

template <typename World>
class UnifiedLogContract : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto need : World::needs) WICKET_NEEDS(need);
    world_.emplace();
  }

  std::optional<World> world_;
};

struct LogWorldNames {
  template <typename World>
  static std::string GetName(int) {
    return std::is_same_v<World, Journal> ? "Journal" : "Double";
  }
};
using LogWorldTypes = testing::Types<RecordedLog, Journal>;
TYPED_TEST_SUITE(UnifiedLogContract, LogWorldTypes, LogWorldNames);

TYPED_TEST(UnifiedLogContract, TheLogIsThereAndTakesFaults) {
  EXPECT_TRUE(this->world_->log().isAvailable());
  EXPECT_TRUE(this->world_->log().isFaultEnabled());
}

TYPED_TEST(UnifiedLogContract, AnEntryIsBothTextsWithAHyphenBetweenThem) {
  this->world_->log().fault("the text", "the explanation");
  EXPECT_EQ(this->world_->messages(), std::vector<std::string>{"the text - the explanation"});
}

TYPED_TEST(UnifiedLogContract, AnEmptyExplanationLeavesTheHyphenAtTheEnd) {
  this->world_->log().fault("TlvPrivilegedHelper was initialized...", "");
  EXPECT_EQ(this->world_->messages(), std::vector<std::string>{"TlvPrivilegedHelper was initialized... - "});
}

TYPED_TEST(UnifiedLogContract, TextIsNoFormat) {
  this->world_->log().fault("100% %s %n", "%d");
  EXPECT_EQ(this->world_->messages(), std::vector<std::string>{"100% %s %n - %d"});
}

TYPED_TEST(UnifiedLogContract, LineBreaksAndNullCharactersStay) {
  const std::string text("a\nPRIORITY=7\0b", 14);
  this->world_->log().fault(text, "c\n");
  EXPECT_EQ(this->world_->messages(), std::vector<std::string>{text + " - c\n"});
}

TYPED_TEST(UnifiedLogContract, ALongTextStaysWhole) {
  // Longer than the library sends as one datagram.
  const std::string text(std::size_t{12} << 20U, 'x');
  this->world_->log().fault(text, "end");
  const auto messages = this->world_->messages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].size(), text.size() + 6);
  EXPECT_TRUE(messages[0] == text + " - end");
}

TYPED_TEST(UnifiedLogContract, EntriesOfSeveralThreadsAllArrive) {
  constexpr int count = 4;
  this->world_->log().fault("a", "b");  // as in the helper, the first entry comes before there are other threads
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([this] { this->world_->log().fault("a", "b"); });
  }
  EXPECT_EQ(this->world_->messages(), std::vector<std::string>(count + 1, "a - b"));
}

TEST(JournalLogTest, AnEntryIsCriticalAndOfADaemon) {
  WICKET_NEEDS(support::Need::mountNamespace);
  Journal journal;
  journal.log().fault("a", "b");
  auto entries = journal.entries();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0]["PRIORITY"], "2");
  EXPECT_EQ(entries[0]["SYSLOG_FACILITY"], "3");
  EXPECT_FALSE(entries[0].contains("CODE_FILE"));
}

TEST(JournalLogTest, WithoutAJournalTheEntryIsLostInSilence) {
  WICKET_NEEDS(support::Need::mountNamespace);
  Journal journal;
  journal.end();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  journal.log().fault("a", "b");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace wicket::contract
