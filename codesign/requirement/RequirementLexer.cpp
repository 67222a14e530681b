// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/requirement/RequirementLexer.h"

#include <algorithm>
#include <array>
#include <utility>

namespace wicket::codesign {
namespace {

constexpr std::array<std::string_view, 24> keywords{
    "absent",      "always",    "anchor", "and",      "apple",      "cdhash",    "cert", "certificate",
    "entitlement", "exists",    "false",  "generic",  "identifier", "info",      "leaf", "legacy",
    "never",       "notarized", "or",     "platform", "root",       "timestamp", "true", "trusted"};
static_assert(std::ranges::is_sorted(keywords));

// The longer of two that begin alike comes first.
constexpr std::array<std::string_view, 15> symbols{"==", "<=", ">=", "(", ")", "[", "]", "!",
                                                   "=",  "<",  ">",  "~", "*", "-", ";"};

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

std::optional<unsigned> hexValue(char character) {
  if (isDigit(character)) {
    return static_cast<unsigned>(character - '0');
  }
  if (character >= 'a' && character <= 'f') {
    return static_cast<unsigned>(character - 'a' + 10);
  }
  if (character >= 'A' && character <= 'F') {
    return static_cast<unsigned>(character - 'A' + 10);
  }
  return std::nullopt;
}

unsigned valueOf(char byte) { return static_cast<unsigned char>(byte); }

bool continuesCharacter(char byte) { return (valueOf(byte) & 0xC0U) == 0x80U; }

// No character of UTF-8 has them.
bool isForbidden(char byte) { return valueOf(byte) == 0xC0U || valueOf(byte) == 0xC1U || valueOf(byte) >= 0xF5U; }

std::string hexByte(char byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  return {'0', 'x', digits[valueOf(byte) >> 4U], digits[valueOf(byte) & 0xFU]};
}

std::string named(char character) {
  const bool isVisible = character > ' ' && character < '\x7F';
  return isVisible ? "\"" + std::string(1, character) + "\"" : "the byte " + hexByte(character);
}

}  // namespace

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

bool RequirementLexer::isKeyword(std::string_view word) { return std::ranges::binary_search(keywords, word); }

std::expected<std::vector<RequirementToken>, RequirementError> RequirementLexer::tokens(std::string_view text) {
  RequirementLexer lexer(text);
  std::vector<RequirementToken> tokens;
  bool isFine = lexer.checkBytes() && lexer.skipBetweenTokens();
  while (isFine && !lexer.isAtEnd()) {
    RequirementToken token;
    token.position = lexer.position_;
    isFine = lexer.takeToken(token) && lexer.skipBetweenTokens();
    tokens.push_back(std::move(token));
  }
  if (!isFine) {
    return std::unexpected(std::move(*lexer.error_));
  }
  tokens.push_back({.kind = RequirementToken::Kind::end, .text = {}, .position = lexer.position_});
  return tokens;
}

char RequirementLexer::take() {
  const char byte = text_[offset_++];
  if (byte == '\n') {
    ++position_.line;
    position_.column = 1;
  } else if (!continuesCharacter(peek())) {
    ++position_.column;
  }
  return byte;
}

bool RequirementLexer::fail(RequirementPosition position, std::string message) {
  error_ = RequirementError{position, std::move(message)};
  return false;
}

bool RequirementLexer::checkBytes() {
  RequirementLexer scan(text_);
  while (!scan.isAtEnd() && !isForbidden(scan.peek())) {
    scan.take();
  }
  return scan.isAtEnd() || fail(scan.position_, named(scan.peek()) + " is no part of UTF-8");
}

bool RequirementLexer::skipBetweenTokens() {
  while (!isAtEnd()) {
    if (peek() == ' ' || peek() == '\t' || peek() == '\n') {
      take();
    } else if (peek() == '#' || (peek() == '/' && peek(1) == '/')) {
      skipLine();
    } else if (peek() != '/' || peek(1) != '*') {
      return true;
    } else if (!skipBlockComment()) {
      return false;
    }
  }
  return true;
}

void RequirementLexer::skipLine() {
  while (!isAtEnd() && peek() != '\n') {
    take();
  }
}

// An asterisk takes the character behind it along unless that is a slash. So a comment that ends in
// two asterisks and a slash goes on.
bool RequirementLexer::skipBlockComment() {
  const RequirementPosition begin = position_;
  take();
  take();
  while (!isAtEnd()) {
    const bool isAsterisk = take() == '*';
    if (isAsterisk && !isAtEnd() && take() == '/') {
      return true;
    }
  }
  return fail(begin, "the comment does not end");
}

bool RequirementLexer::takeToken(RequirementToken& token) {
  if (peek() == 'H' && peek(1) == '"') {
    return takeHash(token);
  }
  if (isLetter(peek())) {
    return takeWord(token);
  }
  if (isDigit(peek())) {
    return takeNumber(token);
  }
  return peek() == '"' ? takeQuoted(token) : takeSymbol(token);
}

bool RequirementLexer::takeWord(RequirementToken& token) {
  while (isLetter(peek()) || isDigit(peek())) {
    token.text += take();
  }
  while (peek() == '.') {
    token.text += take();
    if (isDigit(peek())) {
      takeDigits(token.text);
    } else if (isLetter(peek())) {
      while (isLetter(peek()) || isDigit(peek())) {
        token.text += take();
      }
    } else {
      return fail(position_, "expected a letter or a digit behind the dot of \"" + token.text + "\"");
    }
  }
  token.kind = isKeyword(token.text) ? RequirementToken::Kind::keyword : RequirementToken::Kind::word;
  return true;
}

bool RequirementLexer::takeQuoted(RequirementToken& token) {
  token.kind = RequirementToken::Kind::quoted;
  take();
  while (!isAtEnd() && peek() != '"') {
    if (peek() == '\\') {
      if (peek(1) != '"') {
        return fail(position_, "expected a double quote behind the backslash: nothing else can be escaped");
      }
      take();
    }
    token.text += take();
  }
  if (isAtEnd()) {
    return fail(token.position, "the quoted text does not end");
  }
  take();
  return true;
}

bool RequirementLexer::takeHash(RequirementToken& token) {
  token.kind = RequirementToken::Kind::hash;
  take();
  take();
  if (!takeHexBytes(token)) {
    return false;
  }
  if (peek() != '"') {
    return fail(position_, "expected a hexadecimal digit or the double quote that ends the hash");
  }
  take();
  return true;
}

bool RequirementLexer::takeNumber(RequirementToken& token) {
  if (peek() == '0' && peek(1) == 'x') {
    token.kind = RequirementToken::Kind::hex;
    take();
    take();
    return takeHexBytes(token);
  }
  token.kind = RequirementToken::Kind::integer;
  takeDigits(token.text);
  return true;
}

void RequirementLexer::takeDigits(std::string& digits) {
  while (isDigit(peek())) {
    digits += take();
  }
}

bool RequirementLexer::takeHexBytes(RequirementToken& token) {
  if (!hexValue(peek())) {
    return fail(position_, "expected hexadecimal digits");
  }
  while (const auto high = hexValue(peek())) {
    take();
    const auto low = hexValue(peek());
    if (!low) {
      return fail(position_, "expected one more hexadecimal digit: two make a byte");
    }
    take();
    token.text += static_cast<char>(*high << 4U | *low);
  }
  return true;
}

bool RequirementLexer::takeSymbol(RequirementToken& token) {
  const std::string_view rest = text_.substr(offset_);
  const auto* const symbol =
      std::ranges::find_if(symbols, [&](std::string_view candidate) { return rest.starts_with(candidate); });
  if (symbol == symbols.end()) {
    return fail(position_, named(peek()) + " begins nothing that can stand here");
  }
  token.kind = RequirementToken::Kind::symbol;
  for (std::size_t count = 0; count < symbol->size(); ++count) {
    token.text += take();
  }
  return true;
}

}  // namespace wicket::codesign
