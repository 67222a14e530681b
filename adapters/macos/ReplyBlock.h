// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <mutex>
#include <optional>
#include <utility>

#include "adapters/macos/ServedCalls.h"

namespace wicket::macos_adapter {

/// The completion block of one call. XPC carries one answer for each call, so the first one goes out and each later
/// one, such as a script's exit status, is dropped. The block is let go of with the first answer: a script may
/// outlive its client by far. Any thread.
template <class Argument>
class ReplyBlock {
 public:
  using Block = void (^)(Argument);

  /// @p block is nil when the client wants no answer.
  ReplyBlock(Block block, ServedCalls::Call call) : block_([block copy]), call_(std::move(call)) {}
  ReplyBlock(const ReplyBlock&) = delete;
  ReplyBlock& operator=(const ReplyBlock&) = delete;
  ~ReplyBlock() = default;

  void call(Argument argument) {
    std::optional<ServedCalls::Call> answered;  // ends after the block has run
    Block block = nil;
    {
      const std::scoped_lock lock(mutex_);
      block = std::exchange(block_, nil);
      if (call_) answered.emplace(*std::move(call_));
      call_.reset();
    }
    if (block != nil) block(argument);
  }

 private:
  std::mutex mutex_;
  Block block_;
  std::optional<ServedCalls::Call> call_;
};

}  // namespace wicket::macos_adapter
