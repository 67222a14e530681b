// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "base/system/linux/Shortage.h"
#include "companion/doctor/Shortage.h"

namespace wicket::companion::doctor {
namespace {

/// From then on no more than so many descriptors can be opened at once. To be called in a process of its own.
void leaveDescriptors(int count) {
  const int next = ::open("/", O_PATH | O_CLOEXEC);
  const rlimit limits{static_cast<rlim_t>(next + count), static_cast<rlim_t>(next + count)};
  if (next < 0 || ::close_range(static_cast<unsigned>(next), ~0U, 0) != 0) ::_exit(255);
  if (::setrlimit(RLIMIT_NOFILE, &limits) != 0) ::_exit(255);
}

TEST(ShortageTest, AnErrorThatIsOneIsTold) {
  for (const int error : {EMFILE, ENFILE, ENOMEM}) {
    EXPECT_TRUE(linux_adapter::isShortage(error)) << error;
    EXPECT_EQ(Shortage::behind(error), error);
  }
}

TEST(ShortageTest, WhereThereIsNoneNoOtherErrorIsOne) {
  for (const int error : {0, ENOENT, EACCES, ECONNREFUSED}) {
    EXPECT_FALSE(linux_adapter::isShortage(error)) << error;
    EXPECT_EQ(Shortage::behind(error), 0) << error;
  }
}

TEST(ShortageDeathTest, TooFewDescriptorsAreOneWhateverTheErrorSays) {
  EXPECT_EXIT(
      {
        leaveDescriptors(2);
        const bool isRight = Shortage::behind(ENOENT) == EMFILE && Shortage::behind(0, 3) == EMFILE &&
                             Shortage::behind(0, 2) == 0 && Shortage::behind(0, 2) == 0;
        ::_exit(isRight ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace wicket::companion::doctor
