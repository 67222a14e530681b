// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>

/// What the compiler writes into the program for each class, protocol and category, in the form that
/// Apple's systems use (version 2 of their binary interface). Only what this runtime reads has a name.
namespace wicket::objc {

/// Selectors with the same text are the same pointer once the program has been loaded.
using Selector = const char*;
/// The code of a method. Its real type is known only where it is called.
using Implementation = void (*)();

struct Class;

struct Object {
  Class* isa;
};

struct Method {
  Selector name;
  const char* types;
  Implementation implementation;
};

/// A count and that many elements right behind it.
struct MethodList {
  std::uint32_t elementSize;
  std::uint32_t count;
  Method first[1];
};

struct Protocol;

struct ProtocolList {
  long count;
  Protocol* first[1];
};

struct Protocol {
  Class* isa;
  const char* name;
  ProtocolList* inherited;
  MethodList* instanceMethods;
  MethodList* classMethods;
  MethodList* optionalInstanceMethods;
  MethodList* optionalClassMethods;
  void* properties;
  std::uint32_t size;
  std::uint32_t flags;
  /// One for each method in the order of the lists above, with the classes of the arguments and the
  /// signatures of blocks spelled out.
  const char** extendedTypes;
};

/// The part of a class that never changes.
struct ClassData {
  std::uint32_t flags;
  std::uint32_t instanceStart;  ///< where the class's own variables begin
  std::uint32_t instanceSize;
  std::uint32_t reserved;
  void* strongLayout;
  const char* name;
  MethodList* methods;
  ProtocolList* protocols;
  void* variables;
  void* weakLayout;
  void* properties;
};

inline constexpr std::uint32_t metaclassFlag = 1;

struct ClassRecord;

/// A class is an object itself: its class, the metaclass, has the class methods.
struct Class {
  Class* isa;
  Class* superclass;
  ClassRecord* record;  ///< the compiler's "cache" word: this runtime keeps its own record there
  void* unused;
  const ClassData* data;

  [[nodiscard]] bool isMetaclass() const { return (data->flags & metaclassFlag) != 0; }
};

struct Category {
  const char* name;
  Class* extended;
  MethodList* instanceMethods;
  MethodList* classMethods;
  ProtocolList* protocols;
};

}  // namespace wicket::objc
