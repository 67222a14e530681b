// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <string_view>

#include "codesign/requirement/RequirementError.h"

namespace wicket::codesign {

/// A piece of a requirement's text.
struct RequirementToken {
  enum class Kind {
    end,
    keyword,
    word,     ///< text without quotes that is no keyword: a.b.1
    quoted,   ///< text in quotes; the token's text is what they mean
    integer,  ///< the token's text is its decimal digits
    hex,      ///< 0x...; the token's text is the bytes
    hash,     ///< H"..."; the token's text is the bytes
    symbol,   ///< ( ) [ ] ! = == < <= > >= ~ * - ;
  };

  Kind kind = Kind::end;
  std::string text;
  RequirementPosition position;

  [[nodiscard]] bool isKeyword(std::string_view name) const { return kind == Kind::keyword && text == name; }
  [[nodiscard]] bool isSymbol(std::string_view name) const { return kind == Kind::symbol && text == name; }
  /// How a message names what was found.
  [[nodiscard]] std::string description() const;
  /// What to tell a writer who has put this where text is expected; may be empty.
  [[nodiscard]] std::string_view adviceForText() const;
  [[nodiscard]] bool isString() const { return kind == Kind::word || kind == Kind::quoted; }
};

}  // namespace wicket::codesign
