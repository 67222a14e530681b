// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "codesign/signature/Signer.h"
#include "tests/support/Program.h"
#include "tests/unit/codesign/SignedFiles.h"

namespace wicket::codesign {
namespace {

class SignerTest : public SignedFiles {
 protected:
  [[nodiscard]] std::expected<void, std::string> sign(const std::string& path) const {
    return Signer::sign(path, request_, identityOf(chain_));
  }
  /// The names in the folder: none may be left behind.
  [[nodiscard]] std::size_t filesInFolder() const {
    const std::filesystem::directory_iterator folder(pathOf("."));
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
  }
};

TEST_F(SignerTest, ASignedFileVerifiesAndSaysWhatItWasSignedWith) {
  const auto signature = verify(signedFile(request_));
  ASSERT_TRUE(signature) << textOf(signature.error());
  EXPECT_EQ(signature->directory.identifier, "net.orvane.Wicket");
  EXPECT_EQ(signature->directory.flags, 0x10000U);
  EXPECT_EQ(signature->directory.entitlements, PropertyDictionary{});
  EXPECT_EQ(signature->directory.coveredLength, std::string_view(script).size());
  ASSERT_NE(signature->chain.leaf(), nullptr);
  EXPECT_EQ(*signature->chain.leaf(), certificateOf(chain_.leaf));
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(SignerTest, ASignedProgramStillRuns) {
  std::filesystem::copy_file("/bin/true", pathOf("true"));
  std::filesystem::copy_file("/bin/false", pathOf("false"));
  ASSERT_TRUE(sign(pathOf("true")));
  ASSERT_TRUE(sign(pathOf("false")));
  EXPECT_EQ(support::Program::run({pathOf("true")}).status, 0);
  EXPECT_EQ(support::Program::run({pathOf("false")}).status, 1);
  EXPECT_TRUE(verify(pathOf("true")));
}

TEST_F(SignerTest, SigningTwiceReplacesTheBlock) {
  const std::string path = signedFile({"net.orvane.First", 0, std::nullopt});
  ASSERT_TRUE(sign(path));
  const auto signature = verify(path);
  ASSERT_TRUE(signature) << textOf(signature.error());
  EXPECT_EQ(signature->directory.identifier, "net.orvane.Wicket");
  EXPECT_EQ(signature->directory.coveredLength, std::string_view(script).size());
  EXPECT_TRUE(contentOf(path).starts_with(script));
  EXPECT_EQ(contentOf(path).find("net.orvane.First"), std::string::npos);
}

TEST_F(SignerTest, OwnerGroupAndModeStay) {
  const std::string path = fileWith(script);
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::chown(path.c_str(), 0, 4711), 0);
  }
  ASSERT_EQ(::chmod(path.c_str(), 02755), 0);
  ASSERT_TRUE(sign(path));
  struct stat status{};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 02755U);
  EXPECT_EQ(status.st_gid, isRoot ? 4711U : ::getegid());
}

TEST_F(SignerTest, AnEmptyFileCanBeSigned) {
  const std::string path = fileWith("");
  ASSERT_TRUE(sign(path));
  EXPECT_TRUE(verify(path));
}

TEST_F(SignerTest, AFileLongerThanAChunkIsCoveredToItsLastByte) {
  const std::string path = fileWith(std::string(600'001, 'x'));
  ASSERT_TRUE(sign(path));
  EXPECT_TRUE(verify(path));
  std::string altered = contentOf(path);
  altered[600'000] = 'y';
  EXPECT_EQ(failureOf(fileWith(altered, "altered")), SigningFailure::fileAltered);
}

TEST_F(SignerTest, OnlyARegularFileIsSigned) {
  ASSERT_EQ(::mkfifo(pathOf("pipe").c_str(), 0600), 0);
  ASSERT_EQ(::symlink(fileWith(script).c_str(), pathOf("link").c_str()), 0);
  for (const char* name : {"pipe", "link", ".", "missing"}) EXPECT_FALSE(sign(pathOf(name))) << name;
  EXPECT_EQ(sign(pathOf("link")).error(), "It is a symbolic link");
  EXPECT_EQ(contentOf(pathOf("program")), script);
  EXPECT_TRUE(std::filesystem::is_symlink(pathOf("link")));
  EXPECT_EQ(filesInFolder(), 3U);
}

TEST_F(SignerTest, AFailureLeavesTheFileAsItWas) {
  const std::string path = fileWith(script);
  PropertyDictionary entitlements;
  entitlements.emplace("a", PropertyValue(std::string(70'000, 'x')));
  EXPECT_FALSE(Signer::sign(path, {"net.orvane.Wicket", 0, entitlements}, identityOf(chain_)));
  EXPECT_FALSE(Signer::sign(path, {"", 0, std::nullopt}, identityOf(chain_)));
  EXPECT_EQ(contentOf(path), script);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(SignerTest, AFileWithABrokenBlockIsNotSigned) {
  const std::string signedOnce = contentOf(signedFile(request_));
  const std::string block = signedOnce.substr(std::string_view(script).size());
  const std::string broken = fileWith(script + textOf(SignatureTrailer{1 << 20}.encode()), "broken");
  const std::string twice = fileWith(signedOnce + block, "twice");
  EXPECT_FALSE(sign(broken));
  EXPECT_FALSE(sign(twice));
  EXPECT_EQ(contentOf(twice), signedOnce + block);
}

TEST_F(SignerTest, AKeyMustBeThatOfTheFirstCertificate) {
  EVP_PKEY_up_ref(chain_.root.key());
  EXPECT_FALSE(SigningIdentity::fromParts(KeyObject(chain_.root.key()), {certificateOf(chain_.leaf)}));
  EXPECT_FALSE(SigningIdentity::fromParts(nullptr, {certificateOf(chain_.leaf)}));
}

}  // namespace
}  // namespace wicket::codesign
