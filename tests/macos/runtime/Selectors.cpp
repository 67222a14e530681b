// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/runtime/Selectors.h"

#include <mutex>
#include <string>
#include <unordered_set>

namespace wicket::objc {

Selector uniqueSelector(std::string_view text) {
  static auto& mutex = *new std::mutex;
  static auto& texts = *new std::unordered_set<std::string>;
  const std::scoped_lock lock(mutex);
  return texts.emplace(text).first->c_str();
}

}  // namespace wicket::objc

extern "C" wicket::objc::Selector sel_registerName(const char* text) { return wicket::objc::uniqueSelector(text); }
