// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "companion/CallError.h"
#include "companion/ConnectOptions.h"
#include "companion/ConnectionError.h"
#include "companion/RunReply.h"
#include "protocol/ReplyCode.h"

namespace wicket::companion {

/// One connection to the helper, from a companion's side.
///
/// Connecting starts the helper where it is not running. The helper cuts every connection 45 seconds after
/// it accepted it, whatever is in progress; a script that runs then keeps running. Every operation blocks
/// until the answer is there, without a time limit, and delivers log lines while it waits. A helper that
/// refuses this process cuts the connection, which shows in the first operation.
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
  class Bus;

  explicit HelperConnection(std::unique_ptr<Bus> bus);

  std::unique_ptr<Bus> bus_;
};

}  // namespace wicket::companion
