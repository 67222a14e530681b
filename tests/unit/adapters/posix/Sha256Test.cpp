// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "adapters/posix/Sha256.h"

namespace wicket::posix {
namespace {

std::string inHexadecimal(const ContentDigest& digest) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::byte byte : digest) {
    text += digits[std::to_integer<unsigned>(byte) / 16];
    text += digits[std::to_integer<unsigned>(byte) % 16];
  }
  return text;
}

std::string digestOf(std::string_view text) {
  Sha256 hash;
  hash.update(std::as_bytes(std::span(text)));
  return inHexadecimal(hash.finish());
}

TEST(Sha256Test, HasTheValuesOfItsStandard) {
  EXPECT_EQ(digestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(digestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(digestOf(std::string(1'000'000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256Test, DoesNotDependOnThePiecesAndCanBeMovedBetweenThem) {
  const std::string text(300, 'x');
  for (const std::size_t piece : {1U, 55U, 63U, 64U, 65U, 128U, 299U}) {
    Sha256 hash;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size()))) {
      hash.update(std::as_bytes(std::span(rest.substr(0, piece))));
      hash.update({});
      Sha256 moved = std::move(hash);
      hash = std::move(moved);
    }
    EXPECT_EQ(inHexadecimal(hash.finish()), digestOf(text)) << piece;
  }
}

}  // namespace
}  // namespace wicket::posix
