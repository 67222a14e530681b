// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-bus.h>

#include "base/system/Descriptor.h"
#include "companion/HelperConnection.h"
#include "protocol/Selector.h"

namespace wicket::companion {

/// The D-Bus side of a connection: one request at a time goes out, and what arrives is processed message by
/// message. Nothing of the caller's runs inside a callback of the D-Bus library: log lines and later reports
/// are put aside there and handed out between two messages.
class HelperConnection::Bus {
 public:
  struct MessageRelease {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using Message = std::unique_ptr<sd_bus_message, MessageRelease>;
  struct Reply {
    Message message;
    std::uint32_t serial;
  };

  [[nodiscard]] static std::expected<std::unique_ptr<Bus>, ConnectionError> over(Descriptor socket,
                                                                                 const ConnectOptions& options);

  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;
  ~Bus();

  void setLogLineHandler(LogLineHandler handler) { logLineHandler_ = std::move(handler); }
  /// Null when there is no memory for it.
  [[nodiscard]] Message request(const Selector& selector);
  [[nodiscard]] std::expected<Reply, CallError> call(Message request);
  /// The same for what needs nobody's decision, with ConnectOptions::timeLimit.
  [[nodiscard]] std::expected<Reply, CallError> callWithTimeLimit(Message request);
  [[nodiscard]] std::expected<void, CallError> sendOneWay(Message request);
  [[nodiscard]] std::expected<ReplyCode, CallError> laterReport(std::uint32_t serial);

 private:
  static constexpr std::uint64_t noDeadline = std::numeric_limits<std::uint64_t>::max();

  explicit Bus(const ConnectOptions& options)
      : cancelDescriptor_(options.cancelDescriptor), timeLimit_(options.timeLimit) {}

  [[nodiscard]] int start(Descriptor socket);
  [[nodiscard]] int exportLogObject();
  /// Processes one message, or waits until there is one.
  [[nodiscard]] std::expected<void, CallError> step();
  [[nodiscard]] std::expected<void, CallError> wait();
  void deliverLogLines();

  static int logLineArrived(sd_bus_message* message, void* self, sd_bus_error* error) noexcept;
  static int replyArrived(sd_bus_message* message, void* self, sd_bus_error* error) noexcept;
  static int laterReportArrived(sd_bus_message* message, void* self, sd_bus_error* error) noexcept;

  sd_bus* bus_ = nullptr;
  int cancelDescriptor_;
  std::chrono::microseconds timeLimit_;
  /// When the call that is under way has to have its answer, in microseconds of CLOCK_MONOTONIC.
  std::uint64_t deadline_ = noDeadline;
  LogLineHandler logLineHandler_;
  std::deque<std::string> logLines_;
  Message reply_;
  std::map<std::uint32_t, ReplyCode> laterReports_;
};

}  // namespace wicket::companion
