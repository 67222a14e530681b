// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <span>
#include <string_view>
#include <unordered_map>

#include "tests/macos/runtime/Metadata.h"

namespace wicket::objc {

/// What this runtime knows of one class. Filled before main and constant from then on, but for the
/// count: sending a message takes no lock, which would hide races from the thread sanitizer.
struct ClassRecord {
  /// Own, inherited and from categories.
  std::unordered_map<Selector, Implementation> methods;
  /// False for what the compiler lays down in the program: literals, classes, protocols.
  bool isCounted = true;
  std::atomic<long> liveObjects = 0;
};

/// Fills in selectors, classes and protocols of the program. Runs by itself before other
/// constructors; a second call has no effect.
void loadProgram();

[[nodiscard]] std::span<Class*> allClasses();

/// Null if objects of that class do not understand the selector.
[[nodiscard]] Implementation findMethod(const Class* c, Selector selector);
/// One of that class alone, not of its superclasses.
[[nodiscard]] Implementation findOwnMethod(const Class* c, std::string_view selector);
[[nodiscard]] bool isKindOf(const Class* c, const Class* kind);
[[nodiscard]] bool conformsTo(const Class* c, const Protocol* protocol);

/// Instance methods of the protocol itself, required ones.
[[nodiscard]] std::span<const Method> requiredMethods(const Protocol& protocol);
/// The types of the required instance method at that place, blocks' signatures included.
[[nodiscard]] std::string_view extendedTypes(const Protocol& protocol, std::size_t index);
/// Whether the protocol or one that it inherits from has that instance method.
[[nodiscard]] bool hasMethod(const Protocol& protocol, std::string_view selector);

}  // namespace wicket::objc
