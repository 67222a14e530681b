// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#import <Foundation/Foundation.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tests/macos/frameworks/Recording.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/runtime/Classes.h"

namespace objc = wicket::objc;
using wicket::frameworks::Recording;

namespace {

const objc::Protocol* protocolOf(NSXPCInterface* interface) {
  return reinterpret_cast<const objc::Protocol*>((__bridge const void*)interface.protocol);
}

std::string nameOf(NSXPCInterface* interface) { return interface == nil ? "nothing" : protocolOf(interface)->name; }

[[noreturn]] void end(const char* reason) {
  std::fprintf(stderr, "%s\n", reason);
  std::abort();
}

}  // namespace

/// The client's object as this process sees it. It conforms to what the connection says about it.
@interface WicketProxy : NSObject
@property(retain) NSXPCInterface* interface;
@property(weak) NSXPCConnection* connection;
@property(retain) id client;
@end

@interface NSXPCConnection ()
@property(retain) id wicketClient;
@property(nonatomic) audit_token_t auditToken;
@end

@implementation WicketProxy
- (BOOL)conformsToProtocol:(Protocol*)protocol {
  if (self.interface == nil || !self.connection.wicketProxyConforms) return NO;
  const auto* const asked = reinterpret_cast<const objc::Protocol*>((__bridge const void*)protocol);
  return std::string(asked->name) == protocolOf(self.interface)->name ? YES : NO;
}
// The only message of all interfaces that this process sends.
- (void)logWithStdOut:(NSString*)text {
  if (!self.connection.wicketIsInvalid) [self.client logWithStdOut:text];
}
@end

@implementation NSXPCConnection {
  std::atomic<bool> _proxyConforms;
  std::mutex _mutex;  // of the flags and the held barriers
  BOOL _isResumed;
  BOOL _isInvalid;
  BOOL _clientReads;
  std::vector<void (^)(void)> _barriers;
  wicket::frameworks::SerialQueue _queue;
}
@synthesize exportedInterface = _exportedInterface;
@synthesize exportedObject = _exportedObject;
@synthesize remoteObjectInterface = _remoteObjectInterface;
@synthesize invalidationHandler = _invalidationHandler;

+ (NSXPCConnection*)wicketConnectionWithClient:(id)object token:(audit_token_t)token {
  NSXPCConnection* connection = [[NSXPCConnection alloc] init];
  connection.wicketClient = object;
  connection.auditToken = token;
  connection->_proxyConforms = true;
  connection->_clientReads = YES;
  return connection;
}

- (uid_t)effectiveUserIdentifier {
  return self.auditToken.val[1];
}
- (gid_t)effectiveGroupIdentifier {
  return self.auditToken.val[2];
}
- (void)setExportedInterface:(NSXPCInterface*)interface {
  Recording::add("connection.exportedInterface " + nameOf(interface));
  _exportedInterface = interface;
}
- (void)setExportedObject:(id)object {
  Recording::add("connection.exportedObject");
  _exportedObject = object;
}
- (void)setRemoteObjectInterface:(NSXPCInterface*)interface {
  Recording::add("connection.remoteObjectInterface " + nameOf(interface));
  _remoteObjectInterface = interface;
}
- (void)setInvalidationHandler:(void (^)(void))handler {
  Recording::add("connection.invalidationHandler");
  _invalidationHandler = [handler copy];
}
- (void)setInterruptionHandler:(void (^)(void))__unused handler {
  Recording::add("connection.interruptionHandler");
}
- (void (^)(void))interruptionHandler {
  return nil;
}

- (id)remoteObjectProxy {
  WicketProxy* proxy = [[WicketProxy alloc] init];
  proxy.interface = self.remoteObjectInterface;
  proxy.connection = self;
  proxy.client = self.wicketClient;
  return proxy;
}

- (void)resume {
  Recording::add("connection resumed");
  const std::scoped_lock lock(_mutex);
  _isResumed = YES;
}
- (void)suspend {
  Recording::add("connection suspended");
}
- (void)invalidate {
  Recording::add("connection invalidated");
  [self wicketClose];
}

- (void)wicketClose {
  {
    const std::scoped_lock lock(_mutex);
    if (std::exchange(_isInvalid, YES)) return;
  }
  NSXPCConnection* connection = self;
  _queue.add([connection] { [connection wicketRunInvalidationHandler]; });
}

/// Once, after the call that is running, if any. The property is cleared, so that what it holds is let go of.
- (void)wicketRunInvalidationHandler {
  void (^handler)(void) = _invalidationHandler;
  _invalidationHandler = nil;
  if (handler != nil) handler();
}

- (void)wicketDeliver:(std::function<void(id)>)call {
  NSXPCConnection* connection = self;
  _queue.add([connection, call] {
    if (connection.wicketIsInvalid) return;
    if (!connection.wicketIsResumed) end("no message is delivered by a connection that was not resumed");
    id exported = connection.exportedObject;
    if (![exported conformsToProtocol:connection.exportedInterface.protocol]) {
      end("the exported object does not conform to the exported interface");
    }
    call(exported);
  });
}

// On the connection's own queue, as all that XPC calls: not before a call that is running has ended.
- (void)scheduleSendBarrierBlock:(void (^)(void))block {
  const std::scoped_lock lock(_mutex);
  if (_clientReads) {
    _queue.add(block);
  } else {
    _barriers.push_back([block copy]);
  }
}

- (BOOL)wicketIsInvalid {
  const std::scoped_lock lock(_mutex);
  return _isInvalid;
}
- (BOOL)wicketIsResumed {
  const std::scoped_lock lock(_mutex);
  return _isResumed;
}
- (BOOL)wicketProxyConforms {
  return _proxyConforms ? YES : NO;
}
- (void)setWicketProxyConforms:(BOOL)conforms {
  _proxyConforms = conforms != NO;
}
- (BOOL)wicketClientReads {
  const std::scoped_lock lock(_mutex);
  return _clientReads;
}
- (void)setWicketClientReads:(BOOL)reads {
  const std::scoped_lock lock(_mutex);
  _clientReads = reads;
  if (!reads) return;
  for (const auto& barrier : _barriers) _queue.add(barrier);
  _barriers.clear();
}
@end
