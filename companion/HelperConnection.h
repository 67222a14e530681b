// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/ReplyCode.h"
#include "wire/BusNames.h"

namespace wicket::companion {

class GroupPrivilege;
class HelperBus;

/// Only code can change these. No environment variable and no option of the command leads to another
/// socket: the command's caller may be hostile, and would be given a connection made with the group's rights.
struct ConnectOptions {
  std::string socketPath = wire::socketPath;
  /// Calls end with CallError::interrupted as soon as this descriptor can be read; it is only watched and
  /// must stay open as long as the connection. -1 for none.
  int cancelDescriptor = -1;
  /// What lets this process in: in effect for the call that connects, and given up for good when it returns,
  /// connected or not. Null for a process that connects as it is. Must outlive the call.
  GroupPrivilege* privilege = nullptr;
  /// For what needs nobody's decision: to connect, and for the version. A machine that is busy starts the helper
  /// late. What is asked of a user, and a run, take as long as they take.
  std::chrono::milliseconds timeLimit = std::chrono::seconds(30);
};

enum class ConnectionFailure {
  notInstalled,  ///< there is no socket
  notPermitted,  ///< the socket's mode keeps this process out
  notListening,  ///< the socket is a leftover: nobody listens
  timedOut,      ///< nobody took the connection within the time limit
  failed,        ///< anything else
};

struct ConnectionError {
  ConnectionFailure failure;
  int systemError;  ///< errno
};

enum class CallError {
  connectionCut,    ///< the helper ended the connection, or refused it, before it answered
  rejected,         ///< the helper answered with an error of the transport
  invalidArgument,  ///< a text that cannot travel: not UTF-8, or with U+0000
  timedOut,         ///< the helper did not answer within the time limit
  interrupted,      ///< the caller's cancel descriptor became readable
  /// @name This user has as much as the helper lets one user have, see wire/UserLimits.h; nothing was done
  /// @{
  tooManyConnections,
  tooManyQuestions,
  tooManyScripts,
  /// @}
};

/// The first report of a run. The exit status of a started script follows in a later one.
struct RunReply {
  ReplyCode code;
  std::uint32_t serial;  ///< names the run in HelperConnection::waitForExit()

  [[nodiscard]] bool isStarted() const { return code == reply_code::success; }
};

/// One connection to the helper, from a companion's side.
///
/// Connecting starts the helper where it is not running. The helper cuts every connection after
/// helper_protocol::connectionLifetime, whatever is in progress; a script that runs then keeps running. Every operation
/// blocks until the answer is there, without a time limit, and delivers log lines while it waits. A helper that refuses
/// this process cuts the connection, which shows in the first operation.
///
/// To be used by one thread at a time.
class HelperConnection {
 public:
  /// A log line is a message of the helper, without a line ending, or a piece of a script's output exactly
  /// as the script wrote it. The helper sends all of them to a user's newest connection, so lines of
  /// scripts that others of his connections started arrive here too. U+0000 arrives as U+2400.
  using LogLineHandler = std::function<void(std::string_view text)>;

  [[nodiscard]] static std::expected<HelperConnection, ConnectionError> connect(const ConnectOptions& options = {});

  HelperConnection(HelperConnection&&) noexcept;
  HelperConnection& operator=(HelperConnection&&) noexcept;
  HelperConnection(const HelperConnection&) = delete;
  HelperConnection& operator=(const HelperConnection&) = delete;
  /// Closes the connection.
  ~HelperConnection();

  /// Called from inside the operations below, in the order of arrival. It must not call them itself.
  void onLogLine(LogLineHandler handler);

  [[nodiscard]] std::expected<std::string, CallError> getVersion();
  /// Runs an installed script. The helper stores @p arguments but an installed script does not get them.
  [[nodiscard]] std::expected<RunReply, CallError> runCommand(const std::string& filename,
                                                              const std::vector<std::string>& arguments = {});
  /// Waits for the later report of a started run: the script's exit status, or the number of the signal
  /// that ended it. Everything that the script wrote has been delivered by then.
  [[nodiscard]] std::expected<ReplyCode, CallError> waitForExit(const RunReply& run);
  /// @p path is the source and the destination, joined by a comma. Blocks while the user is asked.
  [[nodiscard]] std::expected<ReplyCode, CallError> installScript(const std::string& path,
                                                                  std::span<const std::byte> authData);
  /// One way: success means that the request is on its way. A getVersion() on the same connection is
  /// answered, or cut, only after the helper has carried it out.
  [[nodiscard]] std::expected<void, CallError> uninstall(bool all);
  [[nodiscard]] std::expected<ReplyCode, CallError> uninstallScriptAt(const std::string& path);
  [[nodiscard]] std::expected<ReplyCode, CallError> uninstallScriptWithFilename(const std::string& filename);

 private:
  explicit HelperConnection(std::unique_ptr<HelperBus> bus);

  std::unique_ptr<HelperBus> bus_;
};

}  // namespace wicket::companion
