// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/runtime/Classes.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <vector>

#include "tests/macos/runtime/Selectors.h"

using namespace wicket::objc;

// The compiler lists what it wrote in sections of these names, and the linker says where they begin and end.
// Those with nothing in them do not exist.
extern "C" {
extern Selector __start_objc_selrefs[] __attribute__((weak));
extern Selector __stop_objc_selrefs[] __attribute__((weak));
extern Class* __start_objc_classlist[] __attribute__((weak));
extern Class* __stop_objc_classlist[] __attribute__((weak));
extern Category* __start_objc_catlist[] __attribute__((weak));
extern Category* __stop_objc_catlist[] __attribute__((weak));
extern Protocol* __start_objc_protolist[] __attribute__((weak));
extern Protocol* __stop_objc_protolist[] __attribute__((weak));

extern Class protocolClass __asm("OBJC_CLASS_$_Protocol");
extern Class constantStringClass __asm("OBJC_CLASS_$_NSConstantString");

// What a class's unused words point at before it is loaded.
void* _objc_empty_cache = nullptr;
void* _objc_empty_vtable = nullptr;
}

namespace wicket::objc {
namespace {

template <class Visitor>
void forEachMethod(const MethodList* list, Visitor visit) {
  if (list == nullptr) return;
  for (std::uint32_t i = 0; i < list->count; ++i) visit(list->first[i]);
}

void addMethods(ClassRecord& record, const MethodList* list) {
  forEachMethod(list, [&](const Method& method) {
    record.methods.insert_or_assign(uniqueSelector(method.name), method.implementation);
  });
}

void addCategories(ClassRecord& record, const Class* c) {
  for (Category** category = __start_objc_catlist; category != __stop_objc_catlist; ++category) {
    if ((*category)->extended == c) addMethods(record, (*category)->instanceMethods);
    if ((*category)->extended->isa == c) addMethods(record, (*category)->classMethods);
  }
}

/// Variables are where the compiler put them: this runtime moves none, so what the compiler believed
/// about the superclass's size must be true.
void requireRoomForSuperclass(const Class* c) {
  const bool fits = c->superclass == nullptr || c->isMetaclass() ||
                    c->data->instanceStart >= c->superclass->data->instanceSize ||
                    c->data->instanceStart == c->data->instanceSize;
  if (fits) return;
  std::fprintf(stderr, "the variables of %s overlap those of its superclass\n", c->data->name);
  std::abort();
}

void load(Class* c) {
  static auto& loaded = *new std::unordered_map<const Class*, bool>;
  if (c == nullptr || loaded[c]) return;
  loaded[c] = true;
  load(c->superclass);
  auto* const record = new ClassRecord;
  if (c->superclass != nullptr) record->methods = c->superclass->record->methods;
  addMethods(*record, c->data->methods);
  addCategories(*record, c);
  record->isCounted = !c->isMetaclass() && c != &protocolClass && c != &constantStringClass;
  c->record = record;
  requireRoomForSuperclass(c);
  if (!c->isMetaclass()) load(c->isa);
}

bool anyConforms(const ProtocolList* list, const char* name) {
  if (list == nullptr) return false;
  for (long i = 0; i < list->count; ++i) {
    const Protocol& protocol = *list->first[i];
    if (std::strcmp(protocol.name, name) == 0 || anyConforms(protocol.inherited, name)) return true;
  }
  return false;
}

bool categoryConforms(const Class* c, const char* name) {
  for (Category** category = __start_objc_catlist; category != __stop_objc_catlist; ++category) {
    if ((*category)->extended == c && anyConforms((*category)->protocols, name)) return true;
  }
  return false;
}

bool contains(const MethodList* list, std::string_view selector) {
  bool found = false;
  forEachMethod(list, [&](const Method& method) { found = found || selector == method.name; });
  return found;
}

void loadOnce() {
  for (Selector* selector = __start_objc_selrefs; selector != __stop_objc_selrefs; ++selector) {
    *selector = uniqueSelector(*selector);
  }
  for (Class* c : allClasses()) load(c);
  for (Protocol** protocol = __start_objc_protolist; protocol != __stop_objc_protolist; ++protocol) {
    (*protocol)->isa = &protocolClass;
  }
}

__attribute__((constructor(101))) void loadBeforeOthers() { loadProgram(); }

}  // namespace

void loadProgram() {
  static std::once_flag once;
  std::call_once(once, loadOnce);
}

std::span<Class*> allClasses() { return {__start_objc_classlist, __stop_objc_classlist}; }

Implementation findMethod(const Class* c, Selector selector) {
  const auto& methods = c->record->methods;
  const auto found = methods.find(selector);
  return found == methods.end() ? nullptr : found->second;
}

Implementation findOwnMethod(const Class* c, std::string_view selector) {
  Implementation result = nullptr;
  forEachMethod(c->data->methods, [&](const Method& method) {
    if (selector == method.name) result = method.implementation;
  });
  return result;
}

bool isKindOf(const Class* c, const Class* kind) {
  for (; c != nullptr; c = c->superclass) {
    if (c == kind) return true;
  }
  return false;
}

bool conformsTo(const Class* c, const Protocol* protocol) {
  for (; c != nullptr; c = c->superclass) {
    if (anyConforms(c->data->protocols, protocol->name) || categoryConforms(c, protocol->name)) return true;
  }
  return false;
}

std::span<const Method> requiredMethods(const Protocol& protocol) {
  if (protocol.instanceMethods == nullptr) return {};
  return {protocol.instanceMethods->first, protocol.instanceMethods->count};
}

std::string_view extendedTypes(const Protocol& protocol, std::size_t index) {
  return protocol.extendedTypes == nullptr ? std::string_view{} : protocol.extendedTypes[index];
}

bool hasMethod(const Protocol& protocol, std::string_view selector) {
  if (contains(protocol.instanceMethods, selector) || contains(protocol.optionalInstanceMethods, selector)) return true;
  if (protocol.inherited == nullptr) return false;
  for (long i = 0; i < protocol.inherited->count; ++i) {
    if (hasMethod(*protocol.inherited->first[i], selector)) return true;
  }
  return false;
}

}  // namespace wicket::objc
