// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "protocol/ReplyCode.h"
#include "wire/UserLimits.h"

namespace wicket::linux_adapter {

/// Which request something answers: our own name for it, and the serial the client gave it.
struct RequestId {
  std::uint64_t number;
  std::uint32_t serial;
};

/// What a reply carries; nothing for a one-way operation.
using ReplyValue = std::variant<std::monostate, std::string, ReplyCode>;

/// The things that are sent to a client.
struct MethodReply {
  RequestId request;
  ReplyValue value;
};
/// The reply block was let go of without having been called.
struct MissingReply {
  RequestId request;
};
/// The call was not carried out: its user has as much as he may have.
struct LimitReached {
  RequestId request;
  const wire::UserLimit* limit;
};
struct CalledAgain {
  RequestId request;
  ReplyCode code;
};
struct LogLine {
  std::string text;
};
using Outgoing = std::variant<MethodReply, MissingReply, LimitReached, CalledAgain, LogLine>;

/// Where whoever has something for a client puts it. Any thread.
class OutgoingSink {
 public:
  OutgoingSink() = default;
  OutgoingSink(const OutgoingSink&) = delete;
  OutgoingSink& operator=(const OutgoingSink&) = delete;
  virtual ~OutgoingSink() = default;

  /// Takes @p item, to be sent after all that came before it. Never blocks, never fails.
  virtual void send(Outgoing item) noexcept = 0;
  /// Gives the client up: there is something that it would miss in the middle.
  virtual void cut() = 0;
};

}  // namespace wicket::linux_adapter
