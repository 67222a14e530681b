// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/requirement/RequirementEvaluator.h"

#include <algorithm>
#include <optional>

#include "codesign/requirement/NumericOrder.h"

namespace wicket::codesign {

using namespace requirement;

namespace {

constexpr std::string_view softwareSigningName = "Software Signing";

bool exists(const PropertyValue* candidate) { return candidate != nullptr && *candidate != PropertyValue(false); }

bool matchesText(const Match& match, const std::string& text) {
  switch (match.comparison) {
    case Comparison::equal:
      return text == match.value;
    case Comparison::beginsWith:
      return text.starts_with(match.value);
    case Comparison::endsWith:
      return text.ends_with(match.value);
    case Comparison::contains:
      return text.contains(match.value);
    case Comparison::less:
      return numericOrder(text, match.value) < 0;
    case Comparison::greater:
      return numericOrder(text, match.value) > 0;
    case Comparison::lessOrEqual:
      return numericOrder(text, match.value) <= 0;
    case Comparison::greaterOrEqual:
      return numericOrder(text, match.value) >= 0;
    case Comparison::exists:
    case Comparison::absent:
      break;
  }
  return false;
}

bool matchesValue(const Match& match, const PropertyValue& candidate) {
  if (const auto* const array = candidate.as<PropertyArray>()) {
    return std::ranges::any_of(*array, [&](const PropertyValue& element) { return matchesValue(match, element); });
  }
  const auto* const text = candidate.as<std::string>();
  return text != nullptr && matchesText(match, *text);
}

/// Whether @p candidate, null if there is nothing, is what @p match asks for.
bool matches(const Match& match, const PropertyValue* candidate) {
  if (match.isTimestamp) {
    return false;
  }
  if (match.comparison == Comparison::absent) {
    return candidate == nullptr;
  }
  if (match.comparison == Comparison::exists) {
    return exists(candidate);
  }
  return candidate != nullptr && matchesValue(match, *candidate);
}

class Evaluator {
 public:
  explicit Evaluator(const RequirementContext& context) : context_(context) {}

  bool operator()(const Constant& constant) const { return constant.value; }
  bool operator()(const Identifier& identifier) const { return context_.identifier == identifier.value; }
  bool operator()(const CodeDirectoryHash&) const { return false; }
  bool operator()(const Platform&) const { return false; }
  bool operator()(const Notarized&) const { return false; }
  bool operator()(const Legacy&) const { return false; }
  bool operator()(const NamedRequirement&) const { return false; }
  bool operator()(const NamedAnchor&) const { return false; }
  bool operator()(const AnchorAppleGeneric&) const { return isRoot(context_.chain.root()); }
  bool operator()(const AnchorApple&) const { return isRoot(context_.chain.root()) && isSoftwareSigningLeaf(); }
  bool operator()(const ChainTrusted&) const { return isRoot(context_.chain.root()); }
  bool operator()(const CertificateTrusted& trusted) const { return isRoot(context_.chain.at(trusted.slot)); }
  bool operator()(const CertificateHash& hash) const;
  bool operator()(const CertificateMatch& match) const;
  bool operator()(const DictionaryMatch& match) const;
  bool operator()(const Not& negation) const { return !std::visit(*this, negation.operand->node); }
  bool operator()(const All& all) const {
    return std::ranges::all_of(all.operands, [this](const auto& operand) { return std::visit(*this, operand.node); });
  }
  bool operator()(const Any& any) const {
    return std::ranges::any_of(any.operands, [this](const auto& operand) { return std::visit(*this, operand.node); });
  }

 private:
  [[nodiscard]] bool isRoot(const Certificate* certificate) const {
    return certificate != nullptr && context_.appleRoots.contains(certificate->sha256());
  }

  [[nodiscard]] bool isSoftwareSigningLeaf() const {
    return context_.chain.leaf()->subjectAttribute("CN") == softwareSigningName;
  }

  const RequirementContext& context_;
};

bool Evaluator::operator()(const CertificateHash& hash) const {
  const Certificate* const certificate = context_.chain.at(hash.slot);
  return certificate != nullptr && certificate->sha1() == hash.digest;
}

// What the match is held against: the text of an attribute, or that an extension or a policy is there.
std::optional<PropertyValue> valueOf(const Certificate& certificate, const CertificateMatch& match) {
  const auto presence = [](bool isThere) { return isThere ? std::optional(PropertyValue(true)) : std::nullopt; };
  switch (match.field) {
    case CertificateMatch::Field::subject: {
      auto text = certificate.subjectAttribute(match.name);
      return text ? std::optional(PropertyValue(std::move(*text))) : std::nullopt;
    }
    case CertificateMatch::Field::extension:
      return presence(certificate.hasExtension(match.name));
    case CertificateMatch::Field::policy:
      return presence(certificate.hasPolicy(match.name));
    case CertificateMatch::Field::timestamp:
      break;
  }
  return std::nullopt;
}

bool Evaluator::operator()(const CertificateMatch& match) const {
  const Certificate* const certificate = context_.chain.at(match.slot);
  const auto value = certificate != nullptr ? valueOf(*certificate, match) : std::nullopt;
  return value && matches(match.match, &*value);
}

bool Evaluator::operator()(const DictionaryMatch& match) const {
  const bool isInformation = match.source == DictionaryMatch::Source::info;
  const PropertyDictionary& dictionary = isInformation ? context_.information : context_.entitlements;
  const auto entry = dictionary.find(match.key);
  return matches(match.match, entry != dictionary.end() ? &entry->second : nullptr);
}

}  // namespace

bool isMet(const RequirementExpression& expression, const RequirementContext& context) {
  return std::visit(Evaluator(context), expression.node);
}

}  // namespace wicket::codesign
