// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "admission/Checks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

namespace wicket::admission {
namespace {

template <typename Part>
struct Check {
  Refusal refusal;
  bool (*refuses)(Part& facts);
};
using OfProcess = Check<ProcessFacts>;
using OfExecutable = Check<ExecutableFacts>;
using OfSignature = Check<SignatureFacts>;
using OfValidity = Check<ValidityFacts>;

/// The set-group bit means that only together with the group's right to execute.
constexpr std::uint32_t setGroup = 02010;
constexpr std::uint32_t writableByGroupOrOthers = 0022;

/// One that can be traced by its user can be made to do anything.
bool isOpenToItsUser(ProcessFacts& facts) { return facts.user() != 0 && facts.shownOwner() != 0; }

bool givesNoGroup(ExecutableFacts& facts) { return (facts.permissions() & setGroup) != setGroup; }

template <std::size_t index>
bool isEntitled(SignatureFacts& facts) {
  const auto& entitlements = facts.entitlements();
  if (!entitlements) return false;
  return stateOf(*entitlements, problematicEntitlements[index].name) != EntitlementState::notSet;
}

template <std::size_t index>
constexpr OfSignature entitlementCheck{problematicEntitlements[index].refusal, isEntitled<index>};

/// Cheap facts first: what the kernel says, then what is signed, and at last what takes long.
constexpr std::array processChecks{
    OfProcess{Refusal::anotherGroup, [](auto& facts) { return !facts.hasCompanionGroup(); }},
    OfProcess{Refusal::anotherProcess, [](auto& facts) { return !facts.isWhoConnected(); }},
    OfProcess{Refusal::traced, [](auto& facts) { return facts.isTraced(); }},
    OfProcess{Refusal::anotherUserNamespace, [](auto& facts) { return !facts.isInSystemsUserNamespace(); }},
    OfProcess{Refusal::openToItsUser, isOpenToItsUser},
};
constexpr std::array executableChecks{
    OfExecutable{Refusal::noRegularFile, [](auto& facts) { return !facts.isRegular(); }},
    OfExecutable{Refusal::notOfRoot, [](auto& facts) { return facts.owner() != 0; }},
    OfExecutable{Refusal::notOfTheGroup, [](auto& facts) { return !facts.isOfCompanionGroup(); }},
    OfExecutable{Refusal::givesNoGroup, givesNoGroup},
    OfExecutable{Refusal::writableByOthers,
                 [](auto& facts) { return (facts.permissions() & writableByGroupOrOthers) != 0; }},
    OfExecutable{Refusal::withoutName, [](auto& facts) { return facts.links() < 1; }},
    OfExecutable{Refusal::mountIgnoresSetGroup, [](auto& facts) { return !facts.isOnMountWithSetGroup(); }},
    OfExecutable{Refusal::accessControlList, [](auto& facts) { return facts.hasAccessControlList(); }},
};
constexpr std::array signatureChecks{
    OfSignature{Refusal::notSigned, [](auto& facts) { return !facts.flags(); }},
    OfSignature{Refusal::notHardened,
                [](auto& facts) { return (facts.flags().value_or(0) & SignatureFacts::hardenedRuntime) == 0; }},
    OfSignature{Refusal::withoutEntitlements, [](auto& facts) { return !facts.entitlements(); }},
    entitlementCheck<0>,
    entitlementCheck<1>,
    entitlementCheck<2>,
};
constexpr std::array validityChecks{
    OfValidity{Refusal::requirementNotMet, [](auto& facts) { return !facts.meetsRequirement(); }},
    OfValidity{Refusal::altered, [](auto& facts) { return !facts.isWhatWasSigned(); }},
    OfValidity{Refusal::changed, [](auto& facts) { return !facts.isUnchanged(); }},
};

template <typename Part, std::size_t count>
std::optional<Refusal> firstOf(const std::array<Check<Part>, count>& part, std::type_identity_t<Part>& facts) {
  const auto found = std::ranges::find_if(part, [&](const Check<Part>& check) { return check.refuses(facts); });
  return found == part.end() ? std::nullopt : std::optional(found->refusal);
}

template <typename Part, std::size_t count>
void addAllOf(const std::array<Check<Part>, count>& part, std::type_identity_t<Part>& facts,
              std::vector<Refusal>& found) {
  for (const Check<Part>& check : part) {
    if (check.refuses(facts)) found.push_back(check.refusal);
  }
}

}  // namespace

std::optional<Refusal> firstRefusal(ProcessFacts& facts) { return firstOf(processChecks, facts); }
std::optional<Refusal> firstRefusal(ExecutableFacts& facts) { return firstOf(executableChecks, facts); }
std::optional<Refusal> firstRefusal(SignatureFacts& facts) { return firstOf(signatureChecks, facts); }
std::optional<Refusal> firstRefusal(ValidityFacts& facts) { return firstOf(validityChecks, facts); }

std::optional<Refusal> firstRefusal(Facts& facts) {
  return firstOf(processChecks, facts)
      .or_else([&] { return firstOf(executableChecks, facts); })
      .or_else([&] { return firstOf(signatureChecks, facts); })
      .or_else([&] { return firstOf(validityChecks, facts); });
}

std::vector<Refusal> refusals(Facts& facts) {
  std::vector<Refusal> found;
  addAllOf(processChecks, facts, found);
  addAllOf(executableChecks, facts, found);
  addAllOf(signatureChecks, facts, found);
  addAllOf(validityChecks, facts, found);
  return found;
}

}  // namespace wicket::admission
