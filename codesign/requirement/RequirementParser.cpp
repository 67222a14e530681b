// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/requirement/RequirementParser.h"

#include <algorithm>
#include <array>
#include <memory>

#include "codesign/certificate/ObjectIdentifier.h"
#include "codesign/requirement/RequirementLexer.h"

namespace wicket::codesign {

using namespace requirement;
using Kind = RequirementToken::Kind;

namespace {

template <typename Node>
RequirementExpression expression(Node node) {
  return RequirementExpression{std::move(node)};
}

struct FieldPrefix {
  std::string_view text;
  CertificateMatch::Field field;
};
constexpr std::array fieldPrefixes{
    FieldPrefix{"subject.", CertificateMatch::Field::subject},
    FieldPrefix{"field.", CertificateMatch::Field::extension},
    FieldPrefix{"extension.", CertificateMatch::Field::extension},
    FieldPrefix{"policy.", CertificateMatch::Field::policy},
    FieldPrefix{"timestamp.", CertificateMatch::Field::timestamp},
};

}  // namespace

std::expected<RequirementExpression, RequirementError> RequirementParser::parse(std::string_view text) {
  auto tokens = RequirementLexer::tokens(text);
  if (!tokens) {
    return std::unexpected(std::move(tokens.error()));
  }
  RequirementParser parser(std::move(*tokens));
  Expression result = parser.parseRequirement();
  if (!result) {
    return std::unexpected(std::move(*parser.error_));
  }
  return std::move(*result);
}

const RequirementToken& RequirementParser::next(std::size_t ahead) const {
  return tokens_[std::min(position_ + ahead, tokens_.size() - 1)];
}

RequirementToken RequirementParser::take() {
  RequirementToken token = next();
  position_ = std::min(position_ + 1, tokens_.size() - 1);
  return token;
}

bool RequirementParser::takeKeyword(std::string_view name) {
  const bool isThere = next().isKeyword(name);
  position_ += isThere ? 1 : 0;
  return isThere;
}

bool RequirementParser::takeSymbol(std::string_view name) {
  const bool isThere = next().isSymbol(name);
  position_ += isThere ? 1 : 0;
  return isThere;
}

void RequirementParser::takeEquals() {
  if (!takeSymbol("=")) {
    takeSymbol("==");
  }
}

std::nullopt_t RequirementParser::failAt(RequirementPosition position, std::string message) {
  error_ = RequirementError{position, std::move(message)};
  return std::nullopt;
}

std::nullopt_t RequirementParser::failExpecting(std::string_view what) {
  return failAt(next().position, "expected " + std::string(what) + ", found " + next().description());
}

bool RequirementParser::expectSymbol(std::string_view name, std::string_view what) {
  const bool isThere = takeSymbol(name);
  if (!isThere) {
    failExpecting(what);
  }
  return isThere;
}

RequirementParser::Expression RequirementParser::parseRequirement() {
  Expression result = parseExpression();
  bool endsInSemicolon = false;
  while (result && takeSymbol(";")) {
    endsInSemicolon = true;
  }
  if (result && next().kind != Kind::end) {
    return failExpecting(endsInSemicolon ? "the end" : "\"and\", \"or\" or the end");
  }
  return result;
}

RequirementParser::Expression RequirementParser::parseExpression() {
  Expression first = parseTerm();
  if (!first || !next().isKeyword("or")) {
    return first;
  }
  Any any;
  any.operands.push_back(std::move(*first));
  while (takeKeyword("or")) {
    Expression operand = parseTerm();
    if (!operand) {
      return std::nullopt;
    }
    any.operands.push_back(std::move(*operand));
  }
  return expression(std::move(any));
}

RequirementParser::Expression RequirementParser::parseTerm() {
  Expression first = parsePrimary();
  if (!first || !next().isKeyword("and")) {
    return first;
  }
  All all;
  all.operands.push_back(std::move(*first));
  while (takeKeyword("and")) {
    Expression operand = parsePrimary();
    if (!operand) {
      return std::nullopt;
    }
    all.operands.push_back(std::move(*operand));
  }
  return expression(std::move(all));
}

RequirementParser::Expression RequirementParser::parsePrimary() {
  const bool isNot = next().isSymbol("!");
  if (!isNot && !next().isSymbol("(")) {
    return parseCondition();
  }
  if (depth_ == deepestNesting) {
    return failAt(next().position, "nested more than " + std::to_string(deepestNesting) + " levels deep");
  }
  ++depth_;
  Expression result = isNot ? parseNot() : parseParenthesized();
  --depth_;
  return result;
}

RequirementParser::Expression RequirementParser::parseNot() {
  takeSymbol("!");
  Expression operand = parsePrimary();
  if (!operand) {
    return std::nullopt;
  }
  return expression(Not{std::make_shared<const RequirementExpression>(std::move(*operand))});
}

RequirementParser::Expression RequirementParser::parseParenthesized() {
  takeSymbol("(");
  if (next().isString()) {
    NamedRequirement named{take().text};
    return expectSymbol(")", "\")\" behind the name of a requirement") ? Expression(expression(std::move(named)))
                                                                       : std::nullopt;
  }
  Expression inner = parseExpression();
  if (inner && !expectSymbol(")", "\"and\", \"or\" or \")\"")) {
    return std::nullopt;
  }
  return inner;
}

RequirementParser::Expression RequirementParser::parseCondition() {
  if (const auto constant = takeConstant()) {
    return expression(Constant{*constant});
  }
  if (takeKeyword("identifier")) {
    return parseIdentifier();
  }
  if (takeKeyword("cdhash")) {
    return parseCodeDirectoryHash();
  }
  if (takeKeyword("platform")) {
    return parsePlatform();
  }
  if (takeKeyword("notarized")) {
    return expression(Notarized{});
  }
  if (takeKeyword("legacy")) {
    return expression(Legacy{});
  }
  if (takeKeyword("info")) {
    return parseDictionaryMatch(DictionaryMatch::Source::info);
  }
  if (takeKeyword("entitlement")) {
    return parseDictionaryMatch(DictionaryMatch::Source::entitlement);
  }
  if (takeKeyword("anchor")) {
    return parseAnchor();
  }
  if (takeKeyword("certificate") || takeKeyword("cert")) {
    return parseCertificate();
  }
  return failExpecting("a condition");
}

std::optional<bool> RequirementParser::takeConstant() {
  if (takeKeyword("always") || takeKeyword("true")) {
    return true;
  }
  if (takeKeyword("never") || takeKeyword("false")) {
    return false;
  }
  return std::nullopt;
}

RequirementParser::Expression RequirementParser::parseIdentifier() {
  takeEquals();
  auto text = parseString("an identifier");
  return text ? Expression(expression(Identifier{std::move(*text)})) : std::nullopt;
}

RequirementParser::Expression RequirementParser::parseCodeDirectoryHash() {
  takeEquals();
  const auto digest = parseHash("a hash H\"...\"");
  return digest ? Expression(expression(CodeDirectoryHash{*digest})) : std::nullopt;
}

RequirementParser::Expression RequirementParser::parsePlatform() {
  takeEquals();
  const auto value = parseInteger("the number of a platform");
  return value ? Expression(expression(Platform{*value})) : std::nullopt;
}

RequirementParser::Expression RequirementParser::parseDictionaryMatch(DictionaryMatch::Source source) {
  auto key = parseKey();
  if (!key) {
    return std::nullopt;
  }
  auto match = parseMatch();
  return match ? Expression(expression(DictionaryMatch{source, std::move(key->text), std::move(*match)}))
               : std::nullopt;
}

RequirementParser::Expression RequirementParser::parseAnchor() {
  if (takeKeyword("apple")) {
    return parseAnchorApple();
  }
  if (takeKeyword("generic")) {
    return takeKeyword("apple") ? Expression(expression(AnchorAppleGeneric{})) : failExpecting("\"apple\"");
  }
  if (takeKeyword("trusted")) {
    return expression(ChainTrusted{});
  }
  if (next().isSymbol("[")) {
    return parseCertificateMatch(rootSlot);
  }
  return parseCertificateHash(rootSlot, "\"apple\", \"generic\", \"trusted\", a key in brackets or a hash H\"...\"");
}

RequirementParser::Expression RequirementParser::parseAnchorApple() {
  if (takeKeyword("generic")) {
    return expression(AnchorAppleGeneric{});
  }
  if (next().isString()) {
    return expression(NamedAnchor{take().text});
  }
  return expression(AnchorApple{});
}

RequirementParser::Expression RequirementParser::parseCertificate() {
  if (takeKeyword("trusted")) {
    return expression(ChainTrusted{});
  }
  const auto slot = parseSlot();
  if (!slot) {
    return std::nullopt;
  }
  if (takeKeyword("trusted")) {
    return expression(CertificateTrusted{*slot});
  }
  if (next().isSymbol("[")) {
    return parseCertificateMatch(*slot);
  }
  return parseCertificateHash(*slot, "\"trusted\", a key in brackets or a hash H\"...\"");
}

RequirementParser::Expression RequirementParser::parseCertificateHash(Slot slot, std::string_view expected) {
  const bool hasEquals = next().isSymbol("=") || next().isSymbol("==");
  takeEquals();
  const auto digest = parseHash(hasEquals ? "a hash H\"...\"" : expected);
  return digest ? Expression(expression(CertificateHash{slot, *digest})) : std::nullopt;
}

RequirementParser::Expression RequirementParser::parseCertificateMatch(Slot slot) {
  const auto key = parseKey();
  if (!key) {
    return std::nullopt;
  }
  const auto* const prefix = std::ranges::find_if(
      fieldPrefixes, [&](const FieldPrefix& candidate) { return key->text.starts_with(candidate.text); });
  if (prefix == fieldPrefixes.end()) {
    return failAt(key->position,
                  "expected a key that begins with \"subject.\", \"field.\", \"extension.\", "
                  "\"policy.\" or \"timestamp.\"");
  }
  std::string name = key->text.substr(prefix->text.size());
  if (prefix->field != CertificateMatch::Field::subject && !objectIdentifier(name)) {
    return failAt(key->position, "expected a dotted object identifier behind \"" + std::string(prefix->text) + "\"");
  }
  auto match = parseMatch();
  return match ? Expression(expression(CertificateMatch{slot, prefix->field, std::move(name), std::move(*match)}))
               : std::nullopt;
}

}  // namespace wicket::codesign
