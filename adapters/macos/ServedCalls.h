// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace wicket::macos_adapter {

/// The calls of all clients that wait for an answer, so that the process does not end in the middle of one. Any
/// thread.
class ServedCalls : public std::enable_shared_from_this<ServedCalls> {
 public:
  /// One call, from its arrival until its answer has been handed to the system or can no longer come.
  class Call {
   public:
    explicit Call(std::shared_ptr<ServedCalls> calls);
    Call(Call&&) noexcept = default;
    Call& operator=(Call&&) noexcept = delete;
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call();

   private:
    std::shared_ptr<ServedCalls> calls_;
  };

  /// A client was taken; it has half a second to ask for something.
  void clientWasAccepted();
  [[nodiscard]] Call begin() { return Call(shared_from_this()); }
  /// Blocks until nobody waits any more, for a second at most.
  void waitUntilQuiet();

 private:
  using Clock = std::chrono::steady_clock;

  std::mutex mutex_;
  std::condition_variable changed_;
  int unanswered_ = 0;
  Clock::time_point quietFrom_ = Clock::time_point::min();
};

}  // namespace wicket::macos_adapter
