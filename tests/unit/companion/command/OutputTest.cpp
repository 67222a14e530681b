// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <thread>
#include <unistd.h>

#include "base/system/Descriptor.h"
#include "companion/command/Output.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::companion::command {
namespace {

constexpr Output::Terminals files{false, false, false};
constexpr Output::Terminals plainTerminals{true, true, false};
constexpr Output::Terminals colouredTerminals{true, true, true};

/// What an output that is told of these terminals writes to its two streams.
class OutputTest : public testing::Test {
 protected:
  Output& outputOn(Output::Terminals terminals) {
    return output_.emplace(standardOutput_.get(), standardError_.get(), terminals);
  }
  [[nodiscard]] std::string out() const { return contentOf("out"); }
  [[nodiscard]] std::string err() const { return contentOf("err"); }

 private:
  [[nodiscard]] int made(const std::string& name) const {
    return ::open(folder_.path(name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  }
  [[nodiscard]] std::string contentOf(const std::string& name) const {
    std::ifstream file(folder_.path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const support::TemporaryFolder folder_;
  const Descriptor standardOutput_{made("out")};
  const Descriptor standardError_{made("err")};
  std::optional<Output> output_;
};

TEST_F(OutputTest, AProblemIsItsMarkItsCauseAndItsNextStepAsSentences) {
  Output& output = outputOn(files);
  output.printProblem({"It broke", "Mend it"});
  output.printProblem({"It broke", ""});
  output.printWarning({"It creaks", "Oil it"});
  EXPECT_EQ(err(), "wicket: It broke. Mend it.\nwicket: It broke.\nwicket: warning: It creaks. Oil it.\n");
  EXPECT_EQ(out(), "");
}

TEST_F(OutputTest, OnlyTheMarkIsColoured) {
  Output& output = outputOn(colouredTerminals);
  output.printProblem({"It broke", "Mend it"});
  output.printWarning({"It creaks", ""});
  EXPECT_EQ(err(), "\033[1;31mwicket:\033[0m It broke. Mend it.\n\033[1;33mwicket: warning:\033[0m It creaks.\n");
}

TEST_F(OutputTest, AFindingIsALineAndItsNextStepASecondOne) {
  Output& output = outputOn(files);
  output.printCheck(true, "The door is shut", "");
  output.printCheck(false, "The window is open", "Shut it");
  EXPECT_EQ(out(), "ok       The door is shut.\nproblem  The window is open.\n         Next: Shut it.\n");
}

TEST_F(OutputTest, AQuestionStandsOnStandardErrorWithoutALineEnding) {
  outputOn(files).printQuestion("Sure? ");
  EXPECT_EQ(err(), "Sure? ");
}

TEST_F(OutputTest, OnATerminalEachMessageBeginsALine) {
  Output& output = outputOn(plainTerminals);
  output.printBytes("begun");
  output.printHelperLine("said");
  output.printBytes("again");
  output.printProblem({"It broke", ""});
  output.finishLine();
  EXPECT_EQ(out(), "begun\nagain\n");
  EXPECT_EQ(err(), "said\nwicket: It broke.\n");
}

TEST_F(OutputTest, AFileGetsTheBytesOfTheScriptAndNoneMore) {
  Output& output = outputOn(files);
  output.printBytes("begun\x1B[2J");
  output.printHelperLine("said");
  output.finishLine();
  EXPECT_EQ(out(), "begun\x1B[2J");
}

TEST_F(OutputTest, ATerminalShowsControlCharactersOfTheHelpersLinesToo) {
  outputOn(plainTerminals).printHelperLine("a\x1B[2Jb");
  outputOn(files).printHelperLine("a\x1B[2Jb");
  EXPECT_EQ(err(), "a\\x1B[2Jb\na\x1B[2Jb\n");
}

TEST_F(OutputTest, AFullDiskBehindStandardOutputIsNoticedAndOneBehindStandardErrorIsNot) {
  const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  const Descriptor empty(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  Output errors(empty.get(), full.get(), files);
  errors.printProblem({"It broke", ""});
  errors.printLine("line");
  EXPECT_FALSE(errors.hasFailed());
  Output lines(full.get(), empty.get(), files);
  lines.printLine("line");
  EXPECT_TRUE(lines.hasFailed());
}

TEST_F(OutputTest, AStreamThatMayNotBlockGetsEverythingAllTheSame) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  ASSERT_EQ(::fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
  const Descriptor readEnd(ends[0]);
  Descriptor writeEnd(ends[1]);
  const std::string text(1'000'000, 'x');
  std::string arrived;
  std::thread reader([&] {
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(readEnd.get(), buffer.data(), buffer.size())) > 0;) {
      arrived.append(buffer.data(), static_cast<std::size_t>(count));
    }
  });
  Output output(writeEnd.get(), STDERR_FILENO, files);
  output.printBytes(text);
  writeEnd.reset();
  reader.join();
  EXPECT_TRUE(arrived == text);
  EXPECT_FALSE(output.hasFailed());
}

}  // namespace
}  // namespace wicket::companion::command
