// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/CodeDirectory.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

namespace wicket::codesign {

namespace {

constexpr std::string_view identifierKey = "identifier";
constexpr std::string_view flagsKey = "flags";
constexpr std::string_view entitlementsKey = "entitlements";
constexpr std::string_view digestAlgorithmKey = "digest-algorithm";
constexpr std::string_view digestKey = "digest";
constexpr std::string_view lengthKey = "length";
constexpr std::string_view onlyDigestAlgorithm = "sha256";

using Failure = std::unexpected<SigningFailure>;

template <typename Type>
const Type* entryOf(const PropertyDictionary& dictionary, std::string_view key) {
  const auto entry = dictionary.find(key);
  return entry == dictionary.end() ? nullptr : entry->second.as<Type>();
}

bool isIdentifier(std::string_view text) {
  return !text.empty() && text.size() <= CodeDirectory::longestIdentifier && text.find('\0') == std::string_view::npos;
}

bool hasOnlyKnownEntries(const PropertyDictionary& dictionary) {
  return std::ranges::all_of(dictionary, [](const auto& entry) {
    const std::string& key = entry.first;
    return key == identifierKey || key == flagsKey || key == entitlementsKey || key == digestAlgorithmKey ||
           key == digestKey || key == lengthKey;
  });
}

bool takeNumbers(const PropertyDictionary& dictionary, CodeDirectory& directory) {
  const auto* flags = entryOf<std::int64_t>(dictionary, flagsKey);
  const auto* length = entryOf<std::int64_t>(dictionary, lengthKey);
  if (flags == nullptr || *flags < 0 || *flags > std::numeric_limits<std::uint32_t>::max()) return false;
  if (length == nullptr || *length < 0) return false;
  directory.flags = static_cast<std::uint32_t>(*flags);
  directory.coveredLength = static_cast<std::uint64_t>(*length);
  return true;
}

bool takeIdentifier(const PropertyDictionary& dictionary, CodeDirectory& directory) {
  const auto* identifier = entryOf<std::string>(dictionary, identifierKey);
  if (identifier == nullptr || !isIdentifier(*identifier)) return false;
  directory.identifier = *identifier;
  return true;
}

bool takeEntitlements(const PropertyDictionary& dictionary, CodeDirectory& directory) {
  if (!dictionary.contains(entitlementsKey)) return true;
  const auto* entitlements = entryOf<PropertyDictionary>(dictionary, entitlementsKey);
  if (entitlements == nullptr) return false;
  directory.entitlements = *entitlements;
  return true;
}

bool takeDigest(const PropertyDictionary& dictionary, CodeDirectory& directory) {
  const auto* digest = entryOf<PropertyData>(dictionary, digestKey);
  if (digest == nullptr || digest->size() != directory.digest.size()) return false;
  std::ranges::copy(*digest, directory.digest.begin());
  return true;
}

std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::optional<std::vector<std::byte>> CodeDirectory::toPropertyList() const {
  if (!isIdentifier(identifier)) return std::nullopt;
  PropertyDictionary dictionary;
  dictionary.emplace(identifierKey, PropertyValue(identifier));
  dictionary.emplace(flagsKey, PropertyValue(flags));
  if (entitlements) dictionary.emplace(entitlementsKey, PropertyValue(*entitlements));
  dictionary.emplace(digestAlgorithmKey, PropertyValue(std::string(onlyDigestAlgorithm)));
  dictionary.emplace(digestKey, PropertyValue(PropertyData(digest.begin(), digest.end())));
  dictionary.emplace(lengthKey, PropertyValue(coveredLength));
  const std::string xml = PropertyValue(std::move(dictionary)).toXml();
  std::vector<std::byte> bytes(xml.size());
  std::ranges::transform(xml, bytes.begin(), [](char character) { return static_cast<std::byte>(character); });
  return bytes;
}

std::expected<CodeDirectory, SigningFailure> CodeDirectory::fromPropertyList(std::span<const std::byte> bytes) {
  const auto list = PropertyValue::fromXml(textOf(bytes));
  const auto* dictionary = list ? list->as<PropertyDictionary>() : nullptr;
  if (dictionary == nullptr || !hasOnlyKnownEntries(*dictionary))
    return Failure(SigningFailure::codeDirectoryMalformed);
  const auto* algorithm = entryOf<std::string>(*dictionary, digestAlgorithmKey);
  if (algorithm == nullptr) return Failure(SigningFailure::codeDirectoryMalformed);
  if (*algorithm != onlyDigestAlgorithm) return Failure(SigningFailure::digestAlgorithmUnknown);
  CodeDirectory directory;
  if (!takeNumbers(*dictionary, directory) || !takeIdentifier(*dictionary, directory) ||
      !takeEntitlements(*dictionary, directory) || !takeDigest(*dictionary, directory)) {
    return Failure(SigningFailure::codeDirectoryMalformed);
  }
  return directory;
}

}  // namespace wicket::codesign
