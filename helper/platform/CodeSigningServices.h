// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <string>

#include "admission/Facts.h"
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

/// Which information to gather: the value of "dynamic information".
inline constexpr std::uint32_t dynamicInformation = 8;
/// The bit of SigningInformation::flags that says that the program runs hardened.
inline constexpr std::uint32_t codeSignatureRuntime = admission::SignatureFacts::hardenedRuntime;

/// A running program, pinned: it never comes to mean another one. Opaque.
class Code {
 public:
  Code() = default;
  Code(const Code&) = delete;
  Code& operator=(const Code&) = delete;
  virtual ~Code() = default;
};

/// The file that a program was started from. Opaque.
class StaticCode {
 public:
  StaticCode() = default;
  StaticCode(const StaticCode&) = delete;
  StaticCode& operator=(const StaticCode&) = delete;
  virtual ~StaticCode() = default;
};

/// A compiled code requirement. Opaque.
class Requirement {
 public:
  Requirement() = default;
  Requirement(const Requirement&) = delete;
  Requirement& operator=(const Requirement&) = delete;
  virtual ~Requirement() = default;
};

/// What the system knows about the signatures of running programs. Any thread. References must come
/// from the platform that is asked.
class CodeSigningServices {
 public:
  CodeSigningServices() = default;
  CodeSigningServices(const CodeSigningServices&) = delete;
  CodeSigningServices& operator=(const CodeSigningServices&) = delete;
  virtual ~CodeSigningServices() = default;

  /// The program that @p token names. The reference may be null on success.
  [[nodiscard]] virtual std::expected<std::shared_ptr<Code>, CodeSigningStatus> copyGuestWithAttributes(
      const AuditTokenData& token) = 0;
  /// Null if there is none.
  [[nodiscard]] virtual std::shared_ptr<StaticCode> copyStaticCode(Code& code) = 0;
  /// What the signature says. Nothing in it has been signed by nobody: a signature that does not lead
  /// to the trusted anchor is an error. The file's bytes are not compared with it here.
  [[nodiscard]] virtual std::expected<SigningInformation, CodeSigningStatus> copySigningInformation(
      StaticCode& code, std::uint32_t flags) = 0;
  /// Compiles a requirement; -67052 if @p text is none.
  [[nodiscard]] virtual std::expected<std::shared_ptr<Requirement>, CodeSigningStatus> createRequirement(
      const std::string& text) = 0;
  /// 0 if @p code still runs, its file is what was signed and it meets @p requirement.
  [[nodiscard]] virtual CodeSigningStatus checkValidity(Code& code, const Requirement& requirement) = 0;
};

}  // namespace wicket
