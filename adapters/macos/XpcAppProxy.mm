// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/XpcAppProxy.h"

#include <utility>

#include "adapters/macos/Text.h"

namespace wicket::macos_adapter {

XpcAppProxy::XpcAppProxy(id<AppProtocol> object, NSXPCConnection* connection, std::shared_ptr<SendWindow> window)
    : object_(object), connection_(connection), window_(std::move(window)) {}

void XpcAppProxy::logWithStdOut(const std::string& text) {
  @autoreleasepool {
    NSString* line = foundationText(text);
    if (line == nil) return;
    [object_ logWithStdOut:line];
    const std::size_t batch = window_->sent(text.size());
    if (batch == 0) return;
    const auto window = window_;
    [connection_ scheduleSendBarrierBlock:^{
      window->left(batch);
    }];
  }
}

}  // namespace wicket::macos_adapter
