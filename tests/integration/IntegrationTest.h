// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "tests/integration/CompanionStage.h"
#include "tests/support/BusClient.h"
#include "tests/support/Patience.h"
#include "tests/support/PrivateFolders.h"
#include "tests/support/ProcessInspection.h"
#include "tests/support/RawClient.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/SocketActivator.h"

namespace wicket::integration {

using support::BusClient;
using support::isSanitized;
using support::patience;
using support::ProcessInspection;
using Clock = std::chrono::steady_clock;

/// A real helper behind a real socket, on empty private folders: /run, /var, the configuration of polkit.
/// The helper starts with the first connection. Whatever runs when the test ends is ended.
class IntegrationTest : public ::testing::Test {
 public:
  /// Before the first test: the private namespace, and the programs under paths that stay visible.
  static void prepareProcess(char** arguments);

 protected:
  void SetUp() override;
  void TearDown() override;

  [[nodiscard]] static std::string helperExecutable() { return CompanionStage::helper(); }
  [[nodiscard]] static std::string commandExecutable() { return CompanionStage::command(); }
  [[nodiscard]] static std::string policyFile() { return CompanionStage::policy(); }

  [[nodiscard]] support::SocketActivator& activator() { return *activator_; }
  /// For tests in which somebody else owns the socket.
  void stopActivator() { activator_.reset(); }
  /// Starts the helper another way: through this program, which must become it.
  void activateThrough(const std::string& program);
  /// From now on the helper's scripts find a systemctl that notes its words in /run/systemctl.called and
  /// ends with @p status. At first it fails: a test must never remove the host's service.
  static void replaceSystemctl(int status);
  /// A new client. Fails the test when there is none.
  [[nodiscard]] static std::unique_ptr<BusClient> connect();
  /// A client that the helper has accepted and answered, so that the helper runs.
  [[nodiscard]] std::unique_ptr<BusClient> connectAndGreet();
  /// A client that the helper serves, however long the test takes: another one well before its 45 seconds are over,
  /// so that the helper has no reason to end.
  [[nodiscard]] BusClient& genuine();
  [[nodiscard]] pid_t helperPid() const { return activator_->currentPid(); }

  /// Lets the helper sleep. When this returns, none of its threads does anything any more.
  void stopHelper() const;
  void continueHelper() const;

  /// A file in the script folder as an installation leaves it. Returns its path.
  static std::string addScript(const std::string& name, const std::string& content);
  static void writeFile(const std::string& path, const std::string& content, unsigned mode = 0644);
  [[nodiscard]] static std::string readFile(const std::string& path);
  /// Whether the condition comes to hold, looking again and again.
  static bool eventually(const std::function<bool()>& condition);
  /// Whether that client is sent the text before its connection ends.
  static bool hears(support::RawClient& client, std::string_view text);

  /// What the helper printed, or the beginning of it.
  [[nodiscard]] static std::string helperErrors();

 private:
  /// A program that becomes the helper, for activateThrough().
  static std::string helperOnOlderKernel();

  std::optional<support::PrivateFolders> folders_;
  std::unique_ptr<support::SocketActivator> activator_;
  std::unique_ptr<BusClient> genuine_;
};

/// The lines that the helper sends, to the letter.
namespace line {

std::string success(const std::string& path);
std::string failure(const std::string& path, int status);
std::string noTool(const std::string& path);
std::string notFound(const std::string& name);
std::string unreadable(const std::string& path);
std::string notExecuted(const std::string& path);
std::string notAuthorized(const std::string& message);

}  // namespace line

inline const std::string scriptFolder = "/var/orvane/";

}  // namespace wicket::integration
