// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

// The doubles themselves: what the other tests rely on.
#import <Foundation/Foundation.h>
#include <memory>
#include <thread>
#include <utility>

#include "tests/macos/frameworks/SystemVersion.h"
#include "tests/macos/runtime/AutoreleasePool.h"
#include "tests/macos/runtime/Objects.h"
#include "tests/macos/suite/FrameworkTest.h"

@interface Animal : NSObject
@property(copy) void (^noise)(void);
@property(strong) Animal* friendOfIt;
- (int)legs;
@end
@implementation Animal
- (int)legs {
  return 4;
}
@end

@interface Bird : Animal
- (void)hold:(std::shared_ptr<int>)held;
- (double)weightOf:(double)a plus:(double)b and:(int)c of:(int)d to:(int)e at:(int)f on:(int)g;
@end
@implementation Bird {
  std::shared_ptr<int> _held;
}
- (int)legs {
  return [super legs] - 2;
}
- (void)hold:(std::shared_ptr<int>)held {
  _held = std::move(held);
}
- (double)weightOf:(double)a plus:(double)b and:(int)c of:(int)d to:(int)e at:(int)f on:(int)g {
  return a + b + c + d + e + f + g;
}
@end

@interface Bird (Added)
- (int)wings;
@end
@implementation Bird (Added)
- (int)wings {
  return 2;
}
@end

namespace wicket::suite {
namespace {

using RuntimeTest = FrameworkTest;

TEST_F(RuntimeTest, AMethodOfASubclassAndOfACategoryIsFoundAndReachesItsSuperclass) {
  Bird* bird = [[Bird alloc] init];
  EXPECT_EQ([bird legs], 2);
  EXPECT_EQ([bird wings], 2);
  EXPECT_TRUE([bird isKindOfClass:[Animal class]]);
  EXPECT_FALSE([bird isKindOfClass:[NSString class]]);
}

TEST_F(RuntimeTest, ArgumentsInEveryRegisterAndOnTheStackArrive) {
  EXPECT_EQ([[[Bird alloc] init] weightOf:0.5 plus:0.25 and:1 of:2 to:3 at:4 on:5], 15.75);
}

TEST_F(RuntimeTest, AMessageToNilAnswersZero) {
  Bird* none = nil;
  EXPECT_EQ([none legs], 0);
  EXPECT_EQ([none weightOf:1 plus:1 and:1 of:1 to:1 at:1 on:1], 0.0);
}

TEST_F(RuntimeTest, AnObjectThatNobodyHoldsIsDestroyedWithItsVariables) {
  const auto held = std::make_shared<int>(1);
  __weak Bird* weak = nil;
  @autoreleasepool {
    Bird* bird = [[Bird alloc] init];
    [bird hold:held];
    weak = bird;
    EXPECT_EQ(objc::liveObjects()["Bird"], 1);
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_TRUE(weak == nil);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(objc::liveObjects().count("Bird"), 0U);
}

TEST_F(RuntimeTest, AnObjectThatHoldsItselfIsCountedAsAlive) {
  Animal* animal = [[Animal alloc] init];
  __weak Animal* weak = animal;
  animal.friendOfIt = animal;
  animal = nil;
  EXPECT_TRUE(weak != nil);
  EXPECT_EQ(objc::liveObjects()["Animal"], 1);
  weak.friendOfIt = nil;
}

TEST_F(RuntimeTest, ABlockKeepsWhatItCapturesAndSharesWhatItMayChange) {
  const auto held = std::make_shared<int>(1);
  __block int count = 0;
  @autoreleasepool {
    Animal* animal = [[Animal alloc] init];
    animal.noise = ^{
      count += *held;
    };
    EXPECT_GT(held.use_count(), 1);
    animal.noise();
    animal.noise();
  }
  EXPECT_EQ(count, 2);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(RuntimeTest, WhatIsAutoreleasedWithoutAPoolIsCountedAndReleasedWhenItsThreadEnds) {
  const long before = objc::autoreleasedWithoutPool();
  long after = 0;
  std::thread([&] {
    (void)[NSData dataWithBytes:"x" length:1];
    objc_autorelease(objc_retain(reinterpret_cast<objc::Object*>((__bridge void*)@"literal")));
    after = objc::autoreleasedWithoutPool();
  }).join();
  EXPECT_GT(after, before);
  forgetAutoreleasedWithoutPool();
}

TEST_F(RuntimeTest, ManyThreadsMayHoldAndLetGoOfOneObject) {
  __weak Animal* weak = nil;
  @autoreleasepool {
    Animal* animal = [[Animal alloc] init];
    weak = animal;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([animal, weak] {
        for (int round = 0; round < 200; ++round) {
          @autoreleasepool {
            Animal* strong = weak;
            Animal* other = animal;
            animal.friendOfIt = strong == other ? [[Animal alloc] init] : nil;
            EXPECT_EQ([strong legs], 4);
          }
        }
      });
    }
    for (auto& thread : threads) thread.join();
  }
  EXPECT_TRUE(weak == nil);
}

TEST_F(RuntimeTest, TheVersionOfTheSystemIsAskedWhenTheProgramRuns) {
  frameworks::setSystemVersion(10, 15);
  EXPECT_FALSE(@available(macOS 11.0, *));
  EXPECT_TRUE(__builtin_available(macOS 10.15, *));
  frameworks::setSystemVersion(12, 3);
  EXPECT_TRUE(@available(macOS 11.0, *));
}

}  // namespace
}  // namespace wicket::suite
