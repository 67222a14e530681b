// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <memory>
#include <string>

#include "adapters/macos/AppProtocol.h"
#include "adapters/macos/SendWindow.h"
#include "protocol/AppProtocol.h"

namespace wicket::macos_adapter {

/// The companion's object, at the other end of its connection.
class XpcAppProxy final : public AppProtocol {
 public:
  XpcAppProxy(id<AppProtocol> object, NSXPCConnection* connection, std::shared_ptr<SendWindow> window);

  void logWithStdOut(const std::string& text) override;

 private:
  const id<AppProtocol> object_;
  NSXPCConnection* const connection_;
  const std::shared_ptr<SendWindow> window_;
};

}  // namespace wicket::macos_adapter
