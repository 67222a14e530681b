// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <limits>
#include <unistd.h>

#include "codesign/signature/SignatureBlock.h"
#include "tests/unit/codesign/SignedFiles.h"

namespace wicket::codesign {
namespace {

class SignatureBlockTest : public SignedFiles {
 protected:
  static std::string trailer(std::uint64_t length) { return textOf(SignatureTrailer{length}.encode()); }
  [[nodiscard]] std::expected<SignatureBlock, SigningFailure> blockOf(const std::string& content) const {
    return SignatureBlock::find(opened(fileWith(content)).get());
  }
  [[nodiscard]] std::optional<SigningFailure> refusalOf(const std::string& content) const {
    const auto block = blockOf(content);
    return block ? std::nullopt : std::optional(block.error());
  }
};

TEST_F(SignatureBlockTest, ABlockIsFoundAtTheEnd) {
  const auto block = blockOf(
      "program"
      "message" +
      trailer(7));
  ASSERT_TRUE(block);
  EXPECT_EQ(block->coveredLength, 7U);
  EXPECT_EQ(textOf(block->message), "message");
}

TEST_F(SignatureBlockTest, TheProgramBeforeTheBlockMayBeEmpty) {
  const auto block = blockOf("message" + trailer(7));
  ASSERT_TRUE(block);
  EXPECT_EQ(block->coveredLength, 0U);
}

TEST_F(SignatureBlockTest, TheDescriptorsPositionStays) {
  const Descriptor file =
      opened(fileWith("program"
                      "message" +
                      trailer(7)));
  ASSERT_EQ(::lseek(file.get(), 3, SEEK_SET), 3);
  EXPECT_TRUE(SignatureBlock::find(file.get()));
  EXPECT_EQ(::lseek(file.get(), 0, SEEK_CUR), 3);
}

TEST_F(SignatureBlockTest, FilesWithoutATrailerAreNotSigned) {
  for (const std::string& content : {std::string(), std::string("x"), std::string(23, 'x'), std::string(5000, '\0')}) {
    EXPECT_EQ(refusalOf(content), SigningFailure::notSigned) << content.size();
  }
}

TEST_F(SignatureBlockTest, ATrailerWithAnAbsurdLengthIsRefused) {
  constexpr std::uint64_t highest = std::numeric_limits<std::uint64_t>::max();
  for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{15}, std::uint64_t{1} << 63, highest, highest - 23,
                                     highest - 24, std::uint64_t{1} << 32}) {
    EXPECT_EQ(refusalOf("program"
                        "message" +
                        trailer(length)),
              SigningFailure::blockOutOfBounds)
        << length;
  }
}

TEST_F(SignatureBlockTest, AMessageOfMoreThan64KibibytesIsRefused) {
  const std::string program(70'000, 'x');
  EXPECT_TRUE(blockOf(program + trailer(65'536)));
  EXPECT_EQ(refusalOf(program + trailer(65'537)), SigningFailure::blockOutOfBounds);
}

TEST_F(SignatureBlockTest, ATruncatedBlockIsRefused) {
  const std::string whole =
      "program"
      "message" +
      trailer(7);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(refusalOf(whole.substr(0, length)), SigningFailure::notSigned) << length;
  }
  EXPECT_EQ(refusalOf("age" + trailer(7)), SigningFailure::blockOutOfBounds);
}

TEST_F(SignatureBlockTest, TwoBlocksAreRefusedWhateverTheFirstIs) {
  EXPECT_EQ(refusalOf("program"
                      "message" +
                      trailer(7) + "message" + trailer(7)),
            SigningFailure::severalBlocks);
  EXPECT_EQ(refusalOf("x" + trailer(4711) + "message" + trailer(7)), SigningFailure::severalBlocks);
}

TEST_F(SignatureBlockTest, OnlyARegularFileHasABlock) {
  const std::string pipe = pathOf("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& path : {pathOf("."), pipe, std::string("/dev/null")}) {
    const auto block = SignatureBlock::find(opened(path).get());
    ASSERT_FALSE(block) << path;
    EXPECT_EQ(block.error(), SigningFailure::notARegularFile) << path;
  }
  EXPECT_EQ(SignatureBlock::find(-1).error(), SigningFailure::cannotBeRead);
}

}  // namespace
}  // namespace wicket::codesign
