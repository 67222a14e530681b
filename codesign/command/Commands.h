// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string>

#include "codesign/certificate/PrivateKey.h"
#include "codesign/command/Output.h"

namespace wicket::codesign::command {

/// What every subcommand works with.
struct Context {
  Output& output;
  PrivateKey::AskForSecret askForSecret{};
  /// The environment variable SOURCE_DATE_EPOCH: the moment, in seconds since 1970, that reproducible builds are
  /// to name in place of the present one.
  std::optional<std::string> sourceDateEpoch{};
};

struct SignOptions {
  std::string key;
  std::string certificateFile;
  std::string identifier;
  std::optional<std::string> entitlementsFile;
  bool isRuntime = false;
  std::string file;
};

struct VerifyOptions {
  std::string anchorFile;
  std::optional<std::string> requirement;
  std::string file;
};

struct DisplayOptions {
  std::optional<std::string> anchorFile;
  bool asJson = false;
  std::string file;
};

/// Each returns the exit status.
[[nodiscard]] int sign(Context& context, const SignOptions& options);
[[nodiscard]] int verify(Context& context, const VerifyOptions& options);
[[nodiscard]] int display(Context& context, const DisplayOptions& options);

}  // namespace wicket::codesign::command
