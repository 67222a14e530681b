// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/XpcListener.h"

#include "adapters/macos/Text.h"
#include "adapters/macos/WicketListenerDelegate.h"

namespace wicket::macos_adapter {

XpcListener::XpcListener(std::string_view machServiceName)
    : listener_([[NSXPCListener alloc] initWithMachServiceName:foundationText(machServiceName)]) {}

void XpcListener::setDelegate(ListenerDelegate& delegate) {
  delegate_ = [[WicketListenerDelegate alloc] initWithDelegate:delegate calls:calls_];
  listener_.delegate = delegate_;
}

void XpcListener::resume() { [listener_ resume]; }

void XpcListener::finish() {
  [listener_ suspend];
  calls_->waitUntilQuiet();
}

}  // namespace wicket::macos_adapter
