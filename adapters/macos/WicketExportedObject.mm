// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/WicketExportedObject.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "adapters/macos/CallingUser.h"
#include "adapters/macos/ReplyBlock.h"
#include "adapters/macos/Text.h"

namespace {

using wicket::macos_adapter::CallingUser;
using wicket::macos_adapter::foundationText;
using wicket::macos_adapter::ReplyBlock;
using wicket::macos_adapter::ServedCalls;
using wicket::macos_adapter::utf8Text;
using Helper = wicket::HelperProtocol;

/// An array from outside holds objects of any property-list class, whatever its declaration says.
std::optional<std::vector<std::string>> utf8Texts(NSArray* array) {
  std::vector<std::string> texts;
  for (id element in array) {
    if (![element isKindOfClass:[NSString class]]) return std::nullopt;
    auto text = utf8Text(element);
    if (!text) return std::nullopt;
    texts.push_back(*std::move(text));
  }
  return texts;
}

Helper::AuthorizationData copiedBytes(NSData* data) {
  if (data == nil) return std::nullopt;
  const auto* first = static_cast<const std::byte*>(data.bytes);
  return std::vector(first, first + data.length);
}

Helper::VersionCompletion versionCompletion(void (^block)(NSString*), ServedCalls::Call call) {
  const auto reply = std::make_shared<ReplyBlock<NSString*>>(block, std::move(call));
  return [reply](const std::string& version) { reply->call(foundationText(version)); };
}

Helper::CodeCompletion codeCompletion(void (^block)(int64_t), ServedCalls::Call call) {
  const auto reply = std::make_shared<ReplyBlock<int64_t>>(block, std::move(call));
  return [reply](wicket::ReplyCode code) { reply->call(code); };
}

/// Runs @p action, which returns whether the message could be understood. Nothing it throws reaches XPC: a call that
/// can get no answer ends with its connection.
template <class Action>
void serve(NSXPCConnection* connection, const Action& action) noexcept {
  try {
    if (action()) return;
  } catch (...) {
  }
  [connection invalidate];
}

}  // namespace

@implementation WicketExportedObject {
  std::shared_ptr<Helper> _object;
  __weak NSXPCConnection* _connection;  // which holds this object
  std::shared_ptr<ServedCalls> _calls;
}

- (instancetype)initWithObject:(std::shared_ptr<wicket::HelperProtocol>)object
                    connection:(NSXPCConnection*)connection
                         calls:(std::shared_ptr<wicket::macos_adapter::ServedCalls>)calls {
  self = [super init];
  if (self != nil) {
    _object = std::move(object);
    _connection = connection;
    _calls = std::move(calls);
  }
  return self;
}

- (void)getVersionWithCompletion:(void (^)(NSString*))completion {
  serve(_connection, [&] {
    _object->getVersion(versionCompletion(completion, _calls->begin()));
    return true;
  });
}

- (void)runCommandWithFilename:(NSString*)filename
                     arguments:(NSArray<NSString*>*)arguments
                    completion:(void (^)(int64_t))completion {
  serve(_connection, [&] {
    const auto name = utf8Text(filename);
    const auto texts = utf8Texts(arguments);
    if (!name || !texts) return false;
    _object->runCommand(*name, *texts, codeCompletion(completion, _calls->begin()));
    return true;
  });
}

- (void)installScriptAt:(NSString*)path authData:(NSData*)authData completion:(void (^)(int64_t))completion {
  serve(_connection, [&] {
    const auto text = utf8Text(path);
    if (!text) return false;
    NSXPCConnection* const connection = _connection;
    const CallingUser::Scope onBehalfOf({connection.effectiveUserIdentifier, connection.effectiveGroupIdentifier});
    _object->installScript(*text, copiedBytes(authData), codeCompletion(completion, _calls->begin()));
    return true;
  });
}

- (void)uninstallWithAll:(BOOL)all {
  serve(_connection, [&] {
    const auto call = _calls->begin();
    // Where BOOL is a signed byte any byte arrives.
    _object->uninstall(all != NO);
    return true;
  });
}

- (void)uninstallScriptAt:(NSString*)path completion:(void (^)(int64_t))completion {
  serve(_connection, [&] {
    const auto text = utf8Text(path);
    if (!text) return false;
    _object->uninstallScriptAt(*text, codeCompletion(completion, _calls->begin()));
    return true;
  });
}

- (void)uninstallScriptWithFilename:(NSString*)filename completion:(void (^)(int64_t))completion {
  serve(_connection, [&] {
    const auto name = utf8Text(filename);
    if (!name) return false;
    _object->uninstallScriptWithFilename(*name, codeCompletion(completion, _calls->begin()));
    return true;
  });
}

@end
