// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/JournalSocket.h"
#include "tests/support/StandIn.h"
#include "wire/BusNames.h"

namespace wicket::integration {

/// A helper that runs, a genuine client that it serves, and somebody who is not supposed to be served. When
/// the test ends it is still the same process, serves the genuine client, has not grown and has logged
/// nothing but its start; and nothing that was refused has happened.
class AttackTest : public IntegrationTest {
 protected:
  using Steps = std::vector<std::string>;
  using Client = std::unique_ptr<support::StandIn>;

  void SetUp() override;
  void TearDown() override;

  /// @name The attacker's programs. A call in `callFile` runs a script that leaves a witness.
  /// @{
  inline static const std::string companion = "/run/companion";  ///< a signed, installed client
  inline static const std::string plain = "/run/plain";          ///< the same without signature, group and bit
  inline static const std::string callFile = "/run/call";
  inline static const std::string user = "65534";
  /// What a client does that has connected: it asks, and says what comes of it.
  [[nodiscard]] static Steps ask() { return {"request", callFile, "hear"}; }
  [[nodiscard]] static Steps connectAndAsk() { return {"connect", wire::socketPath, "request", callFile, "hear"}; }
  [[nodiscard]] static Steps joined(std::initializer_list<Steps> parts);
  /// Somebody who has the group as his own, and not from an executable.
  [[nodiscard]] static Steps asGroupMember() { return {"become", user, CompanionStage::groupNumber()}; }
  /// Somebody who has it in effect alone, as from an executable that is not there. Only root can do so; it lets a test
  /// see what else is looked at.
  [[nodiscard]] static Steps withGroupInEffect(const std::string& who) {
    return {"become-with", who, who, CompanionStage::groupNumber(), ""};
  }
  [[nodiscard]] static Steps asUser() { return {"become", user, user}; }
  /// @}

  /// The plain program of root, which does these steps.
  [[nodiscard]] static Client start(const Steps& steps);
  /// @p program of an ordinary user, who does @p before and then executes it. It connects and asks.
  [[nodiscard]] static Client startCompanion(const std::string& program = companion, const Steps& before = {});

  /// The call was answered and its effect is there.
  void expectServed(support::StandIn& client);
  /// The connection was closed without an answer, and the effect is not there.
  void expectRefused(support::StandIn& client);
  /// There was not even a connection.
  void expectUnreachable(support::StandIn& client);
  void expectServed(const Client& client) { expectServed(*client); }
  void expectRefused(const Client& client) { expectRefused(*client); }
  void expectUnreachable(const Client& client) { expectUnreachable(*client); }
  /// Between the rounds of a long attack.
  void expectGenuineServed();
  /// Nobody has made the helper run the witness script, and nobody's call still waits for it to be run.
  void expectNoEffect();

  [[nodiscard]] pid_t helper() const { return helper_; }

 private:
  std::optional<support::JournalSocket> journal_;
  pid_t helper_ = 0;
  std::size_t memory_ = 0;
};

}  // namespace wicket::integration
