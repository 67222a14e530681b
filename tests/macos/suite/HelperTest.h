// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string>

#include "adapters/macos/MacPlatform.h"
#include "helper/service/PrivilegedHelper.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/InMemorySourceFiles.h"
#include "tests/macos/suite/Companion.h"
#include "tests/macos/suite/FrameworkTest.h"
#include "tests/macos/suite/Replies.h"

namespace wicket::suite {

/// macOS as the adapters show it, but for the files: no test changes those of the machine that it runs on.
class MacWithOwnFiles final : public Platform {
 public:
  MainQueue& mainQueue() override { return mac_.mainQueue(); }
  UnifiedLog& unifiedLog() override { return mac_.unifiedLog(); }
  doubles::InMemoryFileManager& fileManager() override { return files_; }
  SourceFiles& sourceFiles() override { return sources_; }
  ChildProcessLauncher& childProcessLauncher() override { return mac_.childProcessLauncher(); }
  AuthorizationServices& authorizationServices() override { return mac_.authorizationServices(); }
  CodeSigningServices& codeSigningServices() override { return mac_.codeSigningServices(); }
  BundleInformation& mainBundle() override { return mac_.mainBundle(); }
  ServiceJob& serviceJob() override { return mac_.serviceJob(); }
  std::unique_ptr<Listener> makeListener(std::string_view machServiceName) override {
    return mac_.makeListener(machServiceName);
  }

 private:
  macos_adapter::MacPlatform mac_;
  doubles::InMemoryFileManager files_;
  doubles::InMemorySourceFiles sources_{files_};
};

/// The helper itself on the adapters.
class HelperTest : public FrameworkTest {
 protected:
  /// The listener accepts clients before run(), which resumes it once more.
  void SetUp() override;
  /// Cuts every connection by letting its time go by, and lets go of the helper.
  void TearDown() override;

  [[nodiscard]] PrivilegedHelper& helper() { return *helper_; }
  [[nodiscard]] doubles::InMemoryFileManager& files() { return platform_->fileManager(); }

 private:
  std::unique_ptr<MacWithOwnFiles> platform_ = std::make_unique<MacWithOwnFiles>();
  std::shared_ptr<PrivilegedHelper> helper_;
};

}  // namespace wicket::suite
