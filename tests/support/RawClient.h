// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/Patience.h"

namespace wicket::support {

/// The bytes of D-Bus messages, valid and otherwise, for a client that no library stops from sending
/// them.
class DBusBytes {
 public:
  /// A little-endian method call to the helper's object and interface.
  [[nodiscard]] static std::string methodCall(std::uint32_t serial, const std::string& member,
                                              const std::string& signature, const std::string& body);
  /// A string argument with whatever bytes.
  [[nodiscard]] static std::string string(std::string_view text);
  [[nodiscard]] static std::string number(std::uint32_t value);
  static void align(std::string& bytes, std::size_t boundary);
};

/// A client that sends bytes of its own making.
class RawClient {
 public:
  explicit RawClient(const std::string& socketPath);
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;
  ~RawClient();

  [[nodiscard]] bool isConnected() const { return socket_ >= 0; }
  /// From now on send() stops when the other side takes nothing for that long.
  void giveUpSendingAfter(std::chrono::milliseconds time) const;
  /// Whether all bytes went out.
  bool send(std::string_view bytes);
  /// Authenticates as root, up to and including BEGIN. Whether the other side agreed.
  [[nodiscard]] bool authenticate();
  /// What arrives within the time or until the other side closes.
  [[nodiscard]] std::string receive(std::chrono::milliseconds timeout);
  /// What arrives up to and including @p text, or until the other side closes.
  [[nodiscard]] std::string receiveUntil(std::string_view text, std::chrono::milliseconds timeout = patience);
  /// Whether the other side closes within the time; what arrives meanwhile is dropped.
  [[nodiscard]] bool isClosedWithin(std::chrono::milliseconds timeout = patience);

 private:
  bool receiveSome(std::string& bytes, std::chrono::milliseconds timeout);

  int socket_;
  bool isEnded_ = false;
};

}  // namespace wicket::support
