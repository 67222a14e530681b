// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <expected>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "codesign/requirement/RequirementError.h"
#include "codesign/requirement/RequirementExpression.h"
#include "codesign/requirement/RequirementLexer.h"

namespace wicket::codesign {

/// Reads code requirements: "!" binds tighter than "and", and that tighter than "or". Keywords are
/// reserved, and text that does not begin with a letter or has more in it than letters, digits and
/// dots must be quoted. A text is a requirement as a whole or not at all.
class RequirementParser {
 public:
  /// How many parentheses and "!" may stand in each other. Deeper ones could never be met, as their
  /// evaluation fails; refusing them at once keeps the stack bounded.
  static constexpr int deepestNesting = 1000;

  [[nodiscard]] static std::expected<RequirementExpression, RequirementError> parse(std::string_view text);

 private:
  using Expression = std::optional<RequirementExpression>;  ///< none after a failure

  explicit RequirementParser(std::vector<RequirementToken> tokens) : tokens_(std::move(tokens)) {}

  [[nodiscard]] const RequirementToken& next(std::size_t ahead = 0) const;
  RequirementToken take();
  bool takeKeyword(std::string_view name);
  bool takeSymbol(std::string_view name);
  void takeEquals();

  std::nullopt_t failExpecting(std::string_view what);
  std::nullopt_t failAt(RequirementPosition position, std::string message);
  [[nodiscard]] bool expectSymbol(std::string_view name, std::string_view what);

  [[nodiscard]] Expression parseRequirement();
  [[nodiscard]] Expression parseExpression();
  [[nodiscard]] Expression parseTerm();
  [[nodiscard]] Expression parsePrimary();
  [[nodiscard]] Expression parseParenthesized();
  [[nodiscard]] Expression parseNot();
  [[nodiscard]] Expression parseCondition();
  [[nodiscard]] std::optional<bool> takeConstant();
  [[nodiscard]] Expression parseIdentifier();
  [[nodiscard]] Expression parseCodeDirectoryHash();
  [[nodiscard]] Expression parsePlatform();
  [[nodiscard]] Expression parseDictionaryMatch(requirement::DictionaryMatch::Source source);

  [[nodiscard]] Expression parseAnchor();
  [[nodiscard]] Expression parseAnchorApple();
  [[nodiscard]] Expression parseCertificate();
  [[nodiscard]] Expression parseCertificateMatch(requirement::Slot slot);
  [[nodiscard]] Expression parseCertificateHash(requirement::Slot slot, std::string_view expected);

  [[nodiscard]] std::optional<requirement::Slot> parseSlot();
  [[nodiscard]] std::optional<int> parseInteger(std::string_view what);
  [[nodiscard]] std::optional<std::string> parseString(std::string_view what);
  [[nodiscard]] std::optional<Sha1Digest> parseHash(std::string_view what);
  [[nodiscard]] std::optional<RequirementToken> parseKey();
  [[nodiscard]] std::optional<requirement::Match> parseMatch();
  [[nodiscard]] std::optional<requirement::Match> parseEquals();
  [[nodiscard]] std::optional<requirement::Match> parseOrder(requirement::Comparison comparison);
  [[nodiscard]] std::optional<requirement::Match> parseTimestamp(requirement::Comparison comparison);
  [[nodiscard]] std::optional<std::string> parseValue(std::string_view what);

  std::vector<RequirementToken> tokens_;
  std::size_t position_ = 0;
  int depth_ = 0;
  std::optional<RequirementError> error_;
};

}  // namespace wicket::codesign
