// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "codesign/certificate/Certificate.h"

namespace wicket::codesign {

struct RequirementExpression;

/// The nodes of a requirement. What each means is told at the evaluator.
namespace requirement {

/// Which certificate of the chain: 0 is the leaf, 1 what is above it, -1 the root.
using Slot = int;
inline constexpr Slot leafSlot = 0;
inline constexpr Slot rootSlot = -1;

enum class Comparison {
  exists,
  absent,
  equal,
  beginsWith,
  endsWith,
  contains,
  less,
  greater,
  lessOrEqual,
  greaterOrEqual,
};

struct Match {
  Comparison comparison = Comparison::exists;
  std::string value;  ///< bytes; empty for exists and absent
  bool isTimestamp = false;

  bool operator==(const Match&) const = default;
};

struct Constant {
  bool value;
  bool operator==(const Constant&) const = default;
};
struct Identifier {
  std::string value;
  bool operator==(const Identifier&) const = default;
};
struct CodeDirectoryHash {
  Sha1Digest digest;
  bool operator==(const CodeDirectoryHash&) const = default;
};
struct Platform {
  int value;
  bool operator==(const Platform&) const = default;
};
struct Notarized {
  bool operator==(const Notarized&) const = default;
};
struct Legacy {
  bool operator==(const Legacy&) const = default;
};
struct NamedRequirement {
  std::string name;
  bool operator==(const NamedRequirement&) const = default;
};
struct AnchorApple {
  bool operator==(const AnchorApple&) const = default;
};
struct AnchorAppleGeneric {
  bool operator==(const AnchorAppleGeneric&) const = default;
};
struct NamedAnchor {
  std::string name;
  bool operator==(const NamedAnchor&) const = default;
};
struct ChainTrusted {
  bool operator==(const ChainTrusted&) const = default;
};
struct CertificateTrusted {
  Slot slot;
  bool operator==(const CertificateTrusted&) const = default;
};
struct CertificateHash {
  Slot slot;
  Sha1Digest digest;
  bool operator==(const CertificateHash&) const = default;
};

struct CertificateMatch {
  enum class Field { subject, extension, policy, timestamp };

  Slot slot;
  Field field;
  std::string name;  ///< the subject's attribute, else a dotted object identifier
  Match match;
  bool operator==(const CertificateMatch&) const = default;
};

struct DictionaryMatch {
  enum class Source { info, entitlement };

  Source source;
  std::string key;
  Match match;
  bool operator==(const DictionaryMatch&) const = default;
};

struct Not {
  std::shared_ptr<const RequirementExpression> operand;  ///< never null
  bool operator==(const Not& other) const;
};
struct All {
  std::vector<RequirementExpression> operands;  ///< at least two
  bool operator==(const All& other) const;
};
struct Any {
  std::vector<RequirementExpression> operands;  ///< at least two
  bool operator==(const Any& other) const;
};

}  // namespace requirement

/// A code requirement, as the parser understood it.
struct RequirementExpression {
  std::variant<requirement::Constant, requirement::Identifier, requirement::CodeDirectoryHash, requirement::Platform,
               requirement::Notarized, requirement::Legacy, requirement::NamedRequirement, requirement::AnchorApple,
               requirement::AnchorAppleGeneric, requirement::NamedAnchor, requirement::ChainTrusted,
               requirement::CertificateTrusted, requirement::CertificateHash, requirement::CertificateMatch,
               requirement::DictionaryMatch, requirement::Not, requirement::All, requirement::Any>
      node;

  bool operator==(const RequirementExpression& other) const { return node == other.node; }
};

namespace requirement {

inline bool Not::operator==(const Not& other) const { return *operand == *other.operand; }
inline bool All::operator==(const All& other) const { return operands == other.operands; }
inline bool Any::operator==(const Any& other) const { return operands == other.operands; }

}  // namespace requirement
}  // namespace wicket::codesign
