// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/UnifiedLog.h"

namespace wicket::linux_adapter {

/// The journal. An entry shows both texts in full: the journal, unlike the log of macOS, is readable for
/// administrators only.
class JournalLog : public UnifiedLog {
 public:
  bool isAvailable() const override { return true; }
  bool isFaultEnabled() const override { return true; }
  void fault(std::string_view text, std::string_view explanation) override;
};

}  // namespace wicket::linux_adapter
