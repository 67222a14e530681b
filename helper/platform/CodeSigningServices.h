// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <string>

#include "helper/platform/AuditToken.h"
#include "helper/platform/SigningInformation.h"

namespace wicket {

/// 0 is success; the others are the platform's code-signing statuses.
using CodeSigningStatus = std::int32_t;

namespace code_signing_status {
inline constexpr CodeSigningStatus success = 0;
inline constexpr CodeSigningStatus staticCodeChanged = -67034;
inline constexpr CodeSigningStatus requirementFailed = -67050;
inline constexpr CodeSigningStatus requirementInvalid = -67052;
inline constexpr CodeSigningStatus signatureFailed = -67061;
inline constexpr CodeSigningStatus unsignedCode = -67062;
inline constexpr CodeSigningStatus guestInvalid = -67063;
inline constexpr CodeSigningStatus noSuchCode = -67065;
inline constexpr CodeSigningStatus invalidAttributeValues = -67066;
}  // namespace code_signing_status

/// A running program, pinned with the file that it was started from: it never comes to mean another one.
class Code {
 public:
  Code() = default;
  Code(const Code&) = delete;
  Code& operator=(const Code&) = delete;
  virtual ~Code() = default;

  /// What the signature says. Nothing in it has been signed by nobody: a signature that does not lead
  /// to the trusted anchor is an error. The file's bytes are not compared with it here.
  [[nodiscard]] virtual std::expected<SigningInformation, CodeSigningStatus> signingInformation() const = 0;
  /// 0 if the program still runs, its file is what was signed and it meets @p requirement, a text in the
  /// code requirement language; -67052 for one that is none, before anything is looked at.
  [[nodiscard]] virtual CodeSigningStatus meets(const std::string& requirement) const = 0;
};

/// What the system knows about the signatures of running programs. Any thread. Outlives every Code.
class CodeSigningServices {
 public:
  CodeSigningServices() = default;
  CodeSigningServices(const CodeSigningServices&) = delete;
  CodeSigningServices& operator=(const CodeSigningServices&) = delete;
  virtual ~CodeSigningServices() = default;

  /// The program that @p token names. The reference may be null on success.
  [[nodiscard]] virtual std::expected<std::shared_ptr<const Code>, CodeSigningStatus> identify(
      const AuditTokenData& token) = 0;
};

}  // namespace wicket
