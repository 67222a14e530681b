// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <future>
#include <optional>
#include <string>
#include <utility>

#include "adapters/linux/peer/ProcessIdentity.h"
#include "base/system/linux/SdHandle.h"
#include "helper/platform/AuthorizationServices.h"

namespace wicket::linux_adapter {

/// What is asked. The processes outlive the question.
struct PolkitTerms {
  const ProcessIdentity& subject;  ///< may it do this?
  int asker;                       ///< the pidfd of who wants to know, where that is another process; otherwise -1
  std::string action;
  AuthorizationDetails details;
};

/// One question to polkit, from being asked to its answer. It ends with either process: polkit takes its dialog back,
/// and the answer is -60005.
class PolkitQuestion {
 public:
  explicit PolkitQuestion(PolkitTerms terms) : terms_(std::move(terms)) {}
  PolkitQuestion(const PolkitQuestion&) = delete;
  PolkitQuestion& operator=(const PolkitQuestion&) = delete;

  /// The thread that asks, once: blocks without a time limit.
  [[nodiscard]] AuthorizationStatus await() { return outcome_.get_future().get(); }

  /// @name The conversation's thread
  /// @{
  /// From now on it ends with either process.
  void watch(sd_event* event) noexcept;
  /// @p number tells it from all other questions on this bus.
  void ask(sd_bus* bus, std::uint64_t number) noexcept;
  [[nodiscard]] bool isAnswered() const { return answer_.has_value(); }
  /// The first answer is the one that counts. Lets go of both processes.
  void answer(AuthorizationStatus status) noexcept;
  /// Lets the thread that asks have the answer, if there is one.
  void tell() noexcept;
  /// Polkit has still to reply, if only to a question that was taken back.
  [[nodiscard]] bool awaitsReply() const { return reply_ != nullptr; }
  /// @}

 private:
  [[nodiscard]] bool watch(sd_event* event, int process, SdHandle<sd_event_source>& end) noexcept;
  [[nodiscard]] bool call(const SdHandle<sd_bus_message>& message, sd_bus_message_handler_t handler);
  void check(bool withPidfd);
  void takeBack();
  static int onVersion(sd_bus_message* reply, void* question, sd_bus_error* error);
  static int onCheck(sd_bus_message* reply, void* question, sd_bus_error* error);
  static int onEnd(sd_event_source* source, int process, std::uint32_t events, void* question);

  const PolkitTerms terms_;
  std::promise<AuthorizationStatus> outcome_;
  std::optional<AuthorizationStatus> answer_;
  bool isTold_ = false;
  sd_bus* bus_ = nullptr;
  std::string cancellationId_;
  SdHandle<sd_event_source> subjectEnd_;
  SdHandle<sd_event_source> askerEnd_;
  SdHandle<sd_bus_slot> reply_;
};

}  // namespace wicket::linux_adapter
