// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace wicket::codesign {

class PropertyValue;
using PropertyData = std::vector<std::byte>;
using PropertyArray = std::vector<PropertyValue>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

/// A value of another kind: a date, or an integer beyond std::int64_t.
struct PropertyOther {
  std::string element;  ///< as the library writes it in XML, with its tags

  bool operator==(const PropertyOther&) const = default;
};

/// Why a text is no property list that is taken.
struct PropertyListError {
  std::string message;
};

/// A value of a property list, never changed once made. Copies of dictionaries share them. What reads and
/// writes them throws std::runtime_error where the system has no libplist.
class PropertyValue {
 public:
  /// More than any signature needs, and little enough for the library's recursion not to exhaust the
  /// stack.
  static constexpr std::size_t longestText = 65536;
  /// How many arrays and dictionaries may stand in each other.
  static constexpr int deepestNesting = 32;

  explicit PropertyValue(bool value) : value_(value) {}
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool>)
  explicit PropertyValue(Integer value) : value_(static_cast<std::int64_t>(value)) {}
  explicit PropertyValue(double value) : value_(value) {}
  explicit PropertyValue(std::string value) : value_(std::move(value)) {}
  explicit PropertyValue(const char* value) : value_(std::string(value)) {}
  explicit PropertyValue(PropertyData value) : value_(std::move(value)) {}
  explicit PropertyValue(PropertyArray value) : value_(std::move(value)) {}
  explicit PropertyValue(PropertyDictionary value);
  explicit PropertyValue(PropertyOther value) : value_(std::move(value)) {}

  /// The value if it is a Type, which is one of bool, std::int64_t, double, std::string, PropertyData,
  /// PropertyArray, PropertyDictionary and PropertyOther; else null. No kind is converted to another.
  template <typename Type>
  [[nodiscard]] const Type* as() const {
    if constexpr (std::same_as<Type, PropertyDictionary>) {
      const auto* const shared = std::get_if<std::shared_ptr<const PropertyDictionary>>(&value_);
      return shared != nullptr ? shared->get() : nullptr;
    } else {
      return std::get_if<Type>(&value_);
    }
  }

  bool operator==(const PropertyValue& other) const;

  /// Reads a property list in XML. The binary form is refused: a few bytes of it can stand for any amount
  /// of memory. No integer becomes another one: what the library would take for one is a PropertyOther,
  /// though then of the greatest number that the library knows. The caller must have made sure who wrote
  /// @p text: the library that reads it is not made for strangers' bytes.
  [[nodiscard]] static std::expected<PropertyValue, PropertyListError> fromXml(std::string_view text);
  /// The same value always gives the same text. Texts end at their first NUL.
  [[nodiscard]] std::string toXml() const;

 private:
  std::variant<bool, std::int64_t, double, std::string, PropertyData, PropertyArray,
               std::shared_ptr<const PropertyDictionary>, PropertyOther>
      value_;
};

}  // namespace wicket::codesign
