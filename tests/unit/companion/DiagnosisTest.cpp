// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "admission/Facts.h"
#include "companion/doctor/Diagnosis.h"
#include "companion/doctor/HelperAnswer.h"

namespace wicket::companion::doctor {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr gid_t wicketGroup = 990;

/// A system on which the helper lets this program in.
SystemFacts healthySystem() {
  SystemFacts facts;
  facts.process.startedWithGroup = wicketGroup;
  facts.program.file = {"/usr/bin/wicket", 0, S_IFREG | 02755, 0, wicketGroup};
  facts.program.signature.state = SignatureFacts::State::holds;
  facts.program.signature.flags = admission::SignatureFacts::hardenedRuntime;
  facts.program.signature.entitlements.emplace();
  facts.program.signature.requirement = "identifier \"net.orvane.Wicket\"";
  facts.program.signature.meetsRequirement = true;
  facts.polkit.action = {"/usr/share/polkit-1/actions/wicket.policy", 0, S_IFREG | 0644, 0, 0};
  facts.groupName = "wicket";
  facts.group = wicketGroup;
  facts.socket = {"/run/wicket", 0, S_IFSOCK | 0660, 0, wicketGroup};
  facts.helper = {"/usr/libexec/helper", 0, S_IFREG | 0755, 0, 0};
  return facts;
}

std::vector<Finding> problemsOf(const SystemFacts& facts) {
  std::vector<Finding> findings = diagnose(facts);
  std::erase_if(findings, &Finding::isWell);
  return findings;
}

struct Disorder {
  std::string name;
  std::function<void(SystemFacts&)> cause;
  std::string check;      ///< the only one that has to fail
  std::string statement;  ///< part of it
  std::string nextStep;   ///< part of it
};

void PrintTo(const Disorder& disorder, std::ostream* stream) { *stream << disorder.name; }

class DiagnosisOfDisorderTest : public testing::TestWithParam<Disorder> {};

TEST_P(DiagnosisOfDisorderTest, IsOneProblemWithItsNextStep) {
  SystemFacts facts = healthySystem();
  GetParam().cause(facts);
  const auto problems = problemsOf(facts);
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems.front().check, GetParam().check);
  EXPECT_THAT(problems.front().statement, HasSubstr(GetParam().statement));
  EXPECT_THAT(problems.front().nextStep, HasSubstr(GetParam().nextStep));
}

using State = SignatureFacts::State;

const std::vector<Disorder> disorders{
    {"HelperMissing", [](SystemFacts& f) { f.helper.error = ENOENT; }, "helper", "not installed", "Install"},
    {"HelperOfAUser", [](SystemFacts& f) { f.helper.owner = 1000; }, "helper", "others than root",
     "install Wicket again"},
    {"HelperWritableByOthers", [](SystemFacts& f) { f.helper.mode |= S_IWOTH; }, "helper", "others than root",
     "changed it"},
    {"HelperNotExecutable", [](SystemFacts& f) { f.helper.mode = S_IFREG | 0644; }, "helper", "no executable",
     "Install"},
    {"HelperIsAFolder", [](SystemFacts& f) { f.helper.mode = S_IFDIR | 0755; }, "helper", "no executable", "Install"},
    {"SocketMissing", [](SystemFacts& f) { f.socket.error = ENOENT; }, "socket", "no socket", "systemctl enable --now"},
    {"SocketHidden", [](SystemFacts& f) { f.socket.error = EACCES; }, "socket", "Permission denied",
     "systemctl restart"},
    {"SocketIsAFile", [](SystemFacts& f) { f.socket.mode = S_IFREG | 0660; }, "socket", "is not a socket", "Remove it"},
    {"SocketOpenForAll", [](SystemFacts& f) { f.socket.mode = S_IFSOCK | 0666; }, "socket-mode", "0666", "restart"},
    {"SocketClosedForTheGroup", [](SystemFacts& f) { f.socket.mode = S_IFSOCK | 0600; }, "socket-mode", "0600",
     "restart"},
    {"SocketOfAnotherGroup", [](SystemFacts& f) { f.socket.group = 5; }, "socket-mode", "group 5", "restart"},
    {"SocketOfAUser", [](SystemFacts& f) { f.socket.owner = 1000; }, "socket-mode", "owner 1000", "restart"},
    {"ProgramOfAUser", [](SystemFacts& f) { f.program.file.owner = 1000; }, "program-owner", "user 1000",
     "chown root:wicket"},
    {"ProgramOfAnotherGroup", [](SystemFacts& f) { f.program.file.group = 7; }, "program-group", "group 7",
     "chown root:wicket"},
    {"ProgramWithoutSetGroupBit", [](SystemFacts& f) { f.program.file.mode = S_IFREG | 0755; }, "set-group",
     "no set-group bit that counts (mode 0755)", "chmod 2755"},
    {"ProgramWritableByItsGroup", [](SystemFacts& f) { f.program.file.mode |= S_IWGRP; }, "program-mode", "2775",
     "chmod 2755"},
    {"ProgramUnknown", [](SystemFacts& f) { f.program.file.error = ENOENT; }, "program", "cannot be looked at",
     "/proc"},
    {"MountWithoutSetGroup", [](SystemFacts& f) { f.program.mountIgnoresSetGroup = true; }, "mount", "nosuid",
     "without nosuid"},
    {"NoNewPrivileges", [](SystemFacts& f) { f.process.hasNoNewPrivileges = true; }, "no-new-privileges",
     "no_new_privs", "outside of the sandbox"},
    {"Traced", [](SystemFacts& f) { f.process.tracer = 77; }, "traced", "Process 77", "without a debugger"},
    {"UserNamespace", [](SystemFacts& f) { f.process.isInFirstUserNamespace = false; }, "user-namespace",
     "user namespace of its own", "outside of the container"},
    {"AnotherProcessGroup", [](SystemFacts& f) { f.process.startedWithGroup = 1000; }, "process-group", "group 1000",
     "run the command again"},
    {"StaleHelper", [](SystemFacts& f) { f.helperIsStale = true; }, "helper-running", "not the installed one",
     "systemctl stop"},
    {"GroupOfUsers",
     [](SystemFacts& f) { f.group = f.socket.group = f.program.file.group = f.process.startedWithGroup = 1001; },
     "group", "has the number 1001", "groupmod --new-name OTHER wicket"},
    {"GroupWithMembers", [](SystemFacts& f) { f.groupHolders = {"alice", "bob"}; }, "group-holders",
     "\"alice\", \"bob\"", "gpasswd --delete USER wicket"},
    {"MemberOfTheGroup", [](SystemFacts& f) { f.process.ownGroups = {1000, wicketGroup}; }, "own-groups",
     "has the group wicket himself", "gpasswd --delete USER wicket"},
    {"Unsigned", [](SystemFacts& f) { f.program.signature.state = State::missing; }, "signature", "is not signed",
     "wicket-codesign"},
    {"SignatureDamaged",
     [](SystemFacts& f) {
       f.program.signature.state = State::unreadable;
       f.program.signature.reason = "It is torn";
     },
     "signature", "It is torn", "Install"},
    {"AnotherAnchor", [](SystemFacts& f) { f.program.signature.state = State::notTrusted; }, "signature",
     "whom this build trusts", "same build"},
    {"Altered", [](SystemFacts& f) { f.program.signature.state = State::altered; }, "signature", "has been altered",
     "install Wicket again"},
    {"NotHardened", [](SystemFacts& f) { f.program.signature.flags = 0; }, "runtime", "hardened runtime",
     "--options runtime"},
    {"NoEntitlements", [](SystemFacts& f) { f.program.signature.entitlements.reset(); }, "entitlements",
     "no entitlements", "--entitlements"},
    {"OpenDoor",
     [](SystemFacts& f) { f.program.signature.entitlements = {{"com.apple.security.get-task-allow", true}}; },
     "entitlements", "com.apple.security.get-task-allow", "without these entitlements"},
    {"RequirementNotMet", [](SystemFacts& f) { f.program.signature.meetsRequirement = false; }, "requirement",
     "identifier \"net.orvane.Wicket\"", "certificate"},
    {"NoPolkitAction", [](SystemFacts& f) { f.polkit.action.error = ENOENT; }, "polkit-action", "does not know",
     "Install"},
    {"NoPolkit", [](SystemFacts& f) { f.polkit.isOnBus = false; }, "polkit", "not there", "polkitd"},
    {"ProgramThatItsGroupCannotRun", [](SystemFacts& f) { f.program.file.mode = S_IFREG | 02745; }, "set-group",
     "(mode 2745)", "chmod 2755"},
    {"AccessControlList", [](SystemFacts& f) { f.program.hasAccessControlList = true; }, "access-control-list",
     "access control list", "setfacl --remove-all"},
    {"ProcessThatItsUserMayTrace", [](SystemFacts& f) { f.process.user = f.process.shownOwner = 1000; },
     "open-to-its-user", "may trace this process", "the installed wicket command"},
    {"ProgramRemoved", [](SystemFacts& f) { f.program.file.links = 0; }, "program-name", "removed or replaced",
     "Run the command again"},
    {"ProgramChangedMeanwhile", [](SystemFacts& f) { f.program.hasChanged = true; }, "program-changed",
     "while it was looked at", "Run the command again"},
    {"KernelWithoutPidfd", [](SystemFacts& f) { f.kernel.opensProcesses = false; }, "kernel", "pidfd_open", "Linux"},
};

INSTANTIATE_TEST_SUITE_P(All, DiagnosisOfDisorderTest, testing::ValuesIn(disorders),
                         [](const auto& entry) { return entry.param.name; });

TEST(DiagnosisTest, AHealthySystemHasNoProblemAndEachCheckIsNamedOnce) {
  const auto findings = diagnose(healthySystem());
  EXPECT_THAT(problemsOf(healthySystem()), IsEmpty());
  std::vector<std::string> checks;
  for (const Finding& finding : findings) {
    checks.push_back(finding.check);
    EXPECT_EQ(finding.nextStep, "") << finding.check;
  }
  EXPECT_THAT(checks, ElementsAre("kernel", "helper", "group", "group-holders", "socket", "socket-mode",
                                  "program-owner", "program-group", "set-group", "program-mode", "mount",
                                  "no-new-privileges", "traced", "user-namespace", "own-groups", "process-group",
                                  "signature", "runtime", "entitlements", "requirement", "polkit-action", "polkit"));
}

TEST(DiagnosisTest, AKernelThatNamesOnlyTheNumberOfAProcessIsWellEnough) {
  SystemFacts facts = healthySystem();
  facts.kernel.namesPeerProcess = false;
  EXPECT_THAT(problemsOf(facts), IsEmpty());
  EXPECT_THAT(diagnose(facts).front().statement, HasSubstr("SO_PEERPIDFD"));
}

TEST(DiagnosisTest, RootMayTraceEveryProcessAndInAnotherUserNamespaceTheOwnerSaysNothing) {
  SystemFacts facts = healthySystem();
  facts.process.user = 1000;
  EXPECT_THAT(problemsOf(facts), IsEmpty());
  facts.process.shownOwner = 65534;
  EXPECT_EQ(problemsOf(facts).size(), 1U);
  facts.process.user = 0;
  EXPECT_THAT(problemsOf(facts), IsEmpty());
  facts.process.user = 1000;
  facts.process.isInFirstUserNamespace = false;
  EXPECT_THAT(problemsOf(facts), ElementsAre(testing::Field(&Finding::check, "user-namespace")));
}

TEST(DiagnosisTest, WithoutTheGroupNothingIsSaidAboutWhatShouldBelongToIt) {
  SystemFacts facts = healthySystem();
  facts.group.reset();
  const auto problems = problemsOf(facts);
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems.front().check, "group");
  EXPECT_THAT(problems.front().nextStep, HasSubstr("groupadd --system wicket"));
}

TEST(DiagnosisTest, WhatAStrangersSignatureSaysIsNotRepeated) {
  SystemFacts facts = healthySystem();
  facts.program.signature.flags.reset();
  facts.program.signature.entitlements = {{"com.apple.security.get-task-allow", true}};
  for (const State state : {State::missing, State::unreadable, State::notTrusted}) {
    facts.program.signature.state = state;
    EXPECT_EQ(problemsOf(facts).size(), 1U);
  }
}

TEST(DiagnosisTest, ACopyOfThePlainProgramHasAllItsProblemsNamed) {
  SystemFacts facts = healthySystem();
  facts.program.file = {"/home/user/wicket", 0, S_IFREG | 0755, 1000, 1000};
  facts.process.startedWithGroup = 1000;
  facts.program.signature.state = State::missing;
  std::vector<std::string> checks;
  for (const Finding& finding : problemsOf(facts)) {
    checks.push_back(finding.check);
    EXPECT_NE(finding.nextStep, "") << finding.check;
  }
  EXPECT_THAT(checks, ElementsAre("program-owner", "program-group", "set-group", "process-group", "signature"));
}

TEST(DiagnosisTest, TheHelpersAnswerHasTheLastWord) {
  EXPECT_TRUE(diagnose(HelperAnswer::answered).isWell);
  for (const HelperAnswer answer :
       {HelperAnswer::unreachable, HelperAnswer::refused, HelperAnswer::silent, HelperAnswer::overLimit}) {
    EXPECT_FALSE(diagnose(answer).isWell);
    EXPECT_NE(diagnose(answer).nextStep, "");
  }
}

/// A look that cannot be made for want of something.
struct MissedLook {
  std::string check;  ///< what has to be said of it, and nothing else
  std::function<int&(SystemFacts&)> error;
};

void PrintTo(const MissedLook& look, std::ostream* stream) { *stream << look.check; }

class DiagnosisOfMissedLookTest : public testing::TestWithParam<MissedLook> {};

/// All else that such a look leaves in the facts.
SystemFacts systemWithout(const MissedLook& look, int error) {
  SystemFacts facts = healthySystem();
  if (look.check == "kernel") facts.kernel = {0, false, false};
  if (look.check == "group") facts.group.reset();
  if (look.check == "signature") facts.program.signature = {};
  if (look.check == "program") facts.program = {.file = {facts.program.file.path}};
  if (look.check == "polkit") facts.polkit.isOnBus = false;
  look.error(facts) = error;
  return facts;
}

TEST_P(DiagnosisOfMissedLookTest, SaysWhatWasMissingAndJudgesNothing) {
  for (const auto& [error, nextStep] : std::vector<std::pair<int, std::string>>{
           {EMFILE, "ulimit -n"}, {ENFILE, "sysctl fs.file-max"}, {ENOMEM, "ulimit -v"}}) {
    const auto problems = problemsOf(systemWithout(GetParam(), error));
    ASSERT_EQ(problems.size(), 1U) << error;
    EXPECT_EQ(problems.front().check, GetParam().check);
    EXPECT_THAT(problems.front().statement, HasSubstr(std::string(" could not be looked at: ") + std::strerror(error)));
    EXPECT_THAT(problems.front().nextStep, AllOf(HasSubstr(nextStep), HasSubstr("run the command again")));
  }
}

TEST_P(DiagnosisOfMissedLookTest, DoesNotCallWell) {
  const auto findings = diagnose(systemWithout(GetParam(), EMFILE));
  EXPECT_EQ(std::ranges::count(findings, GetParam().check, &Finding::check), 1);
}

INSTANTIATE_TEST_SUITE_P(
    All, DiagnosisOfMissedLookTest,
    testing::Values(MissedLook{"kernel", [](SystemFacts& f) -> int& { return f.kernel.error; }},
                    MissedLook{"helper", [](SystemFacts& f) -> int& { return f.helper.error; }},
                    MissedLook{"helper-running", [](SystemFacts& f) -> int& { return f.runningHelperError; }},
                    MissedLook{"group", [](SystemFacts& f) -> int& { return f.groupError; }},
                    MissedLook{"group-holders", [](SystemFacts& f) -> int& { return f.groupHoldersError; }},
                    MissedLook{"socket", [](SystemFacts& f) -> int& { return f.socket.error; }},
                    MissedLook{"program", [](SystemFacts& f) -> int& { return f.program.file.error; }},
                    MissedLook{"no-new-privileges", [](SystemFacts& f) -> int& { return f.process.error; }},
                    MissedLook{"signature", [](SystemFacts& f) -> int& { return f.program.signature.error; }},
                    MissedLook{"polkit-action", [](SystemFacts& f) -> int& { return f.polkit.action.error; }},
                    MissedLook{"polkit", [](SystemFacts& f) -> int& { return f.polkit.busError; }}),
    [](const auto& entry) {
      std::string name = entry.param.check;
      std::erase(name, '-');
      return name;
    });

TEST(DiagnosisTest, OfAProcessThatCouldNotBeLookedAtNobodySaysThatItIsNotTraced) {
  SystemFacts facts = healthySystem();
  facts.process.error = EMFILE;
  EXPECT_THAT(diagnose(facts), Not(Contains(testing::Field(&Finding::check, "traced"))));
}

TEST(DiagnosisTest, OfAProgramThatCouldNotBeOpenedNobodySaysThatItIsNotSigned) {
  SystemFacts facts = healthySystem();
  facts.program = {.file = {"/usr/bin/wicket", EACCES}};
  EXPECT_THAT(diagnose(facts), Not(Contains(testing::Field(&Finding::check, "signature"))));
}

TEST(DiagnosisTest, AMissingLibraryIsSaidOfTheSignature) {
  SystemFacts facts = healthySystem();
  facts.program.signature = {.missingLibrary = "the library is not there"};
  const auto problems = problemsOf(facts);
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems.front().check, "signature");
  EXPECT_THAT(problems.front().statement, HasSubstr("could not be looked at: the library is not there"));
  EXPECT_THAT(problems.front().nextStep, HasSubstr("Install the package"));
}

TEST(DiagnosisTest, AHelperThatCouldNotBeAskedIsNotCalledUnreachable) {
  const Finding finding = diagnose(HelperAnswer::unreachable, EMFILE);
  EXPECT_FALSE(finding.isWell);
  EXPECT_THAT(finding.statement, HasSubstr("could not be asked: Too many open files"));
  EXPECT_THAT(finding.nextStep, HasSubstr("ulimit -n"));
  EXPECT_EQ(diagnose(HelperAnswer::unreachable, ECONNREFUSED), diagnose(HelperAnswer::unreachable));
}

}  // namespace
}  // namespace wicket::companion::doctor
