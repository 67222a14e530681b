// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/connection/HelperBus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <time.h>
#include <utility>

#include "protocol/AppProtocol.h"
#include "wire/BusNames.h"
#include "wire/ReplyBlock.h"

namespace wicket::companion {

namespace {

std::uint64_t monotonicMicroseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000U + static_cast<std::uint64_t>(now.tv_nsec) / 1'000U;
}

}  // namespace

std::expected<std::unique_ptr<HelperBus>, int> HelperBus::over(Descriptor socket, int cancelDescriptor,
                                                               std::chrono::microseconds timeLimit) {
  std::unique_ptr<HelperBus> bus(new HelperBus(cancelDescriptor, timeLimit));
  if (const int result = bus->start(std::move(socket)); result < 0) return std::unexpected(-result);
  return bus;
}

HelperBus::~HelperBus() {
  reply_.reset();
  sd_bus_close_unref(bus_);
}

int HelperBus::start(Descriptor socket) {
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
  if (const int result = sd_bus_add_match(bus_, nullptr, match.c_str(), &HelperBus::laterReportArrived, this);
      result < 0) {
    return result;
  }
  return sd_bus_start(bus_);
}

int HelperBus::exportLogObject() {
  static const std::string member = wire::memberName(app_protocol::logWithStdOut);
  static const std::array<sd_bus_vtable, 3> table{
      sd_bus_vtable SD_BUS_VTABLE_START(0),
      sd_bus_vtable SD_BUS_METHOD(member.c_str(), "s", "", &HelperBus::logLineArrived,
                                  SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY),
      sd_bus_vtable SD_BUS_VTABLE_END};
  return sd_bus_add_object_vtable(bus_, nullptr, wire::objectPath, wire::appInterface, table.data(), this);
}

HelperBus::Message HelperBus::request(const Selector& selector) {
  sd_bus_message* message = nullptr;
  const int result = sd_bus_message_new_method_call(bus_, &message, nullptr, wire::objectPath, wire::helperInterface,
                                                    wire::memberName(selector).c_str());
  return Message(result < 0 ? nullptr : message);
}

std::expected<HelperBus::Reply, int> HelperBus::call(Message request) {
  reply_.reset();
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_, &slot, request.get(), &HelperBus::replyArrived, this, noDeadline) < 0) {
    return std::unexpected(ECONNRESET);
  }
  const std::unique_ptr<sd_bus_slot, decltype(&sd_bus_slot_unref)> pending(slot, &sd_bus_slot_unref);
  std::uint64_t serial = 0;
  if (sd_bus_message_get_cookie(request.get(), &serial) < 0) return std::unexpected(EBADMSG);
  while (!reply_) {
    if (const auto stepped = step(); !stepped) return std::unexpected(stepped.error());
  }
  Reply reply{std::move(reply_), static_cast<std::uint32_t>(serial)};
  // The library answers a call itself, with this error, when the connection ends under it.
  if (sd_bus_message_is_method_error(reply.message.get(), SD_BUS_ERROR_NO_REPLY) > 0) {
    return std::unexpected(ECONNRESET);
  }
  return reply;
}

std::expected<HelperBus::Reply, int> HelperBus::callWithTimeLimit(Message request) {
  deadline_ = monotonicMicroseconds() + static_cast<std::uint64_t>(timeLimit_.count());
  auto reply = call(std::move(request));
  deadline_ = noDeadline;
  return reply;
}

std::expected<void, int> HelperBus::sendOneWay(Message request) {
  const bool sent = sd_bus_message_set_expect_reply(request.get(), 0) >= 0 &&
                    sd_bus_send(bus_, request.get(), nullptr) >= 0 && sd_bus_flush(bus_) >= 0;
  if (!sent) return std::unexpected(ECONNRESET);
  return {};
}

std::expected<ReplyCode, int> HelperBus::laterReport(std::uint32_t serial) {
  while (true) {
    if (auto report = laterReports_.extract(serial); !report.empty()) return report.mapped();
    if (const auto stepped = step(); !stepped) return std::unexpected(stepped.error());
  }
}

std::expected<void, int> HelperBus::step() {
  const int result = sd_bus_process(bus_, nullptr);
  deliverLogLines();
  if (result < 0) return std::unexpected(ECONNRESET);
  if (result > 0 && cancelDescriptor_ < 0) return {};
  pollfd cancel{cancelDescriptor_, POLLIN, 0};
  if (::poll(&cancel, 1, 0) > 0) return std::unexpected(ECANCELED);
  if (result > 0) return {};
  return monotonicMicroseconds() < deadline_ ? wait() : std::unexpected(ETIMEDOUT);
}

std::expected<void, int> HelperBus::wait() {
  const int events = sd_bus_get_events(bus_);
  const int descriptor = sd_bus_get_fd(bus_);
  std::uint64_t deadline = noDeadline;
  if (events < 0 || descriptor < 0 || sd_bus_get_timeout(bus_, &deadline) < 0) {
    return std::unexpected(ECONNRESET);
  }
  std::array<pollfd, 2> watched{pollfd{descriptor, static_cast<short>(events), 0},
                                pollfd{cancelDescriptor_, POLLIN, 0}};
  if (::poll(watched.data(), watched.size(), millisecondsUntil(std::min(deadline, deadline_))) < 0 && errno != EINTR) {
    return std::unexpected(ECONNRESET);
  }
  return {};
}

int HelperBus::millisecondsUntil(std::uint64_t moment) {
  if (moment == noDeadline) return -1;
  const std::uint64_t now = monotonicMicroseconds();
  if (moment <= now) return 0;
  return static_cast<int>(std::min<std::uint64_t>((moment - now + 999U) / 1'000U, 60'000U));
}

void HelperBus::deliverLogLines() {
  while (!logLines_.empty()) {
    const std::string line = std::move(logLines_.front());
    logLines_.pop_front();
    if (logLineHandler_) logLineHandler_(line);
  }
}

int HelperBus::logLineArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  const char* text = nullptr;
  if (const int result = sd_bus_message_read_basic(message, 's', &text); result < 0) return result;
  static_cast<HelperBus*>(self)->logLines_.emplace_back(text);
  return 1;
}

int HelperBus::replyArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  static_cast<HelperBus*>(self)->reply_.reset(sd_bus_message_ref(message));
  return 1;
}

int HelperBus::laterReportArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  std::uint32_t serial = 0;
  std::int64_t value = 0;
  if (sd_bus_message_has_signature(message, wire::replyBlockSignature) <= 0) return 0;
  if (sd_bus_message_read_basic(message, 'u', &serial) < 0 || sd_bus_message_read_basic(message, 'x', &value) < 0) {
    return 0;
  }
  // It may overtake the caller: a short script can end before waitForExit() is called.
  static_cast<HelperBus*>(self)->laterReports_[serial] = value;
  return 0;
}

}  // namespace wicket::companion
