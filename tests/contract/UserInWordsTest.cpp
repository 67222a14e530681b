// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>

#include "adapters/linux/authorization/UserInWords.h"
#include "tests/support/Machine.h"
#include "tests/support/PrivateNamespace.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::contract {
namespace {

using linux_adapter::userInWords;

/// The users are those of a file, in a private namespace.
class UserInWordsTest : public testing::Test {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::root);
    WICKET_NEEDS(support::Need::mountNamespace);
    ASSERT_EQ(support::PrivateNamespace::enter(), std::nullopt);
    const std::string file = folder_.path("passwd");
    std::ofstream(file) << "root:x:0:0:root:/root:/bin/sh\n"
                        << "long:x:54321:54321:" << std::string(10'000, 'g') << ":/nowhere:/bin/false\n"
                        << "a\"$(user)\xC3\xA9:x:54322:54322::/nowhere:/bin/false\n";
    ASSERT_EQ(::mount(file.c_str(), users, nullptr, MS_BIND, nullptr), 0);
    isMounted_ = true;
  }
  void TearDown() override {
    if (isMounted_) ::umount2(users, MNT_DETACH);
  }

 private:
  static constexpr char users[] = "/etc/passwd";
  support::TemporaryFolder folder_;
  bool isMounted_ = false;
};

TEST_F(UserInWordsTest, AUserIsHisNameAndHisNumber) { EXPECT_EQ(userInWords(0), R"("root" (0))"); }

TEST_F(UserInWordsTest, AnEntryOfAnyLengthIsRead) { EXPECT_EQ(userInWords(54321), R"("long" (54321))"); }

TEST_F(UserInWordsTest, ANameIsShownWithNothingThatCouldBeTakenForMore) {
  EXPECT_EQ(userInWords(54322), R"("a\x22\x24(user)\xc3\xa9" (54322))");
}

TEST_F(UserInWordsTest, AUserWithoutANameIsHisNumber) { EXPECT_EQ(userInWords(54323), R"("54323" (54323))"); }

}  // namespace
}  // namespace wicket::contract
