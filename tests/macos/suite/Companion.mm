// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/suite/Companion.h"

#include <bsm/audit.h>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <utility>

#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/Strings.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/support/Patience.h"

@implementation Companion {
  std::mutex _mutex;
  std::condition_variable _changed;
  std::vector<std::string> _lines;
}
- (void)logWithStdOut:(NSString*)text {
  const std::scoped_lock lock(_mutex);
  _lines.emplace_back(text.wicketText);
  _changed.notify_all();
}
- (std::vector<std::string>)lines {
  const std::scoped_lock lock(_mutex);
  return _lines;
}
- (std::vector<std::string>)awaitLines:(NSUInteger)count {
  std::unique_lock lock(_mutex);
  _changed.wait_for(lock, wicket::support::patience, [&] { return _lines.size() >= count; });
  return _lines;
}
@end

namespace wicket::suite {
namespace {

audit_token_t countingToken() {
  unsigned char bytes[sizeof(audit_token_t)];
  for (unsigned char i = 0; i < sizeof bytes; ++i) bytes[i] = i;
  audit_token_t token;
  std::memcpy(&token, bytes, sizeof token);
  return token;
}

}  // namespace

Client::Client()
    : companion_([[Companion alloc] init]),
      connection_([NSXPCConnection wicketConnectionWithClient:companion_ token:countingToken()]) {}

bool Client::connect() const { return [[NSXPCListener wicketNewest] wicketOffer:connection_] != NO; }

void Client::send(std::function<void(id<HelperProtocol>)> message) const {
  [connection_ wicketDeliver:[message = std::move(message)](id exported) { message(exported); }];
}

void Client::call(std::function<void(id<HelperProtocol>)> message) const {
  send(std::move(message));
  frameworks::SerialQueue::waitUntilAllAreIdle();
}

}  // namespace wicket::suite
