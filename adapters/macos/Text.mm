// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/Text.h"

namespace wicket::macos_adapter {

std::optional<std::string> utf8Text(NSString* text) {
  if (text == nil) return std::string();
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding];
  if (bytes == nil) return std::nullopt;
  return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

NSString* foundationText(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

}  // namespace wicket::macos_adapter
