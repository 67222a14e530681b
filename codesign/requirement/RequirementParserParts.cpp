// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <charconv>

#include "codesign/requirement/RequirementParser.h"

// What conditions are made of: slots, keys, matches and the values in them.

namespace wicket::codesign {

using namespace requirement;
using Kind = RequirementToken::Kind;

std::optional<Slot> RequirementParser::parseSlot() {
  if (takeKeyword("leaf")) {
    return leafSlot;
  }
  if (takeKeyword("root")) {
    return rootSlot;
  }
  if (takeSymbol("-")) {
    const auto fromRoot = parseInteger("a number behind \"-\"");
    return fromRoot ? std::optional(-*fromRoot) : std::nullopt;
  }
  return parseInteger("\"trusted\", \"leaf\", \"root\" or the number of a certificate");
}

std::optional<int> RequirementParser::parseInteger(std::string_view what) {
  if (next().kind != Kind::integer) {
    return failExpecting(what);
  }
  const RequirementToken token = take();
  int value = 0;
  const char* const end = token.text.data() + token.text.size();
  if (std::from_chars(token.text.data(), end, value).ec != std::errc()) {
    return failAt(token.position, "the number " + token.text + " is too large");
  }
  return value;
}

std::optional<std::string> RequirementParser::parseString(std::string_view what) {
  if (!next().isString()) {
    failExpecting(what);
    error_->message += next().adviceForText();
    return std::nullopt;
  }
  return take().text;
}

std::optional<std::string> RequirementParser::parseValue(std::string_view what) {
  return next().kind == Kind::hex ? std::optional(take().text) : parseString(what);
}

std::optional<Sha1Digest> RequirementParser::parseHash(std::string_view what) {
  if (next().kind != Kind::hash) {
    return failExpecting(what);
  }
  const RequirementToken token = take();
  Sha1Digest digest{};
  if (token.text.size() != digest.size()) {
    return failAt(token.position,
                  "expected a hash of 40 hexadecimal digits, found one of " + std::to_string(2 * token.text.size()));
  }
  std::ranges::transform(token.text, digest.begin(), [](char byte) { return static_cast<std::byte>(byte); });
  return digest;
}

std::optional<RequirementToken> RequirementParser::parseKey() {
  if (!expectSymbol("[", "\"[\"")) {
    return std::nullopt;
  }
  RequirementToken key = next();
  if (!parseString("a key") || !expectSymbol("]", "\"]\"")) {
    return std::nullopt;
  }
  return key;
}

// Nothing behind a key means that something must be there.
std::optional<Match> RequirementParser::parseMatch() {
  if (takeKeyword("absent")) {
    return Match{.comparison = Comparison::absent, .value = {}};
  }
  if (takeSymbol("=") || takeSymbol("==")) {
    return parseEquals();
  }
  if (takeSymbol("~")) {
    auto value = parseValue("a value behind \"~\"");
    return value ? std::optional(Match{.comparison = Comparison::contains, .value = std::move(*value)}) : std::nullopt;
  }
  if (takeSymbol("<=")) {
    return parseOrder(Comparison::lessOrEqual);
  }
  if (takeSymbol(">=")) {
    return parseOrder(Comparison::greaterOrEqual);
  }
  if (takeSymbol("<")) {
    return parseOrder(Comparison::less);
  }
  if (takeSymbol(">")) {
    return parseOrder(Comparison::greater);
  }
  takeKeyword("exists");
  return Match{};
}

std::optional<Match> RequirementParser::parseEquals() {
  if (takeKeyword("timestamp")) {
    return parseTimestamp(Comparison::equal);
  }
  const bool beginsOpen = takeSymbol("*");
  auto value = parseValue(beginsOpen ? "a value behind \"*\"" : "a value");
  if (!value) {
    return std::nullopt;
  }
  const bool endsOpen = takeSymbol("*");
  const Comparison comparison = beginsOpen ? (endsOpen ? Comparison::contains : Comparison::endsWith)
                                           : (endsOpen ? Comparison::beginsWith : Comparison::equal);
  return Match{.comparison = comparison, .value = std::move(*value)};
}

std::optional<Match> RequirementParser::parseOrder(Comparison comparison) {
  if (takeKeyword("timestamp")) {
    return parseTimestamp(comparison);
  }
  auto value = parseValue("a value");
  return value ? std::optional(Match{.comparison = comparison, .value = std::move(*value)}) : std::nullopt;
}

std::optional<Match> RequirementParser::parseTimestamp(Comparison comparison) {
  auto value = parseString("a time");
  return value ? std::optional(Match{.comparison = comparison, .value = std::move(*value), .isTimestamp = true})
               : std::nullopt;
}

}  // namespace wicket::codesign
