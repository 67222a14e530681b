// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/integration/SignatureAttackTest.h"

#include <array>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;

std::string programBytes() {
  std::ifstream file("/run/companion", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(SignatureAttackTest, TheUnalteredCompanionIsServed) {
  rewrite(programBytes());
  expectCopyServed();
}

TEST_F(SignatureAttackTest, AnUnsignedCopyIsRefused) {
  ASSERT_TRUE(CompanionStage::installUnsigned(CompanionStage::standIn(), copy));
  expectCopyRefused();
}

TEST_F(SignatureAttackTest, AnAlteredByteInTheCodeIsRefused) {
  const std::string program = programBytes();
  // Neither the kernel nor the loader looks at the end of a program, where its sections are described.
  expectRefusedAs(withFlippedBit(program, program.size() - blockSize(program) - 1));
}

TEST_F(SignatureAttackTest, AnAlteredByteInTheCodeDirectoryIsRefused) {
  const std::string program = programBytes();
  const std::size_t identifier = program.rfind("net.orvane.Wicket");
  ASSERT_GT(identifier, program.size() - blockSize(program));
  expectRefusedAs(withFlippedBit(program, identifier));
}

TEST_F(SignatureAttackTest, AnAlteredByteInTheSignedMessageIsRefused) {
  const std::string program = programBytes();
  const std::size_t block = blockSize(program);
  constexpr std::size_t samples = 40;
  for (std::size_t i = 0; i < samples; ++i) {
    expectRefusedAs(withFlippedBit(program, program.size() - block + i * (block - trailerSize) / samples));
  }
  // The last byte of all is the signature's.
  expectRefusedAs(withFlippedBit(program, program.size() - trailerSize - 1));
}

TEST_F(SignatureAttackTest, AnAlteredByteInTheTrailerIsRefused) {
  const std::string program = programBytes();
  for (std::size_t i = 1; i <= trailerSize; ++i) expectRefusedAs(withFlippedBit(program, program.size() - i));
}

TEST_F(SignatureAttackTest, ATrailerWithAnAbsurdLengthIsRefused) {
  std::string program = programBytes();
  const std::uint64_t size = program.size();
  for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{1}, size - trailerSize, size - trailerSize + 1,
                                     size, std::uint64_t{65536}, std::uint64_t{65537}, std::uint64_t{1} << 32U,
                                     std::uint64_t{1} << 63U, ~std::uint64_t{0}, ~std::uint64_t{0} - trailerSize + 1}) {
    expectRefusedAs(program.replace(program.size() - trailerSize, 8, number(length)));
  }
}

TEST_F(SignatureAttackTest, ATruncatedBlockIsRefused) {
  const std::string program = programBytes();
  const std::string trailer = program.substr(program.size() - trailerSize);
  for (const std::size_t missing :
       {std::size_t{1}, std::size_t{8}, trailerSize, trailerSize + 1, blockSize(program) - 1}) {
    expectRefusedAs(program.substr(0, program.size() - missing));
  }
  // The end is there, but not all that it announces.
  expectRefusedAs(program.substr(0, program.size() - trailerSize - 100) + trailer);
  expectRefusedAs(program.substr(0, program.size() - blockSize(program)) + trailer);
}

TEST_F(SignatureAttackTest, TwoBlocksAreRefused) {
  const std::string program = programBytes();
  expectRefusedAs(program + program.substr(program.size() - blockSize(program)));
}

TEST_F(SignatureAttackTest, TheBlockOfAnotherProgramIsRefused) {
  const std::string program = programBytes();
  ASSERT_TRUE(CompanionStage::installAsCompanion("/bin/true", "/run/another"));
  const std::string another = readFile("/run/another");
  expectRefusedAs(program.substr(0, program.size() - blockSize(program)) +
                  another.substr(another.size() - blockSize(another)));
}

TEST_F(SignatureAttackTest, TenSparseGigabytesAreRefusedUnread) {
  const std::string program = programBytes();
  const std::size_t length = program.size() - blockSize(program);
  for (const std::string& end : {program.substr(length), std::string()}) {
    rewrite(program.substr(0, length));
    constexpr std::uintmax_t tenGigabytes = 10'000'000'000;
    std::filesystem::resize_file(copy, tenGigabytes);
    std::ofstream(copy, std::ios::binary | std::ios::app) << end;
    ASSERT_TRUE(CompanionStage::giveGroup(copy));
    const auto before = ProcessInspection::processorTime(helper());
    expectCopyRefused();
    EXPECT_LT(ProcessInspection::processorTime(helper()) - before, 1s) << "as if the whole file were read";
  }
}

TEST_F(SignatureAttackTest, ACompanionThatIsAlteredAfterItWasServedIsRefused) {
  install({});
  // Long enough for whatever the helper finds out about it to be remembered.
  std::this_thread::sleep_for(2100ms);
  expectCopyServed();
  expectCopyServed();
  struct stat before{};
  ASSERT_EQ(::stat(copy.c_str(), &before), 0);
  const std::string program = readFile(copy);
  const std::size_t at = program.size() - blockSize(program) - 1;
  {
    std::fstream file(copy, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(at));
    file.put(withFlippedBit(program, at)[at]);
    ASSERT_TRUE(file.good());
  }
  const std::array times{before.st_atim, before.st_mtim};
  ASSERT_EQ(::utimensat(AT_FDCWD, copy.c_str(), times.data(), 0), 0);
  ASSERT_TRUE(CompanionStage::giveGroup(copy));
  struct stat after{};
  ASSERT_EQ(::stat(copy.c_str(), &after), 0);
  ASSERT_EQ(after.st_ino, before.st_ino);
  ASSERT_EQ(after.st_size, before.st_size);
  expectCopyRefused();
}

}  // namespace
}  // namespace wicket::integration
