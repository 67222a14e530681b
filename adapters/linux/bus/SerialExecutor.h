// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <memory>

namespace wicket::linux_adapter {

/// Runs jobs one after the other, in the order they were added, on a thread of its own that starts
/// with the first job and ends after the last. The thread is not waited for: a job may block as long
/// as it likes, and may drop the last reference to whatever owns the executor. Any thread.
class SerialExecutor {
 public:
  using Job = std::function<void()>;

  SerialExecutor();
  SerialExecutor(const SerialExecutor&) = delete;
  SerialExecutor& operator=(const SerialExecutor&) = delete;
  /// Jobs that were added still run.
  ~SerialExecutor();

  /// False if the job will not run: the executor has had its last job or there is no thread for it.
  [[nodiscard]] bool post(Job job);
  /// Adds the last job, which may be empty. False if there is no thread for it.
  [[nodiscard]] bool finish(Job lastJob);

 private:
  struct State;
  bool add(Job job, bool isLast);
  static void work(const std::shared_ptr<State>& state);

  const std::shared_ptr<State> state_;
};

}  // namespace wicket::linux_adapter
