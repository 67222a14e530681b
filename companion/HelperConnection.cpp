// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/HelperConnection.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include "base/system/Descriptor.h"
#include "companion/HelperConnectionBus.h"
#include "companion/hardening/GroupPrivilege.h"
#include "protocol/HelperProtocol.h"

namespace wicket::companion {

namespace {

ConnectionError connectionError(int systemError) {
  switch (systemError) {
    case ENOENT:
      return {ConnectionFailure::notInstalled, systemError};
    case EACCES:
    case EPERM:
      return {ConnectionFailure::notPermitted, systemError};
    case ECONNREFUSED:
      return {ConnectionFailure::notListening, systemError};
    case EAGAIN:
      return {ConnectionFailure::timedOut, systemError};
    default:
      return {ConnectionFailure::failed, systemError};
  }
}

/// 0, or the error number.
int connectTo(const sockaddr_un& address, const Descriptor& socket, GroupPrivilege* privilege) {
  std::optional<GroupPrivilege::InEffect> inEffect;
  if (privilege != nullptr) inEffect.emplace(*privilege);
  // connect() interrupted by a signal has not happened on a Unix socket, so it can be repeated.
  while (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

/// As socket(7) says, connect() then ends with EAGAIN when the other side's queue has stayed full for so long.
void limitConnecting(const Descriptor& socket, std::chrono::milliseconds time) {
  const timeval limit{time.count() / 1000, time.count() % 1000 * 1000};
  ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

std::expected<Descriptor, ConnectionError> connectedSocket(const ConnectOptions& options) {
  const std::string& path = options.socketPath;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return std::unexpected(connectionError(ENAMETOOLONG));
  std::memcpy(address.sun_path, path.c_str(), path.size());
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.isOpen()) return std::unexpected(connectionError(errno));
  limitConnecting(socket, options.timeLimit);
  const int error = connectTo(address, socket, options.privilege);
  if (error != 0) return std::unexpected(connectionError(error));
  return socket;
}

/// The library would end a text at U+0000 without a word, and so name another file.
bool append(sd_bus_message* message, const std::string& text) {
  if (message == nullptr || text.find('\0') != std::string::npos) return false;
  return sd_bus_message_append_basic(message, 's', text.c_str()) >= 0;
}

bool append(sd_bus_message* message, const std::vector<std::string>& texts) {
  if (sd_bus_message_open_container(message, 'a', "s") < 0) return false;
  for (const std::string& text : texts) {
    if (!append(message, text)) return false;
  }
  return sd_bus_message_close_container(message) >= 0;
}

bool append(sd_bus_message* message, std::span<const std::byte> data) {
  return sd_bus_message_append_array(message, 'y', data.data(), data.size()) >= 0;
}

template <typename Reply>
std::expected<ReplyCode, CallError> codeOf(const Reply& reply) {
  if (!reply) return std::unexpected(reply.error());
  std::int64_t code = 0;
  if (sd_bus_message_read_basic(reply->message.get(), 'x', &code) < 0) return std::unexpected(CallError::rejected);
  return code;
}

}  // namespace

std::expected<HelperConnection, ConnectionError> HelperConnection::connect(const ConnectOptions& options) {
  auto socket = connectedSocket(options);
  if (options.privilege != nullptr) options.privilege->giveUp();
  if (!socket) return std::unexpected(socket.error());
  auto bus = Bus::over(std::move(*socket), options);
  if (!bus) return std::unexpected(bus.error());
  return HelperConnection(std::move(*bus));
}

HelperConnection::HelperConnection(std::unique_ptr<Bus> bus) : bus_(std::move(bus)) {}
HelperConnection::HelperConnection(HelperConnection&&) noexcept = default;
HelperConnection& HelperConnection::operator=(HelperConnection&&) noexcept = default;
HelperConnection::~HelperConnection() = default;

void HelperConnection::onLogLine(LogLineHandler handler) { bus_->setLogLineHandler(std::move(handler)); }

std::expected<std::string, CallError> HelperConnection::getVersion() {
  auto request = bus_->request(helper_protocol::getVersion);
  if (!request) return std::unexpected(CallError::connectionCut);
  const auto reply = bus_->callWithTimeLimit(std::move(request));
  if (!reply) return std::unexpected(reply.error());
  const char* version = nullptr;
  if (sd_bus_message_read_basic(reply->message.get(), 's', &version) < 0) return std::unexpected(CallError::rejected);
  return version;
}

std::expected<RunReply, CallError> HelperConnection::runCommand(const std::string& filename,
                                                                const std::vector<std::string>& arguments) {
  auto request = bus_->request(helper_protocol::runCommand);
  if (!request) return std::unexpected(CallError::connectionCut);
  if (!append(request.get(), filename) || !append(request.get(), arguments)) {
    return std::unexpected(CallError::invalidArgument);
  }
  const auto reply = bus_->call(std::move(request));
  const auto code = codeOf(reply);
  if (!code) return std::unexpected(code.error());
  return RunReply{*code, reply->serial};
}

std::expected<ReplyCode, CallError> HelperConnection::waitForExit(const RunReply& run) {
  return bus_->laterReport(run.serial);
}

std::expected<ReplyCode, CallError> HelperConnection::installScript(const std::string& path,
                                                                    std::span<const std::byte> authData) {
  auto request = bus_->request(helper_protocol::installScript);
  if (!request) return std::unexpected(CallError::connectionCut);
  if (!append(request.get(), path) || !append(request.get(), authData)) {
    return std::unexpected(CallError::invalidArgument);
  }
  return codeOf(bus_->call(std::move(request)));
}

std::expected<void, CallError> HelperConnection::uninstall(bool all) {
  auto request = bus_->request(helper_protocol::uninstall);
  if (!request) return std::unexpected(CallError::connectionCut);
  const std::uint8_t flag = all ? 1 : 0;
  if (sd_bus_message_append_basic(request.get(), 'y', &flag) < 0) return std::unexpected(CallError::invalidArgument);
  return bus_->sendOneWay(std::move(request));
}

std::expected<ReplyCode, CallError> HelperConnection::uninstallScriptAt(const std::string& path) {
  auto request = bus_->request(helper_protocol::uninstallScriptAt);
  if (!request) return std::unexpected(CallError::connectionCut);
  if (!append(request.get(), path)) return std::unexpected(CallError::invalidArgument);
  return codeOf(bus_->call(std::move(request)));
}

std::expected<ReplyCode, CallError> HelperConnection::uninstallScriptWithFilename(const std::string& filename) {
  auto request = bus_->request(helper_protocol::uninstallScriptWithFilename);
  if (!request) return std::unexpected(CallError::connectionCut);
  if (!append(request.get(), filename)) return std::unexpected(CallError::invalidArgument);
  return codeOf(bus_->call(std::move(request)));
}

}  // namespace wicket::companion
