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
#include "base/system/Uninterrupted.h"
#include "companion/connection/HelperBus.h"
#include "companion/hardening/GroupPrivilege.h"
#include "protocol/HelperProtocol.h"
#include "wire/UserLimits.h"

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
  const auto connect = [&] {
    return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  };
  return system::uninterrupted(connect) == 0 ? 0 : errno;
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

bool append(sd_bus_message* message, bool value) {
  const std::uint8_t byte = value ? 1 : 0;
  return sd_bus_message_append_basic(message, 'y', &byte) >= 0;
}

template <typename... Arguments>
std::expected<HelperBus::Message, CallError> requestFor(HelperBus& bus, const Selector& selector,
                                                        const Arguments&... arguments) {
  auto message = bus.request(selector);
  if (!message) return std::unexpected(CallError::connectionCut);
  if (!(append(message.get(), arguments) && ...)) return std::unexpected(CallError::invalidArgument);
  return message;
}

CallError callError(int systemError) {
  switch (systemError) {
    case ECONNRESET:
      return CallError::connectionCut;
    case ETIMEDOUT:
      return CallError::timedOut;
    case ECANCELED:
      return CallError::interrupted;
    default:
      return CallError::rejected;
  }
}

std::optional<CallError> errorIn(sd_bus_message* reply) {
  if (sd_bus_message_is_method_error(reply, nullptr) == 0) return std::nullopt;
  const auto is = [reply](const char* name) { return sd_bus_message_is_method_error(reply, name) > 0; };
  if (is(wire::openConnections.error)) return CallError::tooManyConnections;
  if (is(wire::openQuestions.error)) return CallError::tooManyQuestions;
  if (is(wire::runningScripts.error)) return CallError::tooManyScripts;
  return CallError::rejected;
}

std::expected<HelperBus::Reply, CallError> answerIn(std::expected<HelperBus::Reply, int> reply) {
  if (!reply) return std::unexpected(callError(reply.error()));
  if (const auto error = errorIn(reply->message.get())) return std::unexpected(*error);
  return *std::move(reply);
}

/// Sends the request and reads the code and the run's name in the answer.
std::expected<RunReply, CallError> reportOf(HelperBus& bus, std::expected<HelperBus::Message, CallError> request) {
  if (!request) return std::unexpected(request.error());
  const auto answer = answerIn(bus.call(*std::move(request)));
  if (!answer) return std::unexpected(answer.error());
  std::int64_t code = 0;
  if (sd_bus_message_read_basic(answer->message.get(), 'x', &code) < 0) return std::unexpected(CallError::rejected);
  return RunReply{code, answer->serial};
}

std::expected<ReplyCode, CallError> codeOf(HelperBus& bus, std::expected<HelperBus::Message, CallError> request) {
  const auto report = reportOf(bus, std::move(request));
  if (!report) return std::unexpected(report.error());
  return report->code;
}

}  // namespace

std::expected<HelperConnection, ConnectionError> HelperConnection::connect(const ConnectOptions& options) {
  auto socket = connectedSocket(options);
  if (options.privilege != nullptr) options.privilege->giveUp();
  if (!socket) return std::unexpected(socket.error());
  auto bus = HelperBus::over(std::move(*socket), options.cancelDescriptor, options.timeLimit);
  if (!bus) return std::unexpected(ConnectionError{ConnectionFailure::failed, bus.error()});
  return HelperConnection(std::move(*bus));
}

HelperConnection::HelperConnection(std::unique_ptr<HelperBus> bus) : bus_(std::move(bus)) {}
HelperConnection::HelperConnection(HelperConnection&&) noexcept = default;
HelperConnection& HelperConnection::operator=(HelperConnection&&) noexcept = default;
HelperConnection::~HelperConnection() = default;

void HelperConnection::onLogLine(LogLineHandler handler) { bus_->setLogLineHandler(std::move(handler)); }

std::expected<std::string, CallError> HelperConnection::getVersion() {
  auto request = requestFor(*bus_, helper_protocol::getVersion);
  if (!request) return std::unexpected(request.error());
  const auto answer = answerIn(bus_->callWithTimeLimit(*std::move(request)));
  if (!answer) return std::unexpected(answer.error());
  const char* version = nullptr;
  if (sd_bus_message_read_basic(answer->message.get(), 's', &version) < 0) return std::unexpected(CallError::rejected);
  return version;
}

std::expected<RunReply, CallError> HelperConnection::runCommand(const std::string& filename,
                                                                const std::vector<std::string>& arguments) {
  return reportOf(*bus_, requestFor(*bus_, helper_protocol::runCommand, filename, arguments));
}

std::expected<ReplyCode, CallError> HelperConnection::waitForExit(const RunReply& run) {
  const auto status = bus_->laterReport(run.serial);
  if (!status) return std::unexpected(callError(status.error()));
  return *status;
}

std::expected<ReplyCode, CallError> HelperConnection::installScript(const std::string& path,
                                                                    std::span<const std::byte> authData) {
  return codeOf(*bus_, requestFor(*bus_, helper_protocol::installScript, path, authData));
}

std::expected<void, CallError> HelperConnection::uninstall(bool all) {
  auto request = requestFor(*bus_, helper_protocol::uninstall, all);
  if (!request) return std::unexpected(request.error());
  const auto sent = bus_->sendOneWay(*std::move(request));
  if (!sent) return std::unexpected(callError(sent.error()));
  return {};
}

std::expected<ReplyCode, CallError> HelperConnection::uninstallScriptAt(const std::string& path) {
  return codeOf(*bus_, requestFor(*bus_, helper_protocol::uninstallScriptAt, path));
}

std::expected<ReplyCode, CallError> HelperConnection::uninstallScriptWithFilename(const std::string& filename) {
  return codeOf(*bus_, requestFor(*bus_, helper_protocol::uninstallScriptWithFilename, filename));
}

}  // namespace wicket::companion
