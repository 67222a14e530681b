// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/RawClient.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/support/FileGroup.h"
#include "wire/BusNames.h"

namespace wicket::support {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char littleEndian = 'l';
constexpr char methodCallType = 1;
constexpr char protocolVersion = 1;
enum : char { pathField = 1, interfaceField = 2, memberField = 3, signatureField = 8 };

std::chrono::milliseconds timeUntil(Clock::time_point deadline) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
}

void addField(std::string& fields, char code, const std::string& type, const std::string& value) {
  DBusBytes::align(fields, 8);
  fields += code;
  fields += static_cast<char>(type.size());
  fields += type;
  fields += '\0';
  if (type == "g") {
    fields += static_cast<char>(value.size());
    fields += value;
    fields += '\0';
    return;
  }
  DBusBytes::align(fields, 4);
  fields += DBusBytes::string(value);
}

}  // namespace

void DBusBytes::align(std::string& bytes, std::size_t boundary) {
  while (bytes.size() % boundary != 0) bytes += '\0';
}

std::string DBusBytes::number(std::uint32_t value) {
  std::string bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>((value >> shift) & 0xFFU);
  return bytes;
}

std::string DBusBytes::string(std::string_view text) {
  return number(static_cast<std::uint32_t>(text.size())) + std::string(text) + '\0';
}

std::string DBusBytes::methodCall(std::uint32_t serial, const std::string& member, const std::string& signature,
                                  const std::string& body) {
  std::string fields;
  addField(fields, pathField, "o", wire::objectPath);
  addField(fields, interfaceField, "s", wire::helperInterface);
  addField(fields, memberField, "s", member);
  if (!signature.empty()) addField(fields, signatureField, "g", signature);

  std::string message{littleEndian, methodCallType, 0, protocolVersion};
  message += number(static_cast<std::uint32_t>(body.size())) + number(serial);
  message += number(static_cast<std::uint32_t>(fields.size())) + fields;
  align(message, 8);
  return message + body;
}

RawClient::RawClient(const std::string& socketPath) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
  const FileGroup group;  // the helper looks at the group at the moment of connecting
  if (::connect(socket_, generic, sizeof address) == 0) return;
  ::close(socket_);
  socket_ = -1;
}

RawClient::~RawClient() {
  if (socket_ >= 0) ::close(socket_);
}

void RawClient::giveUpSendingAfter(std::chrono::milliseconds time) const {
  const timeval limit{time.count() / 1000, time.count() % 1000 * 1000};
  ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

bool RawClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool RawClient::authenticate() {
  using namespace std::string_view_literals;
  if (!send("\0AUTH EXTERNAL 30\r\n"sv)) return false;
  const std::string answer = receiveUntil("\r\n");
  return answer.starts_with("OK ") && answer.ends_with("\r\n") && send("BEGIN\r\n");
}

bool RawClient::receiveSome(std::string& bytes, std::chrono::milliseconds timeout) {
  pollfd polled{socket_, POLLIN, 0};
  if (timeout.count() <= 0 || ::poll(&polled, 1, static_cast<int>(timeout.count())) <= 0) return false;
  std::array<char, 65536> buffer{};
  const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
  if (count > 0) bytes.append(buffer.data(), static_cast<std::size_t>(count));
  if (count <= 0) isEnded_ = true;
  return count > 0;
}

std::string RawClient::receive(std::chrono::milliseconds timeout) {
  std::string bytes;
  const auto deadline = Clock::now() + timeout;
  while (receiveSome(bytes, timeUntil(deadline))) {
  }
  return bytes;
}

std::string RawClient::receiveUntil(std::string_view text, std::chrono::milliseconds timeout) {
  std::string bytes;
  const auto deadline = Clock::now() + timeout;
  while (bytes.find(text) == std::string::npos && receiveSome(bytes, timeUntil(deadline))) {
  }
  return bytes;
}

bool RawClient::isClosedWithin(std::chrono::milliseconds timeout) {
  static_cast<void>(receive(timeout));
  return isEnded_;
}

}  // namespace wicket::support
