// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "adapters/posix/ChildPipes.h"
#include "adapters/posix/OutputStream.h"
#include "base/system/ReadWrite.h"
#include "tests/support/DescriptorAllowance.h"

namespace wicket::posix {
namespace {

class OutputStreamTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(::fcntl(pipe_.readEnd.get(), F_SETFL, O_NONBLOCK), 0); }

  OutputStream streamTo(OutputStream::Handler handler) { return {std::move(pipe_.readEnd), std::move(handler)}; }
  OutputStream stream() {
    return streamTo([this](std::span<const std::byte> chunk) {
      chunks_.emplace_back(reinterpret_cast<const char*>(chunk.data()), chunk.size());
    });
  }
  void write(std::string_view text) const {
    ASSERT_TRUE(system::writeAll(pipe_.writeEnd.get(), std::as_bytes(std::span(text))));
  }

  system::Pipe pipe_ = system::Pipe::make().value();
  std::vector<std::string> chunks_;
};

using Texts = std::vector<std::string>;

TEST_F(OutputStreamTest, WhileNothingIsWrittenItDeliversNothingAndStaysOpen) {
  OutputStream output = stream();
  output.deliver();
  output.deliverWritten();
  EXPECT_EQ(chunks_, Texts{});
  EXPECT_TRUE(output.isOpen());
}

TEST_F(OutputStreamTest, EachReadIsAChunkOfWhatWasWrittenUntilThen) {
  OutputStream output = stream();
  write("one");
  write(" two");
  output.deliver();
  write("three");
  output.deliver();
  EXPECT_EQ(chunks_, (Texts{"one two", "three"}));
  EXPECT_TRUE(output.isOpen());
}

TEST_F(OutputStreamTest, TheEndClosesItAfterWhatWasKept) {
  OutputStream output = stream();
  write("a\xE2\x82");
  pipe_.writeEnd.reset();
  output.deliver();
  EXPECT_EQ(chunks_, Texts{"a"});
  EXPECT_TRUE(output.isOpen());
  output.deliver();
  EXPECT_EQ(chunks_, (Texts{"a", "\xE2\x82"}));
  EXPECT_FALSE(output.isOpen());
  EXPECT_EQ(output.descriptor(), -1);
}

TEST_F(OutputStreamTest, ACharacterThatIsNotFinishedIsKeptForTheNextChunk) {
  OutputStream output = stream();
  write("\xF0\x9F");
  output.deliver();
  EXPECT_EQ(chunks_, Texts{});
  write("\x98\x80!");
  output.deliver();
  EXPECT_EQ(chunks_, Texts{"\xF0\x9F\x98\x80!"});
}

TEST_F(OutputStreamTest, WhatWasWrittenIsDeliveredTogetherWithTheEnd) {
  OutputStream output = stream();
  write("last words");
  pipe_.writeEnd.reset();
  output.deliverWritten();
  EXPECT_EQ(chunks_, Texts{"last words"});
  EXPECT_FALSE(output.isOpen());
  output.deliverWritten();
  EXPECT_EQ(chunks_, Texts{"last words"});
}

TEST_F(OutputStreamTest, AnEndWithoutAWordIsDeliveredToo) {
  OutputStream output = stream();
  pipe_.writeEnd.reset();
  output.deliverWritten();
  EXPECT_EQ(chunks_, Texts{});
  EXPECT_FALSE(output.isOpen());
}

TEST_F(OutputStreamTest, WhatIsWrittenMeanwhileIsLeftForLater) {
  OutputStream output = streamTo([this](std::span<const std::byte> chunk) {
    chunks_.emplace_back(reinterpret_cast<const char*>(chunk.data()), chunk.size());
    write("more");
  });
  write("first");
  output.deliverWritten();
  EXPECT_EQ(chunks_, Texts{"first"});
  EXPECT_TRUE(output.isOpen());
}

TEST_F(OutputStreamTest, MoreThanOneChunkIsDeliveredWhole) {
  constexpr int capacity = 256 * 1024;
  ASSERT_GE(::fcntl(pipe_.writeEnd.get(), F_SETPIPE_SZ, capacity), capacity);
  OutputStream output = stream();
  const std::string text(Utf8Chunker::capacity * 2 + 1, 'x');
  write(text);
  output.deliverWritten();
  std::string delivered;
  for (const std::string& chunk : chunks_) delivered += chunk;
  EXPECT_EQ(delivered, text);
  EXPECT_EQ(chunks_.size(), 3U);
}

TEST_F(OutputStreamTest, WithoutAHandlerTheBytesAreReadAllTheSame) {
  OutputStream output = streamTo({});
  write("unheard");
  pipe_.writeEnd.reset();
  output.deliverWritten();
  EXPECT_FALSE(output.isOpen());
}

bool waits(const Descriptor& end) { return (::fcntl(end.get(), F_GETFL) & O_NONBLOCK) == 0; }

TEST(ChildPipesTest, OnlyTheReadingOfTheOutputNeverWaits) {
  const auto pipes = ChildPipes::make();
  ASSERT_TRUE(pipes);
  EXPECT_FALSE(waits(pipes->output.readEnd));
  EXPECT_FALSE(waits(pipes->error.readEnd));
  for (const Descriptor* end : {&pipes->input.readEnd, &pipes->input.writeEnd, &pipes->output.writeEnd,
                                &pipes->error.writeEnd, &pipes->ended.readEnd, &pipes->ended.writeEnd}) {
    EXPECT_TRUE(waits(*end));
  }
}

TEST(ChildPipesTest, WhenTheChildHasItsEndsThisProcessHasOnlyItsOwn) {
  auto pipes = ChildPipes::make();
  ASSERT_TRUE(pipes);
  pipes->closeChildEnds();
  for (const Descriptor* end : {&pipes->input.readEnd, &pipes->output.writeEnd, &pipes->error.writeEnd}) {
    EXPECT_FALSE(end->isOpen());
  }
  for (const Descriptor* end : {&pipes->input.writeEnd, &pipes->output.readEnd, &pipes->error.readEnd,
                                &pipes->ended.readEnd, &pipes->ended.writeEnd}) {
    EXPECT_TRUE(end->isOpen());
  }
  std::array<std::byte, 1> byte{};
  EXPECT_EQ(system::readSome(pipes->output.readEnd.get(), byte), 0U) << "nobody else can write";
}

TEST(ChildPipesTest, ThereAreNoneWithoutDescriptorsForAllAndNoneIsLeftOpen) {
  const support::DescriptorAllowance allowance(7);
  for (int attempt = 0; attempt < 3; ++attempt) {
    const auto pipes = ChildPipes::make();
    ASSERT_FALSE(pipes);
    EXPECT_EQ(pipes.error(), EMFILE);
  }
  EXPECT_TRUE(system::Pipe::make());
}

}  // namespace
}  // namespace wicket::posix
