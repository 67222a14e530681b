// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <utility>

namespace wicket::macos_adapter {

/// Owns one reference to an object of a C framework, as the functions named Create and Copy return it.
template <class Reference>
class CfReference {
 public:
  CfReference() = default;
  CfReference(CfReference&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
  CfReference& operator=(CfReference&& other) noexcept {
    std::swap(reference_, other.reference_);
    return *this;
  }
  CfReference(const CfReference&) = delete;
  CfReference& operator=(const CfReference&) = delete;
  ~CfReference() {
    if (reference_ != nullptr) CFRelease(reference_);
  }

  [[nodiscard]] Reference get() const { return reference_; }
  [[nodiscard]] bool isNull() const { return reference_ == nullptr; }
  /// Where a function puts the reference that this object, still null, is to own.
  [[nodiscard]] Reference* receive() { return &reference_; }

 private:
  Reference reference_ = nullptr;
};

}  // namespace wicket::macos_adapter
