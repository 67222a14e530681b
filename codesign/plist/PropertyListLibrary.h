// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <plist/plist.h>
#include <string>

namespace wicket::codesign {

/// The functions of libplist, in whichever of its releases the system has. Debian 12 and 13 have it under
/// different shared-object names, though nothing that is used here differs between the two; a program that
/// is to run on both cannot be linked with either.
struct PropertyListLibrary {
  decltype(&::plist_free) plist_free;
  decltype(&::plist_get_node_type) plist_get_node_type;
  decltype(&::plist_get_bool_val) plist_get_bool_val;
  decltype(&::plist_get_real_val) plist_get_real_val;
  decltype(&::plist_get_string_ptr) plist_get_string_ptr;
  decltype(&::plist_get_data_ptr) plist_get_data_ptr;
  decltype(&::plist_array_get_size) plist_array_get_size;
  decltype(&::plist_array_get_item) plist_array_get_item;
  decltype(&::plist_dict_new_iter) plist_dict_new_iter;
  decltype(&::plist_dict_next_item) plist_dict_next_item;
  decltype(&::plist_new_bool) plist_new_bool;
  decltype(&::plist_new_real) plist_new_real;
  decltype(&::plist_new_string) plist_new_string;
  decltype(&::plist_new_data) plist_new_data;
  decltype(&::plist_new_array) plist_new_array;
  decltype(&::plist_array_append_item) plist_array_append_item;
  decltype(&::plist_new_dict) plist_new_dict;
  decltype(&::plist_dict_set_item) plist_dict_set_item;
  decltype(&::plist_from_xml) plist_from_xml;
  decltype(&::plist_to_xml) plist_to_xml;
  /// For the text that plist_to_xml makes; the releases call it by different names.
  void (*freeText)(char* text);

  /// Loaded once, with the system's own search path; any thread. Throws std::runtime_error, with
  /// missing() as its text, where there is no such library.
  [[nodiscard]] static const PropertyListLibrary& instance();
  /// Why instance() would throw; empty when it would not.
  [[nodiscard]] static std::string missing();
};

}  // namespace wicket::codesign
