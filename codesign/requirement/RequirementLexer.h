// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

/// Cuts a requirement's text into tokens. Blank, tabulator and line feed separate them; a carriage
/// return does not, and stands nowhere but in quotes and comments.
class RequirementLexer {
 public:
  /// The last token is of the kind end.
  [[nodiscard]] static std::expected<std::vector<RequirementToken>, RequirementError> tokens(std::string_view text);
  /// Whether an unquoted @p word is part of the language and so cannot be used as text.
  [[nodiscard]] static bool isKeyword(std::string_view word);

 private:
  explicit RequirementLexer(std::string_view text) : text_(text) {}

  [[nodiscard]] bool isAtEnd() const { return offset_ == text_.size(); }
  /// NUL behind the end, which no rule takes for anything.
  [[nodiscard]] char peek(std::size_t ahead = 0) const {
    return offset_ + ahead < text_.size() ? text_[offset_ + ahead] : '\0';
  }
  char take();
  [[nodiscard]] bool fail(RequirementPosition position, std::string message);

  [[nodiscard]] bool checkBytes();
  [[nodiscard]] bool skipBetweenTokens();
  void skipLine();
  [[nodiscard]] bool skipBlockComment();

  [[nodiscard]] bool takeToken(RequirementToken& token);
  [[nodiscard]] bool takeWord(RequirementToken& token);
  [[nodiscard]] bool takeQuoted(RequirementToken& token);
  [[nodiscard]] bool takeHash(RequirementToken& token);
  [[nodiscard]] bool takeNumber(RequirementToken& token);
  [[nodiscard]] bool takeSymbol(RequirementToken& token);
  void takeDigits(std::string& digits);
  [[nodiscard]] bool takeHexBytes(RequirementToken& token);

  std::string_view text_;
  std::size_t offset_ = 0;
  RequirementPosition position_;
  std::optional<RequirementError> error_;
};

}  // namespace wicket::codesign
