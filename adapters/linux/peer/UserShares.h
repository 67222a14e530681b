// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <sys/types.h>

#include "wire/UserLimits.h"

namespace wicket::linux_adapter {

/// How much of something each user has now, so that nobody takes the helper from the others. Any thread.
class UserShares {
 public:
  /// Gives back what was taken when the last copy goes, on whichever thread.
  using Share = std::shared_ptr<const void>;

  UserShares();

  /// One more for the user; null if he has as many as @p limit allows. Root gets as many as it asks for.
  [[nodiscard]] Share take(const wire::UserLimit& limit, uid_t user);

 private:
  class Counts;
  class One;
  const std::shared_ptr<Counts> counts_;
};

}  // namespace wicket::linux_adapter
