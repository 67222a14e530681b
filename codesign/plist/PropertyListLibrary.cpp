// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/plist/PropertyListLibrary.h"

#include <array>
#include <dlfcn.h>
#include <stdexcept>

namespace wicket::codesign {
namespace {

// Version 2.3 and later, then those before it.
constexpr std::array names{"libplist-2.0.so.4", "libplist-2.0.so.3"};

struct Loading {
  PropertyListLibrary library{};
  std::string error;
};

void* openAny(std::string& error) {
  for (const char* const name : names) {
    if (void* const handle = ::dlopen(name, RTLD_NOW | RTLD_LOCAL); handle != nullptr) return handle;
  }
  // It may be there, and the process have no descriptor left to open it.
  error = std::string("the library libplist-2.0 (packages libplist-2.0-4, libplist3) cannot be loaded: ") + ::dlerror();
  return nullptr;
}

template <typename Function>
void resolve(void* handle, const char* name, Function*& function, std::string& error) {
  // POSIX promises that a function's address survives the way through void*.
  function = reinterpret_cast<Function*>(::dlsym(handle, name));
  if (function == nullptr && error.empty()) error = "libplist-2.0 has no function " + std::string(name);
}

void resolveFreeText(void* handle, Loading& loading) {
  std::string olderNameIsMissing;
  resolve(handle, "plist_to_xml_free", loading.library.freeText, olderNameIsMissing);
  if (!olderNameIsMissing.empty()) resolve(handle, "plist_mem_free", loading.library.freeText, loading.error);
}

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): the member has the function's name.
#define RESOLVE(name) resolve(handle, #name, loading.library.name, loading.error)

Loading load() {
  Loading loading;
  void* const handle = openAny(loading.error);
  if (handle == nullptr) return loading;
  RESOLVE(plist_free);
  RESOLVE(plist_get_node_type);
  RESOLVE(plist_get_bool_val);
  RESOLVE(plist_get_real_val);
  RESOLVE(plist_get_string_ptr);
  RESOLVE(plist_get_data_ptr);
  RESOLVE(plist_array_get_size);
  RESOLVE(plist_array_get_item);
  RESOLVE(plist_dict_new_iter);
  RESOLVE(plist_dict_next_item);
  RESOLVE(plist_new_bool);
  RESOLVE(plist_new_real);
  RESOLVE(plist_new_string);
  RESOLVE(plist_new_data);
  RESOLVE(plist_new_array);
  RESOLVE(plist_array_append_item);
  RESOLVE(plist_new_dict);
  RESOLVE(plist_dict_set_item);
  RESOLVE(plist_from_xml);
  RESOLVE(plist_to_xml);
  resolveFreeText(handle, loading);
  return loading;
}

#undef RESOLVE

// Loaded for good: a value read by it may live as long as the process.
const Loading& loaded() {
  static const Loading loading = load();
  return loading;
}

}  // namespace

const PropertyListLibrary& PropertyListLibrary::instance() {
  if (!loaded().error.empty()) throw std::runtime_error(loaded().error);
  return loaded().library;
}

std::string PropertyListLibrary::missing() { return loaded().error; }

}  // namespace wicket::codesign
