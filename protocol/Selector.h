// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <span>
#include <string_view>

namespace wicket {

/// What travels in one argument of a call or of its reply.
enum class ArgumentType {
  string,         ///< UTF-8 text
  stringArray,    ///< any number of strings
  data,           ///< bytes; may be absent
  boolean,        ///< one signed byte, true when non-zero
  signedInteger,  ///< 64 bits
};

/// One operation of a protocol: its selector text and the types that travel. The arguments leave out
/// the completion block; the reply lists what the block takes and is empty for a one-way operation.
struct Selector {
  std::string_view text;
  std::span<const ArgumentType> arguments;
  std::span<const ArgumentType> reply;

  [[nodiscard]] constexpr bool isOneWay() const { return reply.empty(); }
  /// Selectors are the same operation exactly when their texts are.
  friend constexpr bool operator==(const Selector& a, const Selector& b) { return a.text == b.text; }
};

/// A protocol as data: what a transport needs in order to export it or to call it.
struct Interface {
  std::string_view name;
  std::span<const Selector> selectors;
};

}  // namespace wicket
