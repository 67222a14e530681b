// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <limits>

#include "codesign/signature/SignatureTrailer.h"

namespace wicket::codesign {
namespace {

TEST(SignatureTrailerTest, EveryLengthSurvivesTheRoundTrip) {
  for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{0x0123456789ABCDEF}, std::uint64_t{1} << 63,
                                     std::numeric_limits<std::uint64_t>::max()}) {
    EXPECT_EQ(SignatureTrailer::decode(SignatureTrailer{length}.encode()), SignatureTrailer{length});
  }
}

TEST(SignatureTrailerTest, TheLengthStandsFirstWithItsLeastSignificantByteFirst) {
  const auto bytes = SignatureTrailer{0x0201}.encode();
  EXPECT_EQ(bytes[0], std::byte{1});
  EXPECT_EQ(bytes[1], std::byte{2});
  EXPECT_EQ(bytes[2], std::byte{0});
}

TEST(SignatureTrailerTest, EachAlteredByteBehindTheLengthIsRefused) {
  const auto bytes = SignatureTrailer{4711}.encode();
  for (std::size_t index = 8; index < bytes.size(); ++index) {
    auto altered = bytes;
    altered[index] ^= std::byte{0x01};
    const auto trailer = SignatureTrailer::decode(altered);
    ASSERT_FALSE(trailer) << index;
    EXPECT_EQ(trailer.error(), index < 16 ? SigningFailure::trailerMalformed : SigningFailure::notSigned) << index;
  }
}

TEST(SignatureTrailerTest, BytesWithoutTheMarkAreNoTrailer) {
  EXPECT_FALSE(SignatureTrailer::isMarked(SignatureTrailer::Bytes{}));
  EXPECT_TRUE(SignatureTrailer::isMarked(SignatureTrailer{1}.encode()));
}

}  // namespace
}  // namespace wicket::codesign
