// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using support::Program;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// What an ordinary user sees of a copy of the command that the helper does not take for the companion.
class RefusedCommandTest : public IntegrationTest {
 protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    std::filesystem::copy_file(commandExecutable(), copy);
    ASSERT_TRUE(CompanionStage::giveGroup(copy));
  }
  static Program version() {
    return Program::run({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", copy, "version"});
  }
  static void expectRefusal(const Program& program) {
    EXPECT_EQ(program.status, 125);
    EXPECT_EQ(program.output, "");
    EXPECT_THAT(program.errors, StartsWith("wicket: "));
  }

  static constexpr const char* copy = "/run/wicket";
};

TEST_F(RefusedCommandTest, ACopyThatIsAllThatTheCommandIsIsServed) { EXPECT_EQ(version().output, "9417\n"); }

TEST_F(RefusedCommandTest, OneAlteredByteIsEnough) {
  std::string content = readFile(copy);
  content[15] ^= 1;  // of the file's first field, which nobody but the signature looks at
  writeFile(copy, content);
  ASSERT_TRUE(CompanionStage::giveGroup(copy));
  expectRefusal(version());
  EXPECT_EQ(activator().lives().size(), 1U) << "it was not the helper that refused";
}

TEST_F(RefusedCommandTest, WithoutItsGroupItDoesNotReachTheSocket) {
  ASSERT_EQ(::chmod(copy, 0755), 0);
  expectRefusal(version());
  EXPECT_THAT(activator().lives(), IsEmpty());
}

}  // namespace
}  // namespace wicket::integration
