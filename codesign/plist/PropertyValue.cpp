// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/plist/PropertyValue.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <new>
#include <type_traits>

#include "codesign/plist/PropertyListLibrary.h"
#include "codesign/plist/WrittenValue.h"

namespace wicket::codesign {
namespace {

const PropertyListLibrary& library() { return PropertyListLibrary::instance(); }

struct NodeRelease {
  void operator()(plist_t node) const { library().plist_free(node); }
};
using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, NodeRelease>;

struct MemoryRelease {
  void operator()(void* memory) const { std::free(memory); }
};

using Result = std::expected<PropertyValue, PropertyListError>;

std::unexpected<PropertyListError> propertyListError(std::string message) {
  return std::unexpected(PropertyListError{std::move(message)});
}

Result valueOf(plist_t node, int depth);

std::string xmlOf(plist_t node) {
  char* text = nullptr;
  std::uint32_t length = 0;
  library().plist_to_xml(node, &text, &length);
  if (text == nullptr) throw std::bad_alloc();
  const std::unique_ptr<char, void (*)(char*)> owner(text, library().freeText);
  return {text, length};
}

/// Stands in a line of its own, after the line that opens the property list and before the one that closes it.
PropertyOther otherOf(plist_t node) {
  const std::string text = xmlOf(node);
  const std::size_t begin = text.find('\n', text.find("<plist")) + 1;
  return {text.substr(begin, text.rfind("\n</plist>") - begin)};
}

/// The library hands out the bits of a number without saying whether they mean a negative one; it writes it right.
PropertyValue integerOf(plist_t node) {
  PropertyOther other = otherOf(node);
  const std::string number = WrittenValue{"integer", {}, other.element}.content();
  const char* const end = number.data() + number.size();
  std::int64_t value = 0;
  const auto [stop, error] = std::from_chars(number.data(), end, value);
  return error == std::errc() && stop == end ? PropertyValue(value) : PropertyValue(std::move(other));
}

double realOf(plist_t node) {
  double value = 0;
  library().plist_get_real_val(node, &value);
  return value;
}

std::string stringOf(plist_t node) {
  std::uint64_t length = 0;
  const char* const text = library().plist_get_string_ptr(node, &length);
  return text != nullptr ? std::string(text, length) : std::string();
}

PropertyData dataOf(plist_t node) {
  std::uint64_t length = 0;
  const char* const bytes = library().plist_get_data_ptr(node, &length);
  PropertyData data(bytes != nullptr ? length : 0);
  std::transform(bytes, bytes + data.size(), data.begin(), [](char byte) { return static_cast<std::byte>(byte); });
  return data;
}

Result arrayOf(plist_t node, int depth) {
  PropertyArray array;
  for (std::uint32_t index = 0; index < library().plist_array_get_size(node); ++index) {
    auto element = valueOf(library().plist_array_get_item(node, index), depth + 1);
    if (!element) {
      return element;
    }
    array.push_back(std::move(*element));
  }
  return PropertyValue(std::move(array));
}

Result dictionaryOf(plist_t node, int depth) {
  PropertyDictionary dictionary;
  plist_dict_iter iterator = nullptr;
  library().plist_dict_new_iter(node, &iterator);
  const std::unique_ptr<void, MemoryRelease> owner(iterator);
  while (true) {
    char* key = nullptr;
    plist_t child = nullptr;
    library().plist_dict_next_item(node, iterator, &key, &child);
    const std::unique_ptr<char, MemoryRelease> keyOwner(key);
    if (key == nullptr || child == nullptr) {
      return PropertyValue(std::move(dictionary));
    }
    auto value = valueOf(child, depth + 1);
    if (!value) {
      return value;
    }
    dictionary.insert_or_assign(key, std::move(*value));
  }
}

Result valueOf(plist_t node, int depth) {
  if (depth > PropertyValue::deepestNesting) {
    return propertyListError("the property list is nested too deeply");
  }
  switch (library().plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t value = 0;
      library().plist_get_bool_val(node, &value);
      return PropertyValue(value != 0);
    }
    case PLIST_UINT:
      return integerOf(node);
    case PLIST_REAL:
      return PropertyValue(realOf(node));
    case PLIST_STRING:
      return PropertyValue(stringOf(node));
    case PLIST_DATA:
      return PropertyValue(dataOf(node));
    case PLIST_ARRAY:
      return arrayOf(node, depth);
    case PLIST_DICT:
      return dictionaryOf(node, depth);
    default:
      return PropertyValue(otherOf(node));
  }
}

Node nodeOf(const PropertyValue& value);

Node nodeOfElement(const std::string& element) {
  const std::string text = "<plist version=\"1.0\">" + element + "</plist>";
  plist_t node = nullptr;
  library().plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &node);
  return Node(node);
}

Node nodeOfArray(const PropertyArray& array) {
  Node node(library().plist_new_array());
  for (const PropertyValue& element : array) {
    library().plist_array_append_item(node.get(), nodeOf(element).release());
  }
  return node;
}

Node nodeOfDictionary(const PropertyDictionary& dictionary) {
  Node node(library().plist_new_dict());
  for (const auto& [key, value] : dictionary) {
    library().plist_dict_set_item(node.get(), key.c_str(), nodeOf(value).release());
  }
  return node;
}

Node nodeOfData(const PropertyData& data) {
  std::string bytes(data.size(), '\0');
  std::ranges::transform(data, bytes.begin(), [](std::byte byte) { return std::to_integer<char>(byte); });
  return Node(library().plist_new_data(bytes.data(), bytes.size()));
}

Node nodeOf(const PropertyValue& value) {
  if (const auto* flag = value.as<bool>()) {
    return Node(library().plist_new_bool(*flag ? 1 : 0));
  }
  if (const auto* integer = value.as<std::int64_t>()) {
    // Releases differ in what they make of a number with the first bit set, but not in what they read.
    return nodeOfElement("<integer>" + std::to_string(*integer) + "</integer>");
  }
  if (const auto* real = value.as<double>()) {
    return Node(library().plist_new_real(*real));
  }
  if (const auto* text = value.as<std::string>()) {
    return Node(library().plist_new_string(text->c_str()));
  }
  if (const auto* data = value.as<PropertyData>()) {
    return nodeOfData(*data);
  }
  if (const auto* array = value.as<PropertyArray>()) {
    return nodeOfArray(*array);
  }
  if (const auto* other = value.as<PropertyOther>()) {
    return nodeOfElement(other->element);
  }
  const auto* const dictionary = value.as<PropertyDictionary>();
  return dictionary != nullptr ? nodeOfDictionary(*dictionary) : nullptr;
}

/// The library makes other numbers of those that 64 bits do not hold, and numbers of what is none. The greatest that it
/// knows takes their place, which is none that is taken, either.
std::string withoutWrappingIntegers(std::string_view text) {
  constexpr std::string_view greatest = "<integer>18446744073709551615</integer>";
  std::string result;
  for (const WrittenValue& value : WrittenValue::allIn(text)) {
    if (value.name != "integer" || value.isInteger()) continue;
    const auto position = static_cast<std::size_t>(value.element.data() - text.data());
    result.append(text.substr(0, position)).append(greatest);
    text.remove_prefix(position + value.element.size());
  }
  return result.append(text);
}

}  // namespace

PropertyValue::PropertyValue(PropertyDictionary value)
    : value_(std::make_shared<const PropertyDictionary>(std::move(value))) {}

bool PropertyValue::operator==(const PropertyValue& other) const {
  const auto* const left = as<PropertyDictionary>();
  const auto* const right = other.as<PropertyDictionary>();
  return left != nullptr && right != nullptr ? *left == *right : value_ == other.value_;
}

std::expected<PropertyValue, PropertyListError> PropertyValue::fromXml(std::string_view text) {
  if (text.size() > longestText) {
    return propertyListError("the property list is longer than " + std::to_string(longestText) + " bytes");
  }
  plist_t parsed = nullptr;
  const std::string readable = withoutWrappingIntegers(text);
  library().plist_from_xml(readable.data(), static_cast<std::uint32_t>(readable.size()), &parsed);
  const Node node(parsed);
  if (!node) {
    return propertyListError("this is no property list in XML");
  }
  return valueOf(node.get(), 0);
}

std::string PropertyValue::toXml() const { return xmlOf(nodeOf(*this).get()); }

}  // namespace wicket::codesign
