// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/command/PropertyJson.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "base/text/JsonString.h"

namespace wicket::codesign::command {

namespace {

std::string realText(double value) {
  // JSON has no such numbers.
  if (!std::isfinite(value)) return "null";
  std::array<char, 40> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "%.17g", value);
  std::string text = buffer.data();
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

std::string arrayText(const PropertyArray& array) {
  std::string text;
  for (const PropertyValue& element : array) text += (text.empty() ? "" : ", ") + jsonOf(element);
  return "[" + text + "]";
}

std::string dictionaryText(const PropertyDictionary& dictionary) {
  std::string text;
  for (const auto& [key, value] : dictionary) {
    text += (text.empty() ? "" : ", ") + jsonString(key) + ": " + jsonOf(value);
  }
  return "{" + text + "}";
}

}  // namespace

std::string inHexadecimal(std::span<const std::byte> bytes) {
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::byte byte : bytes) {
    text += digits[std::to_integer<std::size_t>(byte >> 4)];
    text += digits[std::to_integer<std::size_t>(byte & std::byte{0x0F})];
  }
  return text;
}

std::string jsonOf(const PropertyValue& value) {
  if (const auto* flag = value.as<bool>()) return *flag ? "true" : "false";
  if (const auto* integer = value.as<std::int64_t>()) return std::to_string(*integer);
  if (const auto* real = value.as<double>()) return realText(*real);
  if (const auto* text = value.as<std::string>()) return jsonString(*text);
  if (const auto* data = value.as<PropertyData>()) return "{\"data\": \"" + inHexadecimal(*data) + "\"}";
  if (const auto* array = value.as<PropertyArray>()) return arrayText(*array);
  if (const auto* other = value.as<PropertyOther>()) return "{\"xml\": " + jsonString(other->element) + "}";
  return dictionaryText(*value.as<PropertyDictionary>());
}

}  // namespace wicket::codesign::command
