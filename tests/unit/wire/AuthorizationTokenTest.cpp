// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <limits>
#include <string_view>
#include <vector>

#include "wire/AuthorizationToken.h"

namespace wicket::wire {
namespace {

constexpr AuthorizationToken token{0x04030201, 0x08070605, 0x1817161514131211, 0x2827262524232221};

AuthorizationToken::Bytes bytesOf(std::string_view head) {
  AuthorizationToken::Bytes bytes{};
  for (std::size_t i = 0; i < head.size(); ++i) bytes.at(i) = static_cast<std::byte>(head[i]);
  return bytes;
}

TEST(AuthorizationTokenTest, TheBytesAreTheMagicAndTheFieldsInOrderWithTheLowByteFirst) {
  EXPECT_EQ(token.serialize(), bytesOf("WickAut1"
                                       "\x01\x02\x03\x04"
                                       "\x05\x06\x07\x08"
                                       "\x11\x12\x13\x14\x15\x16\x17\x18"
                                       "\x21\x22\x23\x24\x25\x26\x27\x28"));
}

TEST(AuthorizationTokenTest, WhatWasSerializedIsParsedAgain) {
  EXPECT_EQ(AuthorizationToken::parse(token.serialize()), token);
  constexpr AuthorizationToken largest{
      std::numeric_limits<std::uint32_t>::max(), std::numeric_limits<std::uint32_t>::max(),
      std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::uint64_t>::max()};
  EXPECT_EQ(AuthorizationToken::parse(largest.serialize()), largest);
}

TEST(AuthorizationTokenTest, AnyOtherLengthIsNoToken) {
  const auto bytes = token.serialize();
  std::vector<std::byte> longer(bytes.begin(), bytes.end());
  longer.push_back(std::byte{0});
  EXPECT_EQ(AuthorizationToken::parse(longer), std::nullopt);
  EXPECT_EQ(AuthorizationToken::parse(std::span(bytes).first(31)), std::nullopt);
  EXPECT_EQ(AuthorizationToken::parse({}), std::nullopt);
}

TEST(AuthorizationTokenTest, AChangeOfAnyByteOfTheMagicMakesItNoToken) {
  for (std::size_t i = 0; i < 8; ++i) {
    auto bytes = token.serialize();
    bytes.at(i) ^= std::byte{1};
    EXPECT_EQ(AuthorizationToken::parse(bytes), std::nullopt) << "byte " << i;
  }
}

TEST(AuthorizationTokenTest, ThirtyTwoZerosAreNoToken) {
  EXPECT_EQ(AuthorizationToken::parse(bytesOf("")), std::nullopt);
}

}  // namespace
}  // namespace wicket::wire
