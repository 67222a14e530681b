// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/macos/CallingUser.h"
#include "adapters/macos/MacSourceFiles.h"
#include "tests/support/Machine.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::suite {
namespace {

using macos_adapter::CallingUser;
using macos_adapter::MacSourceFiles;

constexpr uid_t somebody = 65534;
constexpr gid_t itsGroup = 4001;

class SourceFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::root);
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
  }
  std::string place(const std::string& name, uid_t owner, gid_t group, mode_t mode) {
    const std::string path = folder_.path(name);
    std::ofstream(path) << name;
    EXPECT_EQ(::chown(path.c_str(), owner, group), 0);
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
  }
  /// 0, or the number of the error.
  static int open(const std::string& path) {
    const CallingUser::Scope onBehalfOf({somebody, itsGroup});
    MacSourceFiles files;
    const auto file = files.open(path);
    EXPECT_EQ(::geteuid(), 0U) << "the thread is root again";
    return file ? 0 : file.error().number;
  }

  const support::TemporaryFolder folder_;
};

TEST_F(SourceFilesTest, OutsideAClientsCallNothingIsOpened) {
  MacSourceFiles files;
  EXPECT_EQ(files.open(place("open", 0, 0, 0644)).error().number, EPERM);
}

TEST_F(SourceFilesTest, AFileIsReadWithTheCallersRightsAndNotWithThoseOfRoot) {
  EXPECT_EQ(open(place("open", 0, 0, 0644)), 0);
  EXPECT_EQ(open(place("own", somebody, 0, 0600)), 0);
  EXPECT_EQ(open(place("of its group", 0, itsGroup, 0640)), 0);
  EXPECT_EQ(open(place("of root", 0, 0, 0600)), EACCES);
  EXPECT_EQ(open(place("of another", 1234, 0, 0600)), EACCES);
}

}  // namespace
}  // namespace wicket::suite
