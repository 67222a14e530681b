// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/certificate/ObjectIdentifier.h"

#include <openssl/err.h>
#include <string>

namespace wicket::codesign {
namespace {

constexpr std::size_t longestText = 255;

// OpenSSL would take blanks for dots too.
bool isDottedDecimal(std::string_view text) {
  return text.find_first_not_of("0123456789.") == std::string_view::npos && !text.starts_with('.') &&
         !text.ends_with('.') && !text.contains("..");
}

}  // namespace

ObjectIdentifier objectIdentifier(std::string_view dotted) {
  if (dotted.size() > longestText || !isDottedDecimal(dotted)) {
    return nullptr;
  }
  ObjectIdentifier object(OBJ_txt2obj(std::string(dotted).c_str(), 1));
  if (!object) {
    ERR_clear_error();
  }
  return object;
}

}  // namespace wicket::codesign
