// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#import <Foundation/Foundation.h>
#include <functional>
#include <string>
#include <vector>

#include "adapters/macos/AppProtocol.h"
#include "adapters/macos/HelperProtocol.h"

/// What a client exports: keeps the lines that it is sent. Any thread.
@interface Companion : NSObject <AppProtocol>
- (std::vector<std::string>)lines;
/// The lines once there are so many of them, or when a test's patience is over.
- (std::vector<std::string>)awaitLines:(NSUInteger)count;
@end

namespace wicket::suite {

/// A client program and its connection to the helper.
class Client {
 public:
  /// With an audit token whose bytes are 0, 1, 2 and so on, so that each one counts.
  Client();

  /// Connects to the listener that was made last.
  [[nodiscard]] bool connect() const;
  /// Sends a message and waits until the call has returned.
  void call(std::function<void(id<HelperProtocol>)> message) const;
  /// Sends a message and waits for nothing.
  void send(std::function<void(id<HelperProtocol>)> message) const;

  [[nodiscard]] NSXPCConnection* connection() const { return connection_; }
  [[nodiscard]] Companion* companion() const { return companion_; }
  [[nodiscard]] std::vector<std::string> lines() const { return [companion_ lines]; }

 private:
  Companion* companion_;
  NSXPCConnection* connection_;
};

}  // namespace wicket::suite
