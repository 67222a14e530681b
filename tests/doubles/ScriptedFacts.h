// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "admission/Facts.h"
#include "admission/Refusal.h"

namespace wicket::doubles {

/// A process that is let in but for the facts that the test has made bad, one for each refusal. Remembers how far it
/// was looked at.
class ScriptedFacts final : public admission::Facts {
 public:
  using Refusal = admission::Refusal;
  using Mask = std::uint32_t;
  static constexpr std::size_t count = static_cast<std::size_t>(Refusal::changed) + 1;

  [[nodiscard]] static constexpr Mask bit(Refusal refusal) { return Mask{1} << static_cast<unsigned>(refusal); }

  explicit ScriptedFacts(Mask bad) : bad_(bad) {}

  [[nodiscard]] bool isBad(Refusal refusal) const { return (bad_ & bit(refusal)) != 0; }
  /// The last refusal for which a fact was fetched; none if none was.
  [[nodiscard]] std::optional<Refusal> furthest() const { return furthest_; }

  bool hasCompanionGroup() override { return !look(Refusal::anotherGroup); }
  bool isWhoConnected() override { return !look(Refusal::anotherProcess); }
  bool isTraced() override { return look(Refusal::traced); }
  bool isInSystemsUserNamespace() override { return !look(Refusal::anotherUserNamespace); }
  std::uint32_t user() override { return look(Refusal::openToItsUser) ? 1000 : 0; }
  std::uint32_t shownOwner() override { return look(Refusal::openToItsUser) ? 1000 : 0; }

  bool isRegular() override { return !look(Refusal::noRegularFile); }
  std::uint32_t owner() override { return look(Refusal::notOfRoot) ? 1000 : 0; }
  bool isOfCompanionGroup() override { return !look(Refusal::notOfTheGroup); }
  std::uint32_t permissions() override {
    return (look(Refusal::givesNoGroup) ? 0755U : 02755U) | (isBad(Refusal::writableByOthers) ? 0002U : 0U);
  }
  std::uint64_t links() override { return look(Refusal::withoutName) ? 0 : 1; }
  bool isOnMountWithSetGroup() override { return !look(Refusal::mountIgnoresSetGroup); }
  bool hasAccessControlList() override { return look(Refusal::accessControlList); }

  std::optional<std::uint32_t> flags() override {
    if (look(Refusal::notSigned)) return std::nullopt;
    return isBad(Refusal::notHardened) ? 0 : SignatureFacts::hardenedRuntime;
  }
  const std::optional<admission::EntitlementsDictionary>& entitlements() override {
    entitlements_.reset();
    if (look(Refusal::withoutEntitlements)) return entitlements_;
    entitlements_.emplace();
    for (const auto& [refusal, name] : admission::problematicEntitlements) {
      if (isBad(refusal)) entitlements_->emplace(name, true);
    }
    return entitlements_;
  }

  bool meetsRequirement() override { return !look(Refusal::requirementNotMet); }
  bool isWhatWasSigned() override { return !look(Refusal::altered); }
  bool isUnchanged() override { return !look(Refusal::changed); }

 private:
  /// Whether the fact for @p refusal is bad.
  bool look(Refusal refusal) {
    furthest_ = std::max(furthest_.value_or(refusal), refusal);
    return isBad(refusal);
  }

  const Mask bad_;
  std::optional<admission::EntitlementsDictionary> entitlements_;
  std::optional<Refusal> furthest_;
};

}  // namespace wicket::doubles
