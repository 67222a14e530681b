// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <expected>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <utility>

#include "base/system/Descriptor.h"
#include "protocol/ReplyCode.h"
#include "protocol/Selector.h"

namespace wicket::companion {

/// The D-Bus side of a connection: one request at a time goes out, and what arrives is processed message by
/// message. Nothing of the caller's runs inside a callback of the D-Bus library: log lines and later reports
/// are put aside there and handed out between two messages.
///
/// Errors are error numbers: ECONNRESET when the connection has ended, ETIMEDOUT, ECANCELED when the cancel
/// descriptor can be read, and others for what makes no sense.
class HelperBus {
 public:
  using LogLineHandler = std::function<void(std::string_view text)>;
  struct MessageRelease {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using Message = std::unique_ptr<sd_bus_message, MessageRelease>;
  struct Reply {
    Message message;  ///< may be an error of the helper's
    std::uint32_t serial;
  };

  /// @p cancelDescriptor is -1 for none; @p timeLimit is for callWithTimeLimit().
  [[nodiscard]] static std::expected<std::unique_ptr<HelperBus>, int> over(Descriptor socket, int cancelDescriptor,
                                                                           std::chrono::microseconds timeLimit);

  HelperBus(const HelperBus&) = delete;
  HelperBus& operator=(const HelperBus&) = delete;
  ~HelperBus();

  void setLogLineHandler(LogLineHandler handler) { logLineHandler_ = std::move(handler); }
  /// Null when there is no memory for it.
  [[nodiscard]] Message request(const Selector& selector);
  [[nodiscard]] std::expected<Reply, int> call(Message request);
  /// The same for what needs nobody's decision.
  [[nodiscard]] std::expected<Reply, int> callWithTimeLimit(Message request);
  [[nodiscard]] std::expected<void, int> sendOneWay(Message request);
  [[nodiscard]] std::expected<ReplyCode, int> laterReport(std::uint32_t serial);

 private:
  static constexpr std::uint64_t noDeadline = std::numeric_limits<std::uint64_t>::max();

  HelperBus(int cancelDescriptor, std::chrono::microseconds timeLimit)
      : cancelDescriptor_(cancelDescriptor), timeLimit_(timeLimit) {}

  [[nodiscard]] int start(Descriptor socket);
  [[nodiscard]] int exportLogObject();
  /// Processes one message, or waits until there is one.
  [[nodiscard]] std::expected<void, int> step();
  [[nodiscard]] std::expected<void, int> wait();
  /// What poll() takes for a moment of the monotonic clock, rounded up.
  [[nodiscard]] static int millisecondsUntil(std::uint64_t moment);
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
