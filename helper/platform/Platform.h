// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "helper/platform/AuthorizationServices.h"
#include "helper/platform/BundleInformation.h"
#include "helper/platform/ChildProcess.h"
#include "helper/platform/CodeSigningServices.h"
#include "helper/platform/FileManager.h"
#include "helper/platform/Listener.h"
#include "helper/platform/MainQueue.h"
#include "helper/platform/ServiceJob.h"
#include "helper/platform/SourceFiles.h"
#include "helper/platform/UnifiedLog.h"

namespace wicket {

/// Everything that only an operating system has, in one hand. The build links exactly one
/// implementation; tests pass doubles.
class Platform {
 public:
  Platform() = default;
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
  virtual ~Platform() = default;

  [[nodiscard]] virtual MainQueue& mainQueue() = 0;
  [[nodiscard]] virtual UnifiedLog& unifiedLog() = 0;
  [[nodiscard]] virtual FileManager& fileManager() = 0;
  [[nodiscard]] virtual SourceFiles& sourceFiles() = 0;
  [[nodiscard]] virtual ChildProcessLauncher& childProcessLauncher() = 0;
  [[nodiscard]] virtual AuthorizationServices& authorizationServices() = 0;
  [[nodiscard]] virtual CodeSigningServices& codeSigningServices() = 0;
  [[nodiscard]] virtual BundleInformation& mainBundle() = 0;
  [[nodiscard]] virtual ServiceJob& serviceJob() = 0;
  /// A suspended listener for the service of that name.
  [[nodiscard]] virtual std::unique_ptr<Listener> makeListener(std::string_view machServiceName) = 0;

  /// The platform this program was linked with, made on first use on the main thread before any
  /// other thread runs. Ends the process with a line on standard error and a non-zero status when
  /// the process was not started by the service manager.
  [[nodiscard]] static Platform& current();

  /// For a process that the platform has started out of this same program, for a purpose of its own: does what
  /// it was started for and ends it. Returns when this process is the service. @p arguments are those of main.
  static void runAuxiliaryProcess(std::span<char* const> arguments);
};

}  // namespace wicket
