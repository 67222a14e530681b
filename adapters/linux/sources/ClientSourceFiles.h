// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <string>
#include <utility>

#include "helper/platform/SourceFiles.h"

namespace wicket::linux_adapter {

/// Files as the calling client sees them, each opened and read by a process of its own: see SourceReader.
class ClientSourceFiles final : public SourceFiles {
 public:
  /// @p executable becomes that process when it is started with SourceReader::argument: this program itself.
  explicit ClientSourceFiles(std::string executable = "/proc/self/exe", std::chrono::milliseconds mostTime = timeLimit)
      : executable_(std::move(executable)), mostTime_(mostTime) {}

  [[nodiscard]] std::expected<std::unique_ptr<SourceFile>, FileError> open(const std::string& path) override;

 private:
  const std::string executable_;
  const std::chrono::milliseconds mostTime_;
};

}  // namespace wicket::linux_adapter
