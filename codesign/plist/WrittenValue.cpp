// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/plist/WrittenValue.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace wicket::codesign {

namespace {

constexpr std::string_view whiteSpace = " \t\r\n";

/// What is left after the first @p end; nothing when there is none.
std::string_view behind(std::string_view text, std::string_view end) {
  const std::size_t position = text.find(end);
  return text.substr(position == std::string_view::npos ? text.size() : position + end.size());
}

/// Up to where @p rest, its own end, begins.
std::string_view before(std::string_view text, std::string_view rest) {
  return text.substr(0, text.size() - rest.size());
}

/// @p text begins with it.
std::string_view elementOf(std::string_view text, std::string_view name) {
  const std::string_view tag = before(text, behind(text, ">"));
  if (tag.ends_with("/>")) return tag;
  return before(text, behind(behind(text, "</" + std::string(name)), ">"));
}

}  // namespace

std::string WrittenValue::content() const {
  std::string_view text = behind(element, ">");
  text = text.substr(0, text.rfind("</"));
  text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
  return std::string(text.substr(0, text.find_last_not_of(whiteSpace) + 1));
}

bool WrittenValue::isInteger() const {
  const std::string number = content();
  char* end = nullptr;
  errno = 0;
  // With the prefixes of other bases, as the library reads them.
  if (number.starts_with('-')) {
    static_cast<void>(std::strtoll(number.c_str(), &end, 0));
  } else {
    static_cast<void>(std::strtoull(number.c_str(), &end, 0));
  }
  return errno == 0 && !number.empty() && *end == '\0';
}

std::vector<WrittenValue> WrittenValue::allIn(std::string_view text) {
  std::vector<WrittenValue> values;
  std::string_view key;
  for (text = text.substr(std::min(text.find('<'), text.size())); !text.empty();
       text = text.substr(std::min(text.find('<'), text.size()))) {
    const std::string_view name = text.substr(1, text.find_first_of(" \t\r\n/>", 1) - 1);
    if (text.starts_with("<!--")) {
      text = behind(text, "-->");
    } else if (text.starts_with("<![CDATA[")) {
      text = behind(text, "]]>");
    } else if (name == "integer" || name == "date") {
      values.push_back({name, key, elementOf(text, name)});
      text.remove_prefix(values.back().element.size());
    } else {
      text = behind(text, ">");
      if (name == "key") key = text.substr(0, text.find('<'));
    }
  }
  return values;
}

}  // namespace wicket::codesign
