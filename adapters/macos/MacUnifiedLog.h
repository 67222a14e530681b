// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/UnifiedLog.h"

namespace wicket::macos_adapter {

/// The default log of the system. Both texts are private, as dynamic strings are by default: a reader without the
/// right to see them finds "<private> - <private>".
class MacUnifiedLog final : public UnifiedLog {
 public:
  bool isAvailable() const override;
  bool isFaultEnabled() const override;
  void fault(std::string_view text, std::string_view explanation) override;
};

}  // namespace wicket::macos_adapter
