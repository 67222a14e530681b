// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

#include "admission/Checks.h"
#include "companion/doctor/Diagnosis.h"
#include "companion/doctor/OwnRefusals.h"
#include "helper/security/CodesignCheck.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/ScriptedCodeSigningServices.h"
#include "tests/doubles/ScriptedFacts.h"

namespace wicket::companion::doctor {
namespace {

using admission::Refusal;
using doubles::ScriptedFacts;

/// The helper's platform, which refuses the process and its file and looks at last whether the signature holds for it.
/// What is between these the helper decides by the signing information.
std::optional<Refusal> refusalOfHelper(ScriptedFacts& facts) {
  const auto ofProcess = admission::firstRefusal(static_cast<admission::ProcessFacts&>(facts));
  const auto ofFile = admission::firstRefusal(static_cast<admission::ExecutableFacts&>(facts));
  const auto ofSignature = admission::firstRefusal(static_cast<admission::SignatureFacts&>(facts));
  const auto ofValidity = admission::firstRefusal(static_cast<admission::ValidityFacts&>(facts));
  doubles::ScriptedCodeSigningServices services;
  if (ofProcess || ofFile) services.setCodeStatus(code_signing_status::guestInvalid);
  services.setInformation({facts.flags(), facts.entitlements()});
  if (ofValidity) services.setRequirementStatus(code_signing_status::guestInvalid);
  const doubles::RecordingConnection connection;
  if (CodesignCheck::isValid(services, connection)) return std::nullopt;
  const std::string last = services.calls().back();
  if (last == "identify") return ofProcess ? ofProcess : ofFile;
  return last.starts_with("information") ? ofSignature : ofValidity;
}

/// The same for the doctor, in what it gathers.
SystemFacts systemWith(ScriptedFacts& facts) {
  constexpr gid_t wicket = 990;
  constexpr gid_t another = 1000;
  SystemFacts system;
  system.group = wicket;
  system.groupName = "wicket";
  system.kernel.opensProcesses = facts.isWhoConnected();
  system.process = {.startedWithGroup = facts.hasCompanionGroup() ? wicket : another,
                    .tracer = facts.isTraced() ? 77 : 0,
                    .isInFirstUserNamespace = facts.isInSystemsUserNamespace(),
                    .user = facts.user(),
                    .shownOwner = facts.shownOwner()};
  system.program = {.file = {.path = "/usr/bin/wicket",
                             .mode = (facts.isRegular() ? S_IFREG : S_IFIFO) | facts.permissions(),
                             .owner = facts.owner(),
                             .group = facts.isOfCompanionGroup() ? wicket : another,
                             .links = facts.links()},
                    .mountIgnoresSetGroup = !facts.isOnMountWithSetGroup(),
                    .hasAccessControlList = facts.hasAccessControlList(),
                    .hasChanged = !facts.isUnchanged()};
  SignatureFacts& signature = system.program.signature;
  signature.flags = facts.flags();
  signature.entitlements = facts.entitlements();
  signature.meetsRequirement = facts.meetsRequirement();
  signature.state = facts.isWhatWasSigned() ? SignatureFacts::State::holds : SignatureFacts::State::altered;
  if (!signature.flags) signature.state = SignatureFacts::State::missing;
  system.helper.mode = S_IFREG | 0755;
  system.socket = {"/run/wicket", 0, S_IFSOCK | 0660, 0, wicket};
  return system;
}

std::optional<Refusal> firstOfDoctor(const SystemFacts& system) {
  const auto all = ownRefusals(system);
  return all.empty() ? std::nullopt : std::optional(all.front());
}

std::vector<std::string> problemsIn(const SystemFacts& system) {
  std::vector<std::string> checks;
  for (const Finding& finding : diagnose(system)) {
    if (!finding.isWell) checks.push_back(finding.check);
  }
  return checks;
}

/// What the user is told of each refusal.
const std::map<Refusal, std::string> checkOf{
    {Refusal::anotherGroup, "process-group"},
    {Refusal::anotherProcess, "kernel"},
    {Refusal::traced, "traced"},
    {Refusal::anotherUserNamespace, "user-namespace"},
    {Refusal::openToItsUser, "open-to-its-user"},
    {Refusal::noRegularFile, "program"},
    {Refusal::notOfRoot, "program-owner"},
    {Refusal::notOfTheGroup, "program-group"},
    {Refusal::givesNoGroup, "set-group"},
    {Refusal::writableByOthers, "program-mode"},
    {Refusal::withoutName, "program-name"},
    {Refusal::mountIgnoresSetGroup, "mount"},
    {Refusal::accessControlList, "access-control-list"},
    {Refusal::notSigned, "signature"},
    {Refusal::notHardened, "runtime"},
    {Refusal::withoutEntitlements, "entitlements"},
    {Refusal::getTaskAllow, "entitlements"},
    {Refusal::disableLibraryValidation, "entitlements"},
    {Refusal::allowDyldEnvironmentVariables, "entitlements"},
    {Refusal::requirementNotMet, "requirement"},
    {Refusal::altered, "signature"},
    {Refusal::changed, "program-changed"},
};

TEST(SameRefusalTest, AHealthyProgramIsLetInAndHasNoProblem) {
  ScriptedFacts facts(0);
  EXPECT_EQ(refusalOfHelper(facts), std::nullopt);
  EXPECT_THAT(ownRefusals(systemWith(facts)), testing::IsEmpty());
  EXPECT_THAT(problemsIn(systemWith(facts)), testing::IsEmpty());
}

TEST(SameRefusalTest, EachRefusalOfTheHelperIsTheOneThatTheDoctorTells) {
  EXPECT_EQ(checkOf.size(), ScriptedFacts::count);
  for (const auto& [refusal, check] : checkOf) {
    ScriptedFacts facts(ScriptedFacts::bit(refusal));
    EXPECT_EQ(refusalOfHelper(facts), refusal) << check;
    const SystemFacts system = systemWith(facts);
    EXPECT_EQ(firstOfDoctor(system), refusal) << check;
    EXPECT_THAT(problemsIn(system), testing::ElementsAre(check));
  }
}

TEST(SameRefusalTest, OfTwoRefusalsTheHelpersIsTheDoctorsFirst) {
  for (const auto& [one, oneCheck] : checkOf) {
    for (const auto& [other, otherCheck] : checkOf) {
      ScriptedFacts facts(ScriptedFacts::bit(one) | ScriptedFacts::bit(other));
      EXPECT_EQ(refusalOfHelper(facts), std::min(one, other)) << oneCheck << ", " << otherCheck;
      EXPECT_EQ(firstOfDoctor(systemWith(facts)), std::min(one, other)) << oneCheck << ", " << otherCheck;
    }
  }
}

}  // namespace
}  // namespace wicket::companion::doctor
