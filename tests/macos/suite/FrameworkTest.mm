// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/suite/FrameworkTest.h"

#import <Foundation/Foundation.h>

#include "tests/macos/frameworks/Authorization.h"
#include "tests/macos/frameworks/CodeSigning.h"
#include "tests/macos/frameworks/MainBundle.h"
#include "tests/macos/frameworks/Recording.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/SystemVersion.h"
#include "tests/macos/frameworks/UnifiedLog.h"
#include "tests/macos/frameworks/VirtualTime.h"
#include "tests/macos/runtime/AutoreleasePool.h"
#include "tests/macos/runtime/Objects.h"
#include "tests/support/ComesTrue.h"

extern "C" {
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* pool);
}

namespace wicket::suite {
namespace {

/// Those that live as long as the process.
void makeLastingObjects() {
  (void)NSBundle.mainBundle;
  (void)NSRunLoop.currentRunLoop;
}

void resetFrameworks() {
  frameworks::VirtualTime::reset();
  frameworks::setInformationDictionary(nil);
  frameworks::Authorization::answer({});
  frameworks::CodeSigning::answer({});
  frameworks::UnifiedLog::takesFaults = true;
  frameworks::setSystemVersion(14, 0);
  frameworks::Recording::clear();
}

}  // namespace

FrameworkTest::FrameworkTest() : pool_(objc_autoreleasePoolPush()) {
  resetFrameworks();
  makeLastingObjects();
  objectsBefore_ = objc::liveObjects();
  withoutPoolBefore_ = objc::autoreleasedWithoutPool();
  frameworks::setInformationDictionary(@{@"CFBundleVersion" : @"9417"});
  frameworks::CodeSigning::answer(frameworks::CodeSigning::genuine());
}

void FrameworkTest::TearDown() { frameworks::SerialQueue::waitUntilAllAreIdle(); }

FrameworkTest::~FrameworkTest() {
  frameworks::SerialQueue::waitUntilAllAreIdle();
  resetFrameworks();
  objc_autoreleasePoolPop(pool_);
  EXPECT_TRUE(frameworks::SerialQueue::waitUntilAllHaveEnded()) << "a listener or a connection outlives its test";
  // A thread that has just ended a child may still be letting go of the last ones.
  (void)support::comesTrue([this] { return objc::liveObjects() == objectsBefore_; });
  EXPECT_EQ(objc::liveObjects(), objectsBefore_) << "objects outlive what made them";
  EXPECT_EQ(objc::autoreleasedWithoutPool(), withoutPoolBefore_) << "objects were autoreleased without a pool";
}

std::vector<std::string> FrameworkTest::recorded() { return frameworks::Recording::events(); }
std::vector<std::string> FrameworkTest::recorded(std::string_view prefix) {
  return frameworks::Recording::eventsOf(prefix);
}
void FrameworkTest::forget() { frameworks::Recording::clear(); }
void FrameworkTest::forgetAutoreleasedWithoutPool() { withoutPoolBefore_ = objc::autoreleasedWithoutPool(); }

}  // namespace wicket::suite
