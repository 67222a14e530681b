// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>

namespace wicket {

/// The service manager's record of the helper.
class ServiceJob {
 public:
  ServiceJob() = default;
  ServiceJob(const ServiceJob&) = delete;
  ServiceJob& operator=(const ServiceJob&) = delete;
  virtual ~ServiceJob() = default;

  /// A line for "/bin/bash -c" that removes the job, which stops the helper, and only if that
  /// succeeded deletes the helper's installed executable.
  [[nodiscard]] virtual std::string removalCommandLine() = 0;
};

}  // namespace wicket
