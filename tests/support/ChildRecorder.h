// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "helper/platform/ChildProcess.h"
#include "tests/support/Patience.h"

namespace wicket::support {

/// Keeps everything that one child's handlers are told, and lets a test wait for it.
class ChildRecorder {
 public:
  struct Record {
    std::string output;
    std::string error;
    std::vector<std::string> chunks;  ///< of standard output
    std::vector<int> terminations;
    std::size_t outputAtTermination = 0;
    bool released = false;
    bool overlapped = false;  ///< two handlers ran at once
  };

  /// A task whose handlers record. @p inHandler runs in the output handler, after the recording.
  ChildProcessTask task(std::string launchPath, std::vector<std::string> arguments,
                        std::function<void()> inHandler = {}) {
    const auto token = std::make_shared<Token>(state_);
    ChildProcessTask task;
    task.launchPath = std::move(launchPath);
    task.arguments = std::move(arguments);
    task.onStandardOutput = [token, inHandler](std::span<const std::byte> chunk) {
      const Turn turn(*token->state);
      token->state->change([&](Record& record) {
        record.chunks.push_back(text(chunk));
        record.output += record.chunks.back();
      });
      if (inHandler) inHandler();
    };
    task.onStandardError = [token](std::span<const std::byte> chunk) {
      const Turn turn(*token->state);
      token->state->change([&](Record& record) { record.error += text(chunk); });
    };
    task.onTermination = [token](int status) {
      const Turn turn(*token->state);
      token->state->change([&](Record& record) {
        record.terminations.push_back(status);
        record.outputAtTermination = record.output.size();
      });
    };
    return task;
  }
  ChildProcessTask shell(std::string script, std::function<void()> inHandler = {}) {
    return task("/bin/sh", {"-c", std::move(script)}, std::move(inHandler));
  }

  /// False when it has not come true within @p limit.
  [[nodiscard]] bool waitFor(const std::function<bool(const Record&)>& condition,
                             std::chrono::milliseconds limit = patience) {
    std::unique_lock lock(state_->mutex);
    return state_->changed.wait_for(lock, limit, [&] { return condition(state_->record); });
  }
  [[nodiscard]] bool waitForTermination() {
    return waitFor([](const Record& record) { return !record.terminations.empty(); });
  }
  [[nodiscard]] bool waitForOutput(std::string_view text) {
    return waitFor([text](const Record& record) { return record.output == text; });
  }
  /// The handlers have been released, so nothing more can come.
  [[nodiscard]] bool waitForRelease() {
    return waitFor([](const Record& record) { return record.released; });
  }
  [[nodiscard]] Record record() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->record;
  }

 private:
  struct State {
    void change(const std::function<void(Record&)>& edit) {
      const std::scoped_lock lock(mutex);
      edit(record);
      changed.notify_all();
    }
    std::mutex mutex;
    std::condition_variable changed;
    Record record;
    std::atomic<int> running = 0;
  };

  // Held by the handlers alone.
  struct Token {
    explicit Token(std::shared_ptr<State> shared) : state(std::move(shared)) {}
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;
    ~Token() {
      state->change([](Record& record) { record.released = true; });
    }
    std::shared_ptr<State> state;
  };

  class Turn {
   public:
    explicit Turn(State& state) : state_(state) {
      if (++state_.running > 1) state_.change([](Record& record) { record.overlapped = true; });
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { --state_.running; }

   private:
    State& state_;
  };

  static std::string text(std::span<const std::byte> bytes) {
    std::string result;
    result.reserve(bytes.size());
    for (const std::byte byte : bytes) result += std::to_integer<char>(byte);
    return result;
  }

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace wicket::support
