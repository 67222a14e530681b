// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace wicket::companion {

/// The environment of a program that its caller may have prepared to mislead it. Only what is needed stays,
/// and only with values of harmless characters:
///  - TERM and NO_COLOR, for colours and for the password prompt on the terminal;
///  - LANG, LANGUAGE and the LC_ variables of the standard categories, for the prompt's language;
///  - TZ as the name of a time zone, for the times that are shown;
///  - PATH, always with one fixed value.
/// Everything else goes: addresses of message buses, folders of the user's, options of libraries. The
/// password agent that this program starts gets no more than this, either.
class SafeEnvironment {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;

  static constexpr char path[] = "/usr/sbin:/usr/bin:/sbin:/bin";
  /// No harmless value is longer.
  static constexpr std::size_t longestValue = 128;

  /// What stays of @p environment, a null-terminated list of "NAME=VALUE" or null. Of several values for one
  /// name the first counts.
  [[nodiscard]] static Variables filtered(const char* const* environment);
  /// Makes it this process's environment. False, without memory, when it could not be done whole. No other
  /// thread may run.
  [[nodiscard]] static bool enter();
};

}  // namespace wicket::companion
