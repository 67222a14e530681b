// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <optional>

#include "admission/Entitlements.h"

namespace wicket::admission {

// Facts are fetched when they are asked for and none before an earlier one has turned out well. What cannot be seen is
// told as what refuses; whether a shortage hid it is for the source to know.

/// About the process that connected.
class ProcessFacts {
 public:
  ProcessFacts() = default;
  ProcessFacts(const ProcessFacts&) = delete;
  ProcessFacts& operator=(const ProcessFacts&) = delete;
  virtual ~ProcessFacts() = default;

  /// When it connected, and from its program alone: see groupFromProgram().
  [[nodiscard]] virtual bool hasCompanionGroup() = 0;
  /// It can be pinned, lives, and is no later one of the same number.
  [[nodiscard]] virtual bool isWhoConnected() = 0;
  [[nodiscard]] virtual bool isTraced() = 0;
  /// In that of the helper: users and groups of another one may mean somebody else, and who made it rules there.
  [[nodiscard]] virtual bool isInSystemsUserNamespace() = 0;
  /// As whom it acts.
  [[nodiscard]] virtual std::uint32_t user() = 0;
  /// To whom the kernel says that it belongs: to root, if its own user may neither trace nor read it.
  [[nodiscard]] virtual std::uint32_t shownOwner() = 0;
};

/// About the file that the process runs, which has not been opened yet.
class ExecutableFacts {
 public:
  ExecutableFacts() = default;
  ExecutableFacts(const ExecutableFacts&) = delete;
  ExecutableFacts& operator=(const ExecutableFacts&) = delete;
  virtual ~ExecutableFacts() = default;

  [[nodiscard]] virtual bool isRegular() = 0;
  [[nodiscard]] virtual std::uint32_t owner() = 0;
  [[nodiscard]] virtual bool isOfCompanionGroup() = 0;
  /// The twelve bits of POSIX.
  [[nodiscard]] virtual std::uint32_t permissions() = 0;
  [[nodiscard]] virtual std::uint64_t links() = 0;
  /// Otherwise the file may have got its owner and bits where they mean nothing.
  [[nodiscard]] virtual bool isOnMountWithSetGroup() = 0;
  /// Then the permissions do not show who else may write.
  [[nodiscard]] virtual bool hasAccessControlList() = 0;
};

/// About what its signature says, which leads to the trusted anchor.
class SignatureFacts {
 public:
  SignatureFacts() = default;
  SignatureFacts(const SignatureFacts&) = delete;
  SignatureFacts& operator=(const SignatureFacts&) = delete;
  virtual ~SignatureFacts() = default;

  /// The bit of the flags that says that the program runs hardened.
  static constexpr std::uint32_t hardenedRuntime = 0x10000;

  /// None without a signature.
  [[nodiscard]] virtual std::optional<std::uint32_t> flags() = 0;
  [[nodiscard]] virtual const std::optional<EntitlementsDictionary>& entitlements() = 0;
};

/// About whether that holds for the process.
class ValidityFacts {
 public:
  ValidityFacts() = default;
  ValidityFacts(const ValidityFacts&) = delete;
  ValidityFacts& operator=(const ValidityFacts&) = delete;
  virtual ~ValidityFacts() = default;

  [[nodiscard]] virtual bool meetsRequirement() = 0;
  /// The file's bytes are. To find out takes long: only a program that would get in is worth it.
  [[nodiscard]] virtual bool isWhatWasSigned() = 0;
  /// The same process still runs the same file.
  [[nodiscard]] virtual bool isUnchanged() = 0;
};

/// All of them.
class Facts : public ProcessFacts, public ExecutableFacts, public SignatureFacts, public ValidityFacts {};

}  // namespace wicket::admission
