// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "helper/platform/SourceFiles.h"

namespace wicket::macos_adapter {

/// Files opened by a thread that has taken the calling user's identity: the kernel judges as it would have judged him.
/// A file system that does not answer holds up that client's calls, without a time limit.
class MacSourceFiles final : public SourceFiles {
 public:
  [[nodiscard]] std::expected<std::unique_ptr<SourceFile>, FileError> open(const std::string& path) override;
};

}  // namespace wicket::macos_adapter
