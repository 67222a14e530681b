// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <memory>
#include <string_view>

#include "adapters/macos/ServedCalls.h"
#include "helper/platform/Listener.h"

@class WicketListenerDelegate;

namespace wicket::macos_adapter {

/// The listener for a Mach service that launchd holds for this process.
class XpcListener final : public Listener {
 public:
  explicit XpcListener(std::string_view machServiceName);

  void setDelegate(ListenerDelegate& delegate) override;
  void resume() override;
  /// Clients that come from now on stay in the service's queue, for which launchd starts the helper again.
  void finish() override;

 private:
  NSXPCListener* const listener_;
  WicketListenerDelegate* delegate_ = nil;  // the listener does not hold it
  const std::shared_ptr<ServedCalls> calls_ = std::make_shared<ServedCalls>();
};

}  // namespace wicket::macos_adapter
