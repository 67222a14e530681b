// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/unit/codesign/RequirementText.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace wicket::codesign {

using namespace requirement;

namespace {

std::string hexDigits(auto&& bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const auto byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += digits[value >> 4U];
    text += digits[value & 0xFU];
  }
  return text;
}

std::string hashText(const Sha1Digest& digest) { return "H\"" + hexDigits(digest) + "\""; }

std::string inQuotes(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    result += character == '"' ? "\\\"" : std::string(1, character);
  }
  return result + "\"";
}

// Neither a backslash nor bytes that UTF-8 does not have can stand in quotes.
bool canBeQuoted(std::string_view value) {
  return std::ranges::none_of(value, [](char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return byte == '\\' || code == 0xC0U || code == 0xC1U || code >= 0xF5U;
  });
}

std::string valueText(const Match& match) {
  if (match.isTimestamp) {
    return "timestamp " + inQuotes(match.value);
  }
  return canBeQuoted(match.value) ? inQuotes(match.value) : "0x" + hexDigits(match.value);
}

std::string matchText(const Match& match) {
  const std::string value = valueText(match);
  switch (match.comparison) {
    case Comparison::exists:
      return " exists";
    case Comparison::absent:
      return " absent";
    case Comparison::equal:
      return " = " + value;
    case Comparison::beginsWith:
      return " = " + value + "*";
    case Comparison::endsWith:
      return " = *" + value;
    case Comparison::contains:
      return " ~ " + value;
    case Comparison::less:
      return " < " + value;
    case Comparison::greater:
      return " > " + value;
    case Comparison::lessOrEqual:
      return " <= " + value;
    case Comparison::greaterOrEqual:
      break;
  }
  return " >= " + value;
}

std::string slotText(Slot slot) {
  if (slot == leafSlot) {
    return "certificate leaf";
  }
  return slot == rootSlot ? "certificate root" : "certificate " + std::to_string(slot);
}

std::string_view prefixOf(CertificateMatch::Field field) {
  switch (field) {
    case CertificateMatch::Field::subject:
      return "subject.";
    case CertificateMatch::Field::extension:
      return "field.";
    case CertificateMatch::Field::policy:
      return "policy.";
    case CertificateMatch::Field::timestamp:
      break;
  }
  return "timestamp.";
}

struct Writer {
  std::string operator()(const Constant& constant) const { return constant.value ? "always" : "never"; }
  std::string operator()(const Identifier& identifier) const { return "identifier " + inQuotes(identifier.value); }
  std::string operator()(const CodeDirectoryHash& hash) const { return "cdhash " + hashText(hash.digest); }
  std::string operator()(const Platform& platform) const { return "platform = " + std::to_string(platform.value); }
  std::string operator()(const Notarized&) const { return "notarized"; }
  std::string operator()(const Legacy&) const { return "legacy"; }
  std::string operator()(const NamedRequirement& named) const { return "(" + inQuotes(named.name) + ")"; }
  std::string operator()(const AnchorApple&) const { return "anchor apple"; }
  std::string operator()(const AnchorAppleGeneric&) const { return "anchor apple generic"; }
  std::string operator()(const NamedAnchor& anchor) const { return "anchor apple " + inQuotes(anchor.name); }
  std::string operator()(const ChainTrusted&) const { return "certificate trusted"; }
  std::string operator()(const CertificateTrusted& trusted) const { return slotText(trusted.slot) + " trusted"; }
  std::string operator()(const CertificateHash& hash) const {
    return slotText(hash.slot) + " = " + hashText(hash.digest);
  }
  std::string operator()(const CertificateMatch& match) const {
    return slotText(match.slot) + "[" + inQuotes(std::string(prefixOf(match.field)) + match.name) + "]" +
           matchText(match.match);
  }
  std::string operator()(const DictionaryMatch& match) const {
    const bool isInformation = match.source == DictionaryMatch::Source::info;
    return (isInformation ? "info[" : "entitlement[") + inQuotes(match.key) + "]" + matchText(match.match);
  }
  std::string operator()(const Not& negation) const { return "!" + grouped(*negation.operand, false); }
  std::string operator()(const All& all) const { return joined(all.operands, " and ", false); }
  std::string operator()(const Any& any) const { return joined(any.operands, " or ", true); }

  static std::string joined(std::span<const RequirementExpression> operands, std::string_view word, bool mayBeAll) {
    std::string text = grouped(operands.front(), mayBeAll);
    for (const RequirementExpression& operand : operands.subspan(1)) {
      text.append(word).append(grouped(operand, mayBeAll));
    }
    return text;
  }

  static std::string grouped(const RequirementExpression& operand, bool mayBeAll) {
    const bool needsParentheses =
        std::holds_alternative<Any>(operand.node) || (!mayBeAll && std::holds_alternative<All>(operand.node));
    const std::string text = std::visit(Writer{}, operand.node);
    return needsParentheses ? "(" + text + ")" : text;
  }
};

}  // namespace

std::string requirementText(const RequirementExpression& expression) { return std::visit(Writer{}, expression.node); }

}  // namespace wicket::codesign
