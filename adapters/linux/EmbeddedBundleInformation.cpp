// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/EmbeddedBundleInformation.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>

#include "resources/EmbeddedPropertyLists.h"

namespace wicket::linux_adapter {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;
using Node = std::unique_ptr<void, decltype(&plist_free)>;
using Text = std::unique_ptr<char, decltype(&std::free)>;

Node parse(std::string_view xml) {
  plist_t root = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
  return {root, &plist_free};
}

Values stringsOf(plist_t dictionary) {
  Values values;
  plist_dict_iter made = nullptr;
  plist_dict_new_iter(dictionary, &made);
  const Text iterator(static_cast<char*>(made), &std::free);
  for (;;) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(dictionary, made, &key, &value);
    const Text ownedKey(key, &std::free);
    if (key == nullptr) return values;
    if (plist_get_node_type(value) != PLIST_STRING) continue;
    char* text = nullptr;
    plist_get_string_val(value, &text);
    const Text ownedText(text, &std::free);
    if (text != nullptr) values.emplace(key, text);
  }
}

Values readStrings(std::string_view xml) {
  const Node root = parse(xml);
  return plist_get_node_type(root.get()) == PLIST_DICT ? stringsOf(root.get()) : Values();
}

}  // namespace

EmbeddedBundleInformation::EmbeddedBundleInformation()
    : EmbeddedBundleInformation(resources::EmbeddedPropertyLists::bundleInformation()) {}

EmbeddedBundleInformation::EmbeddedBundleInformation(std::string_view propertyList)
    : values_(readStrings(propertyList)) {}

std::optional<std::string> EmbeddedBundleInformation::stringValue(std::string_view key) {
  const auto found = values_.find(key);
  return found == values_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace wicket::linux_adapter
