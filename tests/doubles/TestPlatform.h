// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "helper/platform/Platform.h"
#include "tests/doubles/FixedBundleInformation.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/InMemorySourceFiles.h"
#include "tests/doubles/ManualListener.h"
#include "tests/doubles/RecordingServiceJob.h"
#include "tests/doubles/RecordingUnifiedLog.h"
#include "tests/doubles/ScriptedAuthorizationServices.h"
#include "tests/doubles/ScriptedChildProcessLauncher.h"
#include "tests/doubles/ScriptedCodeSigningServices.h"
#include "tests/doubles/VirtualMainQueue.h"

namespace wicket::doubles {

/// All doubles in one hand. The listener is reachable once the helper has made it.
class TestPlatform : public Platform {
 public:
  VirtualMainQueue& mainQueue() override { return mainQueue_; }
  RecordingUnifiedLog& unifiedLog() override { return unifiedLog_; }
  InMemoryFileManager& fileManager() override { return fileManager_; }
  InMemorySourceFiles& sourceFiles() override { return sourceFiles_; }
  ScriptedChildProcessLauncher& childProcessLauncher() override { return launcher_; }
  ScriptedAuthorizationServices& authorizationServices() override { return authorization_; }
  ScriptedCodeSigningServices& codeSigningServices() override { return codeSigning_; }
  FixedBundleInformation& mainBundle() override { return bundle_; }
  RecordingServiceJob& serviceJob() override { return job_; }
  std::unique_ptr<Listener> makeListener(std::string_view machServiceName) override {
    serviceName_ = machServiceName;
    auto listener = std::make_unique<ManualListener>();
    listener_ = listener.get();
    return listener;
  }

  [[nodiscard]] ManualListener& listener() { return *listener_; }
  [[nodiscard]] const std::string& serviceName() const { return serviceName_; }

 private:
  VirtualMainQueue mainQueue_;
  RecordingUnifiedLog unifiedLog_;
  InMemoryFileManager fileManager_;
  InMemorySourceFiles sourceFiles_{fileManager_};
  ScriptedChildProcessLauncher launcher_;
  ScriptedAuthorizationServices authorization_;
  ScriptedCodeSigningServices codeSigning_;
  FixedBundleInformation bundle_;
  RecordingServiceJob job_;
  ManualListener* listener_ = nullptr;
  std::string serviceName_;
};

}  // namespace wicket::doubles
