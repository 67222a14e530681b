// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string>

#include "adapters/linux/peer/FileCache.h"

namespace wicket::contract {
namespace {

using linux_adapter::FileCache;
using linux_adapter::FileIdentity;

constexpr std::time_t now = 1000000;

FileIdentity oldFile(ino_t inode) { return {1, inode, 100, now - 1000, 0}; }

TEST(FileCacheTest, WhatIsKeptIsFoundForThatStateOfThatFileOnly) {
  FileCache<std::string> cache;
  const FileIdentity file = oldFile(1);
  EXPECT_EQ(cache.find(file), std::nullopt);
  cache.keep(file, "value", now);
  EXPECT_EQ(cache.find(file), "value");
  FileIdentity other = file;
  other.device = 2;
  EXPECT_EQ(cache.find(other), std::nullopt);
  other = file;
  other.inode = 2;
  EXPECT_EQ(cache.find(other), std::nullopt);
  other = file;
  ++other.size;
  EXPECT_EQ(cache.find(other), std::nullopt);
  other = file;
  ++other.changeSeconds;
  EXPECT_EQ(cache.find(other), std::nullopt);
  other = file;
  ++other.changeNanoseconds;
  EXPECT_EQ(cache.find(other), std::nullopt);
}

TEST(FileCacheTest, AFileThatMayStillChangeUnnoticedIsNotKept) {
  FileCache<int> cache;
  for (const std::time_t change : {now - 1, now, now + 1000}) {
    const FileIdentity young{1, 1, 100, change, 0};
    cache.keep(young, 1, now);
    EXPECT_EQ(cache.find(young), std::nullopt) << change;
  }
}

TEST(FileCacheTest, ItHoldsAFewAndForgetsWhatWasNotAskedForTheLongestTime) {
  FileCache<int> cache;
  const auto count = FileCache<int>::capacity;
  for (std::size_t i = 0; i < count; ++i) cache.keep(oldFile(i), static_cast<int>(i), now);
  EXPECT_EQ(cache.find(oldFile(0)), 0);
  cache.keep(oldFile(count), 100, now);
  EXPECT_EQ(cache.size(), count);
  EXPECT_EQ(cache.find(oldFile(0)), 0);
  EXPECT_EQ(cache.find(oldFile(1)), std::nullopt);
  EXPECT_EQ(cache.find(oldFile(count)), 100);
}

TEST(FileCacheTest, ALaterValueTakesTheEarliersPlace) {
  FileCache<int> cache;
  cache.keep(oldFile(1), 1, now);
  cache.keep(oldFile(1), 2, now);
  EXPECT_EQ(cache.find(oldFile(1)), 2);
  EXPECT_EQ(cache.size(), 1U);
}

}  // namespace
}  // namespace wicket::contract
