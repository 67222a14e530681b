// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/requirement/RequirementToken.h"

namespace wicket::codesign {

std::string RequirementToken::description() const {
  switch (kind) {
    case Kind::end:
      return "the end";
    case Kind::keyword:
      return "the keyword \"" + text + "\"";
    case Kind::integer:
      return "the number " + text;
    case Kind::quoted:
      return "text in quotes";
    case Kind::hex:
      return "a hexadecimal value";
    case Kind::hash:
      return "a hash";
    case Kind::word:
    case Kind::symbol:
      break;
  }
  return "\"" + text + "\"";
}

std::string_view RequirementToken::adviceForText() const {
  if (kind == Kind::keyword) {
    return "; a keyword must be quoted to be text";
  }
  return kind == Kind::integer ? "; text that begins with a digit must be quoted" : "";
}

}  // namespace wicket::codesign
