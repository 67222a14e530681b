// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string_view>

#include "adapters/linux/ClientChildProcessLauncher.h"
#include "adapters/linux/EmbeddedBundleInformation.h"
#include "adapters/linux/JournalLog.h"
#include "adapters/linux/MainRunLoop.h"
#include "adapters/linux/SystemdServiceJob.h"
#include "adapters/linux/authorization/PolkitAuthorizationServices.h"
#include "adapters/linux/peer/CompanionGroup.h"
#include "adapters/linux/peer/LinuxCodeSigningServices.h"
#include "adapters/linux/peer/UserShares.h"
#include "adapters/linux/sources/ClientSourceFiles.h"
#include "adapters/posix/PosixFileManager.h"
#include "base/system/Descriptor.h"
#include "helper/platform/Platform.h"

namespace wicket::linux_adapter {

/// A Linux system with systemd, D-Bus and polkit.
class LinuxPlatform final : public Platform {
 public:
  /// @p listening is the socket on which the service manager listens for the one service. @p group and
  /// @p anchor tell who may be a client.
  /// Raises this process's limit of descriptors as far as it may; the children that it launches get the one it had.
  LinuxPlatform(Descriptor listening, CompanionGroup group, codesign::Certificate anchor);

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
  const Descriptor listening_;
  MainRunLoop mainQueue_;
  JournalLog unifiedLog_;
  PosixFileManager fileManager_;
  ClientSourceFiles sourceFiles_;
  const std::shared_ptr<UserShares> shares_ = std::make_shared<UserShares>();
  ClientChildProcessLauncher childProcessLauncher_;
  PolkitAuthorizationServices authorizationServices_;
  LinuxCodeSigningServices codeSigningServices_;
  EmbeddedBundleInformation mainBundle_;
  SystemdServiceJob serviceJob_;
};

}  // namespace wicket::linux_adapter
