// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wicket::frameworks {

/// What the program under test has asked the frameworks for, in order. Any thread.
class Recording {
 public:
  static void add(std::string event);
  [[nodiscard]] static std::vector<std::string> events();
  /// Those that begin with @p prefix.
  [[nodiscard]] static std::vector<std::string> eventsOf(std::string_view prefix);
  /// While no other thread records.
  static void clear();
};

}  // namespace wicket::frameworks
