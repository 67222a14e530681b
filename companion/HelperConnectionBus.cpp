// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/HelperConnectionBus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <poll.h>
#include <time.h>
#include <utility>

#include "protocol/AppProtocol.h"
#include "wire/BusNames.h"
#include "wire/ReplyBlock.h"
#include "wire/UserLimits.h"

namespace wicket::companion {

namespace {

constexpr std::uint64_t noTimeLimit = std::numeric_limits<std::uint64_t>::max();

std::uint64_t monotonicMicroseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000U + static_cast<std::uint64_t>(now.tv_nsec) / 1'000U;
}

/// What poll() takes for a moment of the monotonic clock, rounded up.
int millisecondsUntil(std::uint64_t moment) {
  if (moment == noTimeLimit) return -1;
  const std::uint64_t now = monotonicMicroseconds();
  if (moment <= now) return 0;
  return static_cast<int>(std::min<std::uint64_t>((moment - now + 999U) / 1'000U, 60'000U));
}

CallError errorIn(sd_bus_message* reply) {
  const auto is = [reply](const char* name) { return sd_bus_message_is_method_error(reply, name) > 0; };
  // The library answers a call itself, with this error, when the connection ends under it.
  if (is(SD_BUS_ERROR_NO_REPLY)) return CallError::connectionCut;
  if (is(wire::openConnections.error)) return CallError::tooManyConnections;
  if (is(wire::openQuestions.error)) return CallError::tooManyQuestions;
  if (is(wire::runningScripts.error)) return CallError::tooManyScripts;
  return CallError::rejected;
}

}  // namespace

std::expected<std::unique_ptr<HelperConnection::Bus>, ConnectionError> HelperConnection::Bus::over(
    Descriptor socket, const ConnectOptions& options) {
  std::unique_ptr<Bus> bus(new Bus(options));
  if (const int result = bus->start(std::move(socket)); result < 0) {
    return std::unexpected(ConnectionError{ConnectionFailure::failed, -result});
  }
  return bus;
}

HelperConnection::Bus::~Bus() {
  reply_.reset();
  sd_bus_close_unref(bus_);
}

int HelperConnection::Bus::start(Descriptor socket) {
  if (const int result = sd_bus_new(&bus_); result < 0) return result;
  const int descriptor = socket.get();
  if (const int result = sd_bus_set_fd(bus_, descriptor, descriptor); result < 0) return result;
  static_cast<void>(socket.release());
  // Two ends of one socket: there is no bus to say hello to.
  if (const int result = sd_bus_set_bus_client(bus_, 0); result < 0) return result;
  if (const int result = sd_bus_negotiate_fds(bus_, 0); result < 0) return result;
  if (const int result = exportLogObject(); result < 0) return result;
  const std::string match = std::string("type='signal',interface='") + wire::replyBlockInterface + "',member='" +
                            wire::replyBlockSignal + "',path='" + wire::objectPath + "'";
  if (const int result = sd_bus_add_match(bus_, nullptr, match.c_str(), &Bus::laterReportArrived, this); result < 0) {
    return result;
  }
  return sd_bus_start(bus_);
}

int HelperConnection::Bus::exportLogObject() {
  static const std::string member = wire::memberName(app_protocol::logWithStdOut);
  static const std::array<sd_bus_vtable, 3> table{
      sd_bus_vtable SD_BUS_VTABLE_START(0),
      sd_bus_vtable SD_BUS_METHOD(member.c_str(), "s", "", &Bus::logLineArrived,
                                  SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY),
      sd_bus_vtable SD_BUS_VTABLE_END};
  return sd_bus_add_object_vtable(bus_, nullptr, wire::objectPath, wire::appInterface, table.data(), this);
}

HelperConnection::Bus::Message HelperConnection::Bus::request(const Selector& selector) {
  sd_bus_message* message = nullptr;
  const int result = sd_bus_message_new_method_call(bus_, &message, nullptr, wire::objectPath, wire::helperInterface,
                                                    wire::memberName(selector).c_str());
  return Message(result < 0 ? nullptr : message);
}

std::expected<HelperConnection::Bus::Reply, CallError> HelperConnection::Bus::call(Message request) {
  reply_.reset();
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_, &slot, request.get(), &Bus::replyArrived, this, noTimeLimit) < 0) {
    return std::unexpected(CallError::connectionCut);
  }
  const std::unique_ptr<sd_bus_slot, decltype(&sd_bus_slot_unref)> pending(slot, &sd_bus_slot_unref);
  std::uint64_t serial = 0;
  if (sd_bus_message_get_cookie(request.get(), &serial) < 0) return std::unexpected(CallError::rejected);
  while (!reply_) {
    if (const auto stepped = step(); !stepped) return std::unexpected(stepped.error());
  }
  Reply reply{std::move(reply_), static_cast<std::uint32_t>(serial)};
  if (sd_bus_message_is_method_error(reply.message.get(), nullptr) == 0) return reply;
  return std::unexpected(errorIn(reply.message.get()));
}

std::expected<HelperConnection::Bus::Reply, CallError> HelperConnection::Bus::callWithTimeLimit(Message request) {
  deadline_ = monotonicMicroseconds() + static_cast<std::uint64_t>(timeLimit_.count());
  auto reply = call(std::move(request));
  deadline_ = noDeadline;
  return reply;
}

std::expected<void, CallError> HelperConnection::Bus::sendOneWay(Message request) {
  const bool sent = sd_bus_message_set_expect_reply(request.get(), 0) >= 0 &&
                    sd_bus_send(bus_, request.get(), nullptr) >= 0 && sd_bus_flush(bus_) >= 0;
  if (!sent) return std::unexpected(CallError::connectionCut);
  return {};
}

std::expected<ReplyCode, CallError> HelperConnection::Bus::laterReport(std::uint32_t serial) {
  while (true) {
    if (auto report = laterReports_.extract(serial); !report.empty()) return report.mapped();
    if (const auto stepped = step(); !stepped) return std::unexpected(stepped.error());
  }
}

std::expected<void, CallError> HelperConnection::Bus::step() {
  const int result = sd_bus_process(bus_, nullptr);
  deliverLogLines();
  if (result < 0) return std::unexpected(CallError::connectionCut);
  if (result > 0 && cancelDescriptor_ < 0) return {};
  pollfd cancel{cancelDescriptor_, POLLIN, 0};
  if (::poll(&cancel, 1, 0) > 0) return std::unexpected(CallError::interrupted);
  if (result > 0) return {};
  return monotonicMicroseconds() < deadline_ ? wait() : std::unexpected(CallError::timedOut);
}

std::expected<void, CallError> HelperConnection::Bus::wait() {
  const int events = sd_bus_get_events(bus_);
  const int descriptor = sd_bus_get_fd(bus_);
  std::uint64_t deadline = noTimeLimit;
  if (events < 0 || descriptor < 0 || sd_bus_get_timeout(bus_, &deadline) < 0) {
    return std::unexpected(CallError::connectionCut);
  }
  std::array<pollfd, 2> watched{pollfd{descriptor, static_cast<short>(events), 0},
                                pollfd{cancelDescriptor_, POLLIN, 0}};
  if (::poll(watched.data(), watched.size(), millisecondsUntil(std::min(deadline, deadline_))) < 0 && errno != EINTR) {
    return std::unexpected(CallError::connectionCut);
  }
  return {};
}

void HelperConnection::Bus::deliverLogLines() {
  while (!logLines_.empty()) {
    const std::string line = std::move(logLines_.front());
    logLines_.pop_front();
    if (logLineHandler_) logLineHandler_(line);
  }
}

int HelperConnection::Bus::logLineArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  const char* text = nullptr;
  if (const int result = sd_bus_message_read_basic(message, 's', &text); result < 0) return result;
  static_cast<Bus*>(self)->logLines_.emplace_back(text);
  return 1;
}

int HelperConnection::Bus::replyArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  static_cast<Bus*>(self)->reply_.reset(sd_bus_message_ref(message));
  return 1;
}

int HelperConnection::Bus::laterReportArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  std::uint32_t serial = 0;
  std::int64_t value = 0;
  if (sd_bus_message_has_signature(message, wire::replyBlockSignature) <= 0) return 0;
  if (sd_bus_message_read_basic(message, 'u', &serial) < 0 || sd_bus_message_read_basic(message, 'x', &value) < 0) {
    return 0;
  }
  // It may overtake the caller: a short script can end before waitForExit() is called.
  static_cast<Bus*>(self)->laterReports_[serial] = value;
  return 0;
}

}  // namespace wicket::companion
