// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "adapters/macos/LaunchdServiceJob.h"
#include "adapters/macos/MacAuthorizationServices.h"
#include "adapters/macos/MacCodeSigningServices.h"
#include "adapters/macos/MacSourceFiles.h"
#include "adapters/macos/MacUnifiedLog.h"
#include "adapters/macos/MainBundle.h"
#include "adapters/macos/MainRunLoop.h"
#include "adapters/posix/PosixChildProcessLauncher.h"
#include "adapters/posix/PosixFileManager.h"
#include "helper/platform/Platform.h"

namespace wicket::macos_adapter {

/// macOS 10.15 or later.
class MacPlatform final : public Platform {
 public:
  MainQueue& mainQueue() override { return mainQueue_; }
  UnifiedLog& unifiedLog() override { return unifiedLog_; }
  FileManager& fileManager() override { return fileManager_; }
  SourceFiles& sourceFiles() override { return sourceFiles_; }
  ChildProcessLauncher& childProcessLauncher() override { return childProcessLauncher_; }
  AuthorizationServices& authorizationServices() override { return authorizationServices_; }
  CodeSigningServices& codeSigningServices() override { return codeSigningServices_; }
  BundleInformation& mainBundle() override { return mainBundle_; }
  ServiceJob& serviceJob() override { return serviceJob_; }
  std::unique_ptr<Listener> makeListener(std::string_view machServiceName) override;

 private:
  MainRunLoop mainQueue_;
  MacUnifiedLog unifiedLog_;
  PosixFileManager fileManager_;
  MacSourceFiles sourceFiles_;
  PosixChildProcessLauncher childProcessLauncher_;
  MacAuthorizationServices authorizationServices_;
  MacCodeSigningServices codeSigningServices_;
  MainBundle mainBundle_;
  LaunchdServiceJob serviceJob_;
};

}  // namespace wicket::macos_adapter
