// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "adapters/linux/bus/MessageFramer.h"

namespace wicket::linux_adapter {
namespace {

using namespace std::string_literals;
using Boundary = MessageFramer::Boundary;

constexpr std::size_t limit = 4096;
const std::string handshake = "\0AUTH EXTERNAL 30\r\nBEGIN\r\n"s;

std::string littleEndian(std::uint32_t value) {
  std::string bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>((value >> shift) & 0xFFU);
  return bytes;
}

std::string message(std::uint32_t fields, std::uint32_t body) {
  const std::size_t padded = (fields + 7U) / 8U * 8U;
  return "l\1\0\1"s + littleEndian(body) + littleEndian(1) + littleEndian(fields) + std::string(padded + body, 'x');
}

MessageFramer::Piece next(MessageFramer& framer, std::string_view input) {
  return framer.next(std::as_bytes(std::span(input)));
}

void expectPiece(const MessageFramer::Piece& piece, std::size_t length, Boundary boundary) {
  EXPECT_EQ(piece.length, length);
  EXPECT_EQ(piece.boundary, boundary);
}

MessageFramer afterHandshake() {
  MessageFramer framer(limit);
  (void)next(framer, handshake);
  return framer;
}

TEST(MessageFramerTest, TheHandshakeEndsWithTheLineBegin) {
  MessageFramer framer(limit);
  expectPiece(next(framer, handshake + message(8, 8)), handshake.size(), Boundary::handshakeEnded);
}

TEST(MessageFramerTest, ALineThatOnlyContainsBeginDoesNotEndTheHandshake) {
  MessageFramer framer(limit);
  const std::string lines = "\0XBEGIN\r\nBEGINX\r\nBEGIN \r\n"s;
  expectPiece(next(framer, lines), lines.size(), Boundary::none);
  expectPiece(next(framer, "BEGIN\r\n"), 7, Boundary::handshakeEnded);
}

TEST(MessageFramerTest, AHandshakeWithoutTheLeadingNullOrWithoutEndIsAViolation) {
  MessageFramer framer(limit);
  expectPiece(next(framer, "AUTH"), 0, Boundary::violation);
  MessageFramer patient(limit);
  expectPiece(next(patient, "\0"s + std::string(20000, 'A')), 0, Boundary::violation);
}

TEST(MessageFramerTest, AMessageEndsAfterItsPaddedFieldsAndItsBody) {
  MessageFramer framer = afterHandshake();
  const std::string first = message(13, 5);
  EXPECT_EQ(first.size(), 16U + 16U + 5U);
  expectPiece(next(framer, first + message(0, 0)), first.size(), Boundary::messageEnded);
  expectPiece(next(framer, message(0, 0)), 16, Boundary::messageEnded);
}

TEST(MessageFramerTest, AMessageIsFoundHoweverItIsCutIntoPieces) {
  const std::string whole = message(13, 5);
  for (std::size_t cut = 1; cut < whole.size(); ++cut) {
    MessageFramer framer = afterHandshake();
    expectPiece(next(framer, std::string_view(whole).substr(0, cut)), cut, Boundary::none);
    expectPiece(next(framer, std::string_view(whole).substr(cut)), whole.size() - cut, Boundary::messageEnded);
  }
}

TEST(MessageFramerTest, ABigEndianHeaderIsReadAsSuch) {
  MessageFramer framer = afterHandshake();
  const std::string whole = "B\1\0\1\0\0\0\3\0\0\0\1\0\0\0\1"s + std::string(8 + 3, 'x');
  expectPiece(next(framer, whole + "l"), whole.size(), Boundary::messageEnded);
}

TEST(MessageFramerTest, AMessageOfTheLimitPassesAndALongerOneIsAViolation) {
  MessageFramer framer = afterHandshake();
  const std::string longest = message(0, limit - 16);
  expectPiece(next(framer, longest), limit, Boundary::messageEnded);
  expectPiece(next(framer, message(0, limit - 15)), 0, Boundary::violation);
}

TEST(MessageFramerTest, LengthsThatOverflow32BitsAreAViolation) {
  MessageFramer framer = afterHandshake();
  const std::string huge = "l\1\0\1"s + littleEndian(0xFFFFFFFF) + littleEndian(1) + littleEndian(0xFFFFFFFF);
  expectPiece(next(framer, huge), 0, Boundary::violation);
}

TEST(MessageFramerTest, AnUnknownByteOrderOrVersionIsAViolation) {
  for (const std::string& start : {"x\1\0\1"s, "l\1\0\2"s}) {
    MessageFramer framer = afterHandshake();
    expectPiece(next(framer, start + std::string(12, '\0')), 0, Boundary::violation);
  }
}

}  // namespace
}  // namespace wicket::linux_adapter
