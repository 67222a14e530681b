// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/PolkitQuestion.h"

#include <limits>
#include <sys/epoll.h>

#include "adapters/linux/authorization/PolkitMessages.h"

namespace wicket::linux_adapter {
namespace {

/// A time limit of zero would be the library's default of 25 seconds.
constexpr std::uint64_t noTimeLimit = std::numeric_limits<std::uint64_t>::max();

}  // namespace

void PolkitQuestion::watch(sd_event* event) noexcept {
  const bool isWatched = watch(event, terms_.subject.pidfd(), subjectEnd_) && watch(event, terms_.asker, askerEnd_);
  if (!isWatched) answer(authorization_status::internal);
}

// The version is asked for each time: another polkit may have taken the name since the last question.
void PolkitQuestion::ask(sd_bus* bus, std::uint64_t number) noexcept {
  bus_ = bus;
  cancellationId_ = std::to_string(number);
  if (!call(PolkitMessages::versionCall(bus_), &PolkitQuestion::onVersion)) answer(authorization_status::internal);
}

void PolkitQuestion::answer(AuthorizationStatus status) noexcept {
  if (!answer_) answer_ = status;
  subjectEnd_.reset();
  askerEnd_.reset();
}

void PolkitQuestion::tell() noexcept {
  if (answer_ && !std::exchange(isTold_, true)) outcome_.set_value(*answer_);
}

bool PolkitQuestion::watch(sd_event* event, int process, SdHandle<sd_event_source>& end) noexcept {
  if (process < 0) return true;
  sd_event_source* source = nullptr;
  if (sd_event_add_io(event, &source, process, EPOLLIN, &PolkitQuestion::onEnd, this) < 0) return false;
  end.reset(source);
  return true;
}

bool PolkitQuestion::call(const SdHandle<sd_bus_message>& message, sd_bus_message_handler_t handler) {
  sd_bus_slot* slot = nullptr;
  if (!message || sd_bus_call_async(bus_, &slot, message.get(), handler, this, noTimeLimit) < 0) return false;
  reply_.reset(slot);
  return true;
}

// Who cannot tell its version is not asked: without the descriptor the question would be about a mere number.
int PolkitQuestion::onVersion(sd_bus_message* reply, void* question, sd_bus_error* /*error*/) {
  auto& self = *static_cast<PolkitQuestion*>(question);
  self.reply_.reset();
  if (self.isAnswered()) return 0;
  if (const auto* const failure = sd_bus_message_get_error(reply)) {
    self.answer(PolkitMessages::statusOf(*failure));
  } else {
    self.check(PolkitMessages::knowsPidfds(reply));
  }
  return 0;
}

void PolkitQuestion::check(bool withPidfd) {
  const auto message = PolkitMessages::checkCall(bus_, {.subject = terms_.subject,
                                                        .action = terms_.action,
                                                        .details = terms_.details,
                                                        .cancellationId = cancellationId_,
                                                        .withPidfd = withPidfd});
  if (!call(message, &PolkitQuestion::onCheck)) answer(authorization_status::internal);
}

int PolkitQuestion::onCheck(sd_bus_message* reply, void* question, sd_bus_error* /*error*/) {
  auto& self = *static_cast<PolkitQuestion*>(question);
  self.reply_.reset();
  const auto* const failure = sd_bus_message_get_error(reply);
  self.answer(failure != nullptr ? PolkitMessages::statusOf(*failure) : PolkitMessages::statusOf(reply));
  return 0;
}

int PolkitQuestion::onEnd(sd_event_source* /*source*/, int /*process*/, std::uint32_t /*events*/, void* question) {
  auto& self = *static_cast<PolkitQuestion*>(question);
  if (self.awaitsReply()) self.takeBack();
  self.answer(authorization_status::denied);
  return 0;
}

/// Polkit does not mind a name that it has not heard of yet. Should this fail, it takes the question back when the
/// connection ends.
void PolkitQuestion::takeBack() {
  const auto message = PolkitMessages::cancelCall(bus_, cancellationId_);
  if (message) sd_bus_send(bus_, message.get(), nullptr);
}

}  // namespace wicket::linux_adapter
