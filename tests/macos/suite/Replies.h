// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tests/macos/frameworks/Strings.h"
#include "tests/support/Patience.h"

namespace wicket::suite {

/// The answers to a client's calls. The blocks refer to this object, which must outlive them. Any thread.
class Replies {
 public:
  [[nodiscard]] void (^code())(int64_t) {
    return ^(int64_t value) {
      this->add(std::to_string(value));
    };
  }
  [[nodiscard]] void (^text())(NSString*) {
    return ^(NSString* value) {
      this->add(value == nil ? "nil" : std::string(value.wicketText));
    };
  }
  [[nodiscard]] std::vector<std::string> all() {
    const std::scoped_lock lock(mutex_);
    return replies_;
  }
  [[nodiscard]] std::vector<std::string> await(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, support::patience, [&] { return replies_.size() >= count; });
    return replies_;
  }

 private:
  void add(std::string reply) {
    const std::scoped_lock lock(mutex_);
    replies_.push_back(std::move(reply));
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> replies_;
};

}  // namespace wicket::suite
