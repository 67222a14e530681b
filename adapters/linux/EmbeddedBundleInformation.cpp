// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/EmbeddedBundleInformation.h"

#include "codesign/plist/PropertyValue.h"
#include "resources/EmbeddedPropertyLists.h"

namespace wicket::linux_adapter {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;

Values readStrings(std::string_view xml) {
  Values values;
  const auto list = codesign::PropertyValue::fromXml(xml);
  const auto* const dictionary = list ? list->as<codesign::PropertyDictionary>() : nullptr;
  if (dictionary == nullptr) return values;
  for (const auto& [key, value] : *dictionary) {
    if (const auto* const text = value.as<std::string>()) values.emplace(key, *text);
  }
  return values;
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
