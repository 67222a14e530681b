// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <unistd.h>

#include "companion/hardening/ResourceLimits.h"

namespace wicket::companion {
namespace {

void expectPlan(int resource, rlimit now, rlimit wanted) {
  const auto plan = ResourceLimits::planned(resource, now);
  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->rlim_cur, wanted.rlim_cur);
  EXPECT_EQ(plan->rlim_max, wanted.rlim_max);
}

TEST(ResourceLimitsTest, NoCoreFileCanBeWrittenOrAllowedAgain) {
  expectPlan(RLIMIT_CORE, {RLIM_INFINITY, RLIM_INFINITY}, {0, 0});
  expectPlan(RLIMIT_CORE, {0, 5}, {0, 0});
}

TEST(ResourceLimitsTest, TinySoftLimitsGoUpToTheHardOnes) {
  for (const int resource : {RLIMIT_FSIZE, RLIMIT_CPU, RLIMIT_AS, RLIMIT_DATA}) {
    expectPlan(resource, {0, RLIM_INFINITY}, {RLIM_INFINITY, RLIM_INFINITY});
    expectPlan(resource, {1, 4096}, {4096, 4096});
  }
}

TEST(ResourceLimitsTest, DescriptorsAreAsManyAsUsualWhateverTheCallerSaid) {
  expectPlan(RLIMIT_NOFILE, {4, 1'000'000}, {1024, 1'000'000});
  expectPlan(RLIMIT_NOFILE, {1'000'000, 1'000'000}, {1024, 1'000'000});
  expectPlan(RLIMIT_NOFILE, {3, 8}, {8, 8});
}

TEST(ResourceLimitsTest, TheStackIsOfTheUsualSizeWhereItMayBe) {
  constexpr rlim_t eightMebibytes = 8388608;
  expectPlan(RLIMIT_STACK, {RLIM_INFINITY, RLIM_INFINITY}, {eightMebibytes, RLIM_INFINITY});
  expectPlan(RLIMIT_STACK, {4096, RLIM_INFINITY}, {eightMebibytes, RLIM_INFINITY});
  expectPlan(RLIMIT_STACK, {4096, 65536}, {65536, 65536});
}

TEST(ResourceLimitsTest, WhatIsRightAlreadyStays) {
  EXPECT_FALSE(ResourceLimits::planned(RLIMIT_CORE, {0, 0}));
  EXPECT_FALSE(ResourceLimits::planned(RLIMIT_NOFILE, {1024, 4096}));
  EXPECT_FALSE(ResourceLimits::planned(RLIMIT_FSIZE, {7, 7}));
}

TEST(ResourceLimitsTest, NoHardLimitIsEverRaised) {
  for (const int resource : ResourceLimits::resources()) {
    const auto plan = ResourceLimits::planned(resource, {3, 5});
    if (plan) {
      EXPECT_LE(plan->rlim_max, 5U) << resource;
      EXPECT_LE(plan->rlim_cur, plan->rlim_max) << resource;
    }
  }
}

[[noreturn]] void enterFromATinyLimit() {
  const rlimit tiny{0, RLIM_INFINITY};
  ::setrlimit(RLIMIT_FSIZE, &tiny);
  const bool entered = ResourceLimits::enter();
  rlimit core{1, 1};
  rlimit size{};
  ::getrlimit(RLIMIT_CORE, &core);
  ::getrlimit(RLIMIT_FSIZE, &size);
  ::_exit(entered && core.rlim_max == 0 && size.rlim_cur == RLIM_INFINITY ? 0 : 1);
}

TEST(ResourceLimitsTest, EnteringChangesThisProcess) {
  EXPECT_EXIT(enterFromATinyLimit(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace wicket::companion
