// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <systemd/sd-bus.h>
#include <thread>
#include <vector>

#include "base/system/linux/SdHandle.h"

namespace wicket::support {

/// The user at the dialog: an authentication agent for one process, registered with the polkit of the
/// system bus, that answers every question in the same way, or each as it is told.
class PolkitAgent {
 public:
  enum class Behaviour { authenticates, failsToAuthenticate, dismisses };

  /// What one dialog shows.
  struct Dialog {
    std::string message;
    /// Polkit has taken it back.
    bool isCanceled = false;
  };

  /// Only root can speak for another user's process.
  [[nodiscard]] static std::unique_ptr<PolkitAgent> start(pid_t process, Behaviour behaviour);

  PolkitAgent(const PolkitAgent&) = delete;
  PolkitAgent& operator=(const PolkitAgent&) = delete;
  ~PolkitAgent();

  [[nodiscard]] int numberOfQuestions() const { return static_cast<int>(dialogs().size()); }
  /// The user thinks: from now on nothing is answered until release().
  void hold();
  void release();
  /// This one is answered like that, even while the others are held.
  void decide(std::size_t dialog, Behaviour behaviour);
  /// All there ever were, in the order in which they were opened.
  [[nodiscard]] std::vector<Dialog> dialogs() const;
  /// The text of the last dialog.
  [[nodiscard]] std::string message() const;

 private:
  struct Question {
    Dialog dialog;
    std::string cookie;
    std::optional<Behaviour> decision;
    /// None once it has been answered.
    linux_adapter::SdHandle<sd_bus_message> call;
  };

  explicit PolkitAgent(Behaviour behaviour) : behaviour_(behaviour) {}
  [[nodiscard]] bool registerFor(pid_t process);
  void serve();
  int open(sd_bus_message* call);
  int cancel(sd_bus_message* notice);
  [[nodiscard]] bool answerNext();
  void answer(sd_bus_message* call, const std::string& cookie, Behaviour behaviour);
  [[nodiscard]] int confirm(const std::string& cookie);
  static int onBeginAuthentication(sd_bus_message* call, void* agent, sd_bus_error* error);
  static int onCancelAuthentication(sd_bus_message* notice, void* agent, sd_bus_error* error);
  static const sd_bus_vtable methods[];

  const Behaviour behaviour_;
  sd_bus* bus_ = nullptr;
  uid_t user_ = 0;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::vector<Question> questions_;
  bool isHeld_ = false;
  std::thread thread_;
};

}  // namespace wicket::support
