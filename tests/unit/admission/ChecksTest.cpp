// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <bit>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include "admission/Checks.h"
#include "tests/doubles/ScriptedFacts.h"

namespace wicket::admission {
namespace {

using doubles::ScriptedFacts;
using Mask = ScriptedFacts::Mask;

constexpr Mask combinations = Mask{1} << ScriptedFacts::count;

std::optional<Refusal> lowest(Mask bad) {
  return bad == 0 ? std::nullopt : std::optional(static_cast<Refusal>(std::countr_zero(bad)));
}

/// From the first to the last of a part.
constexpr Mask bitsOf(Refusal first, Refusal last) {
  return (ScriptedFacts::bit(last) << 1U) - ScriptedFacts::bit(first);
}
constexpr Mask processBits = bitsOf(Refusal::anotherGroup, Refusal::openToItsUser);
constexpr Mask executableBits = bitsOf(Refusal::noRegularFile, Refusal::accessControlList);
constexpr Mask signatureBits = bitsOf(Refusal::notSigned, Refusal::allowDyldEnvironmentVariables);
constexpr Mask validityBits = bitsOf(Refusal::requirementNotMet, Refusal::changed);

/// What has to come out for all that is bad: a missing signature is not hardened, and where there are no entitlements
/// none is set.
std::vector<Refusal> expectedFor(Mask bad) {
  if ((bad & ScriptedFacts::bit(Refusal::notSigned)) != 0) bad |= ScriptedFacts::bit(Refusal::notHardened);
  if ((bad & ScriptedFacts::bit(Refusal::withoutEntitlements)) != 0) {
    for (const auto& entitlement : problematicEntitlements) bad &= ~ScriptedFacts::bit(entitlement.refusal);
  }
  std::vector<Refusal> expected;
  for (; bad != 0; bad &= bad - 1) expected.push_back(*lowest(bad));
  return expected;
}

/// All combinations of the bits, beginning with none.
template <typename Body>
void forEachSubsetOf(Mask bits, Body body) {
  for (Mask subset = 0;; subset = (subset - bits) & bits) {
    body(subset);
    if (subset == bits) return;
  }
}

TEST(AdmissionChecksTest, OnlyAProcessOfWhichEveryFactHoldsIsLetInAndTheFirstThatFailsRefusesIt) {
  for (Mask bad = 0; bad < combinations; ++bad) {
    ScriptedFacts facts(bad);
    ASSERT_EQ(firstRefusal(facts), lowest(bad)) << bad;
  }
}

TEST(AdmissionChecksTest, NoFactBehindARefusalIsFetched) {
  for (Mask bad = 0; bad < combinations; bad = bad * 2 + 1) {
    for (Mask one = 1; one < combinations; one *= 2) {
      ScriptedFacts facts(bad ^ one);
      const auto refusal = firstRefusal(facts);
      EXPECT_LE(facts.furthest(), refusal.value_or(Refusal::changed)) << (bad ^ one);
    }
  }
}

TEST(AdmissionChecksTest, EveryPartRefusesByItsOwnFactsAlone) {
  const auto expectPart = [](auto& part, Mask bits, Mask bad) {
    ASSERT_EQ(firstRefusal(part), lowest(bad & bits)) << bad;
  };
  for (const Mask bits : {processBits, executableBits, signatureBits, validityBits}) {
    forEachSubsetOf(bits, [&](Mask subset) {
      for (const Mask others : {Mask{0}, (combinations - 1) & ~bits}) {
        ScriptedFacts facts(subset | others);
        if (bits == processBits) expectPart(static_cast<ProcessFacts&>(facts), bits, subset);
        if (bits == executableBits) expectPart(static_cast<ExecutableFacts&>(facts), bits, subset);
        if (bits == signatureBits) expectPart(static_cast<SignatureFacts&>(facts), bits, subset);
        if (bits == validityBits) expectPart(static_cast<ValidityFacts&>(facts), bits, subset);
      }
    });
  }
}

TEST(AdmissionChecksTest, EveryRefusalIsFoundInItsOrder) {
  for (const Mask bits : {processBits, executableBits, signatureBits, validityBits}) {
    forEachSubsetOf(bits, [&](Mask subset) {
      for (const Mask others : {Mask{0}, (combinations - 1) & ~bits}) {
        ScriptedFacts facts(subset | others);
        ASSERT_EQ(refusals(facts), expectedFor(subset | others)) << (subset | others);
      }
    });
  }
}

/// A file that is as it should be but for its permissions.
class FileOfPermissions final : public ExecutableFacts {
 public:
  explicit FileOfPermissions(std::uint32_t permissions) : permissions_(permissions) {}
  bool isRegular() override { return true; }
  std::uint32_t owner() override { return 0; }
  bool isOfCompanionGroup() override { return true; }
  std::uint32_t permissions() override { return permissions_; }
  std::uint64_t links() override { return 3; }
  bool isOnMountWithSetGroup() override { return true; }
  bool hasAccessControlList() override { return false; }

 private:
  const std::uint32_t permissions_;
};

TEST(AdmissionChecksTest, OfAllPermissionsOnlyThoseAreTakenThatGiveTheGroupAndLetNobodyElseWrite) {
  for (std::uint32_t permissions = 0; permissions <= 07777; ++permissions) {
    FileOfPermissions file(permissions);
    const bool hasSetGroup = (permissions & 02000U) != 0;
    const bool isExecutableByGroup = (permissions & 0010U) != 0;
    const bool isWritable = (permissions & 0020U) != 0 || (permissions & 0002U) != 0;
    auto expected = isWritable ? std::optional(Refusal::writableByOthers) : std::nullopt;
    if (!hasSetGroup || !isExecutableByGroup) expected = Refusal::givesNoGroup;
    ASSERT_EQ(firstRefusal(file), expected) << std::oct << permissions;
  }
}

/// A process that is as it should be but for its owners.
class ProcessOf final : public ProcessFacts {
 public:
  ProcessOf(std::uint32_t user, std::uint32_t shownOwner) : user_(user), shownOwner_(shownOwner) {}
  bool hasCompanionGroup() override { return true; }
  bool isWhoConnected() override { return true; }
  bool isTraced() override { return false; }
  bool isInSystemsUserNamespace() override { return true; }
  std::uint32_t user() override { return user_; }
  std::uint32_t shownOwner() override { return shownOwner_; }

 private:
  const std::uint32_t user_;
  const std::uint32_t shownOwner_;
};

TEST(AdmissionChecksTest, OnlyRootMayBeShownAsTheOwnerOfAnotherUsersProcess) {
  for (const auto& [user, shownOwner, isOpen] : std::vector<std::tuple<std::uint32_t, std::uint32_t, bool>>{
           {0, 0, false}, {0, 1000, false}, {1000, 0, false}, {1000, 1000, true}, {1000, 65534, true}}) {
    ProcessOf process(user, shownOwner);
    EXPECT_EQ(firstRefusal(process), isOpen ? std::optional(Refusal::openToItsUser) : std::nullopt)
        << user << " " << shownOwner;
  }
}

}  // namespace
}  // namespace wicket::admission
