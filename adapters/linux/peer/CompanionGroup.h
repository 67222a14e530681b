// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace wicket::linux_adapter {

/// The number of the group of this name; none if the system has none or cannot be asked, or if it is
/// the group of root.
[[nodiscard]] std::optional<gid_t> groupNamed(const std::string& name);

/// A group that is looked up until it is found, and then never again: a client must not make the lookup slow, and one
/// that failed must not keep everybody out as long as this process lives. Not for two threads at once.
class CompanionGroup {
 public:
  using Lookup = std::function<std::optional<gid_t>()>;

  /// Looks for the first time.
  explicit CompanionGroup(Lookup lookup) : lookup_(std::move(lookup)), number_(lookup_()) {}

  [[nodiscard]] std::optional<gid_t> number() {
    if (!number_) number_ = lookup_();
    return number_;
  }

 private:
  const Lookup lookup_;
  std::optional<gid_t> number_;
};

}  // namespace wicket::linux_adapter
