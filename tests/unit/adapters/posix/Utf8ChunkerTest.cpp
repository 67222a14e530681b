// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "adapters/posix/Utf8Chunker.h"

namespace wicket::posix {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

std::string textOf(std::span<const std::byte> bytes) {
  std::string text;
  for (const std::byte byte : bytes) text += std::to_integer<char>(byte);
  return text;
}

// The chunks of a stream that arrives in these reads.
std::vector<std::string> chunksOf(const std::vector<std::string_view>& reads) {
  const auto chunker = std::make_unique<Utf8Chunker>();
  std::vector<std::string> chunks;
  for (const auto read : reads) {
    std::ranges::copy(bytesOf(read), chunker->room().begin());
    chunks.push_back(textOf(chunker->take(read.size())));
  }
  chunks.push_back(textOf(chunker->takeRest()));
  return chunks;
}

using Chunks = std::vector<std::string>;

TEST(Utf8ChunkerTest, TextThatEndsWithACharacterPassesUnchanged) {
  EXPECT_EQ(chunksOf({"plain", "caf\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}),
            (Chunks{"plain", "caf\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", ""}));
}

TEST(Utf8ChunkerTest, ACharacterCutAnywhereArrivesWholeInTheNextChunk) {
  EXPECT_EQ(chunksOf({"a\xC3", "\xA9z"}), (Chunks{"a", "\xC3\xA9z", ""}));
  EXPECT_EQ(chunksOf({"a\xE2", "\x82\xACz"}), (Chunks{"a", "\xE2\x82\xACz", ""}));
  EXPECT_EQ(chunksOf({"a\xE2\x82", "\xACz"}), (Chunks{"a", "\xE2\x82\xACz", ""}));
  EXPECT_EQ(chunksOf({"a\xF0\x9F\x98", "\x80z"}), (Chunks{"a", "\xF0\x9F\x98\x80z", ""}));
}

TEST(Utf8ChunkerTest, ACharacterThatArrivesByteByByteIsKeptUntilItIsWhole) {
  EXPECT_EQ(chunksOf({"\xF0", "\x9F", "\x98", "\x80"}), (Chunks{"", "", "", "\xF0\x9F\x98\x80", ""}));
}

TEST(Utf8ChunkerTest, AnUnfinishedCharacterIsReleasedAtTheEnd) {
  EXPECT_EQ(chunksOf({"a\xF0\x9F\x98"}), (Chunks{"a", "\xF0\x9F\x98"}));
}

TEST(Utf8ChunkerTest, BytesThatCannotBecomeACharacterAreNotKept) {
  EXPECT_EQ(chunksOf({"a\xFF", "\xE0\x80", "\xED\xA0", "\xF4\x90"}),
            (Chunks{"a\xFF", "\xE0\x80", "\xED\xA0", "\xF4\x90", ""}));
}

TEST(Utf8ChunkerTest, KeptBytesThatTurnOutToBeNoCharacterPassWithWhatFollows) {
  EXPECT_EQ(chunksOf({"a\xE2\x82", "b"}), (Chunks{"a",
                                                  "\xE2\x82"
                                                  "b",
                                                  ""}));
}

TEST(Utf8ChunkerTest, AChunkIsNeverLargerThanAPipe) {
  const auto chunker = std::make_unique<Utf8Chunker>();
  EXPECT_EQ(chunker->room().size(), Utf8Chunker::capacity);
  std::ranges::fill(chunker->room(), std::byte{0xF0});
  EXPECT_EQ(chunker->take(Utf8Chunker::capacity).size(), Utf8Chunker::capacity - 1);
  EXPECT_EQ(chunker->room().size(), Utf8Chunker::capacity - 1);
  EXPECT_EQ(chunker->take(0).size(), 0U);
}

}  // namespace
}  // namespace wicket::posix
