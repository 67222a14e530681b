// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <systemd/sd-bus.h>
#include <thread>

namespace wicket::support {

/// The user at the dialog: an authentication agent for one process, registered with the polkit of the
/// system bus, that answers every question in the same way.
class PolkitAgent {
 public:
  enum class Behaviour { authenticates, failsToAuthenticate, dismisses };

  /// Only root can speak for another user's process.
  [[nodiscard]] static std::unique_ptr<PolkitAgent> start(pid_t process, Behaviour behaviour);

  PolkitAgent(const PolkitAgent&) = delete;
  PolkitAgent& operator=(const PolkitAgent&) = delete;
  ~PolkitAgent();

  [[nodiscard]] int numberOfQuestions() const { return questions_; }
  /// The user thinks: from now on nothing is answered until release().
  void hold();
  void release();
  /// The text of the last dialog.
  [[nodiscard]] std::string message() const {
    const std::scoped_lock lock(mutex_);
    return message_;
  }

 private:
  explicit PolkitAgent(Behaviour behaviour) : behaviour_(behaviour) {}
  [[nodiscard]] bool registerFor(pid_t process);
  void serve();
  int answer(sd_bus_message* question, sd_bus_error* error);
  [[nodiscard]] int confirm(const std::string& cookie);
  static int onBeginAuthentication(sd_bus_message* question, void* agent, sd_bus_error* error);
  static int onCancelAuthentication(sd_bus_message* notice, void* agent, sd_bus_error* error);
  static const sd_bus_vtable methods[];

  const Behaviour behaviour_;
  sd_bus* bus_ = nullptr;
  uid_t user_ = 0;
  std::atomic<bool> stopping_{false};
  std::atomic<int> questions_{0};
  mutable std::mutex mutex_;
  std::string message_;
  bool isHeld_ = false;
  std::condition_variable released_;
  std::thread thread_;
};

}  // namespace wicket::support
