// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/Diagnosis.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "admission/ProgramGroup.h"
#include "base/system/linux/Shortage.h"
#include "base/text/DisplayText.h"
#include "companion/doctor/OwnRefusals.h"
#include "companion/doctor/Shortage.h"
#include "companion/doctor/SignatureDiagnosis.h"

namespace wicket::companion::doctor {

namespace {

using admission::Refusal;

constexpr char installAgain[] = "Install Wicket again";
constexpr mode_t programMode = 02755;
constexpr gid_t firstGroupOfUsers = 1000;
constexpr mode_t socketMode = 0660;

std::string octal(mode_t mode) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned>(mode));
  return text.data();
}

std::string unknown(const FileFacts& file) { return quotedText(file.path) + ": " + std::strerror(file.error); }

/// The findings so far, in the order of the checks.
class Report {
 public:
  explicit Report(const SystemFacts& facts) : facts_(facts), refusals_(ownRefusals(facts)) {}

  std::vector<Finding> make() && {
    addKernel();
    addHelper();
    addGroup();
    addSocket();
    addProgram();
    addProcess();
    addSignature();
    addPolkit();
    return std::move(findings_);
  }

 private:
  void well(std::string check, std::string statement) {
    findings_.push_back({std::move(check), true, std::move(statement), {}});
  }
  void problem(std::string check, std::string statement, std::string nextStep) {
    findings_.push_back({std::move(check), false, std::move(statement), std::move(nextStep)});
  }

  [[nodiscard]] bool refuses(Refusal refusal) const { return std::ranges::find(refusals_, refusal) != refusals_.end(); }

  /// Whether @p error is a shortage. Then that is the finding, and nothing is known about the @p subject.
  bool addShortage(const std::string& check, const std::string& subject, int error) {
    if (!linux_adapter::isShortage(error)) return false;
    problem(check, subject + " could not be looked at: " + std::strerror(error), Shortage::nextStep(error));
    return true;
  }

  void addKernel() {
    if (addShortage("kernel", "What the kernel can do", facts_.kernel.error)) return;
    if (refuses(Refusal::anotherProcess)) {
      problem("kernel", "The kernel cannot pin a process (pidfd_open)", "Use Linux 6.5 or newer");
    } else if (!facts_.kernel.namesPeerProcess) {
      // The helper then goes by the process's number and start time, which it checks again and again.
      well("kernel", "The kernel tells the helper the number of the process that connects (it has no SO_PEERPIDFD)");
    } else {
      well("kernel", "The kernel tells the helper which process connects");
    }
  }

  void addHelper() {
    addInstalledHelper();
    if (addShortage("helper-running", "The helper that runs", facts_.runningHelperError)) return;
    if (facts_.helperIsStale)
      problem("helper-running", "The helper that runs is not the installed one: it began before that was there",
              "As root: systemctl stop net.orvane.Wicket.TlvPrivilegedHelper.service");
  }
  void addInstalledHelper() {
    const FileFacts& helper = facts_.helper;
    if (addShortage("helper", "The installed helper", helper.error)) return;
    if (!helper.isKnown()) {
      problem("helper", "The helper is not installed: " + unknown(helper), "Install Wicket's helper");
    } else if (!S_ISREG(helper.mode) || (helper.mode & S_IXUSR) == 0) {
      problem("helper", "The helper " + quotedText(helper.path) + " is no executable file", installAgain);
    } else if (helper.owner != 0 || helper.isWritableByOthers()) {
      problem("helper", "The helper " + quotedText(helper.path) + " can be changed by others than root",
              "Find out who changed it, then install Wicket again");
    } else {
      well("helper", "The helper is installed");
    }
  }

  void addGroup() {
    const std::string& name = facts_.groupName;
    if (addShortage("group", "The group " + name, facts_.groupError)) return;
    if (!facts_.group) {
      problem("group", "There is no group " + name, "As root: systemd-sysusers, or groupadd --system " + name);
    } else if (*facts_.group >= firstGroupOfUsers) {
      problem("group",
              "The group " + name + " has the number " + std::to_string(*facts_.group) + " and is none of the system's",
              "As root: groupmod --new-name OTHER " + name + ", then install Wicket again");
    } else {
      well("group", "There is a group " + name);
    }
    if (facts_.group) addGroupHolders();
  }
  void addGroupHolders() {
    const std::string& name = facts_.groupName;
    if (addShortage("group-holders", "Who has the group " + name, facts_.groupHoldersError)) return;
    if (facts_.groupHolders.empty()) {
      well("group-holders", "Nobody has the group " + name + " himself");
      return;
    }
    std::string users;
    for (const std::string& user : facts_.groupHolders) users += (users.empty() ? "" : ", ") + quotedText(user);
    problem("group-holders", "There are users who have the group " + name + " themselves: " + users,
            "As root: gpasswd --delete USER " + name + ", or usermod --gid OTHER USER where it is the user's own");
  }

  void addSocket() {
    constexpr char restart[] = "As root: systemctl restart net.orvane.Wicket.TlvPrivilegedHelper.socket";
    const FileFacts& socket = facts_.socket;
    if (addShortage("socket", "The socket", socket.error)) return;
    if (socket.error == ENOENT) {
      problem("socket", "There is no socket " + quotedText(socket.path),
              "As root: systemctl enable --now net.orvane.Wicket.TlvPrivilegedHelper.socket");
    } else if (!socket.isKnown()) {
      problem("socket", "The socket cannot be seen: " + unknown(socket), restart);
    } else if (!S_ISSOCK(socket.mode)) {
      problem("socket", quotedText(socket.path) + " is not a socket", "Remove it as root. " + std::string(restart));
    } else {
      well("socket", "The socket is there");
      addSocketRights(restart);
    }
  }
  void addSocketRights(const std::string& nextStep) {
    const FileFacts& socket = facts_.socket;
    const bool isOfGroup = !facts_.group || socket.group == *facts_.group;
    if (socket.owner == 0 && isOfGroup && socket.permissions() == socketMode) {
      well("socket-mode", "The socket lets the group in and nobody else");
      return;
    }
    problem("socket-mode",
            "The socket " + quotedText(socket.path) + " has owner " + std::to_string(socket.owner) + ", group " +
                std::to_string(socket.group) + " and mode " + octal(socket.permissions()) + " instead of root, " +
                facts_.groupName + " and " + octal(socketMode),
            nextStep);
  }

  void addProgram() {
    const FileFacts& file = facts_.program.file;
    if (addShortage("program", "The file of this program", file.error)) return;
    if (refuses(Refusal::noRegularFile)) {
      problem("program", "The file of this program cannot be looked at: " + unknown(file),
              "Check that /proc is mounted");
      return;
    }
    addProgramOwner();
    addProgramMode();
    if (refuses(Refusal::mountIgnoresSetGroup)) {
      problem("mount", quotedText(file.path) + " lies on a file system that is mounted with nosuid",
              "Install it on a file system that is mounted without nosuid");
    } else {
      well("mount", "The program's file system allows set-group programs");
    }
  }
  /// The order matters: a change of the group takes the set-group bit away.
  [[nodiscard]] std::string repair() const {
    const std::string name = quotedText(facts_.program.file.path);
    return "Use the installed wicket command, or as root: chown root:" + facts_.groupName + " " + name + " && chmod " +
           octal(programMode) + " " + name;
  }
  void addProgramOwner() {
    const FileFacts& file = facts_.program.file;
    const std::string name = quotedText(file.path);
    if (refuses(Refusal::notOfRoot)) {
      problem("program-owner", name + " belongs to user " + std::to_string(file.owner) + ", not to root", repair());
    } else {
      well("program-owner", "The program belongs to root");
    }
    if (!facts_.group) return;
    if (refuses(Refusal::notOfTheGroup)) {
      problem("program-group",
              name + " belongs to group " + std::to_string(file.group) + ", not to " + facts_.groupName, repair());
    } else {
      well("program-group", "The program belongs to the group " + facts_.groupName);
    }
  }
  void addProgramMode() {
    const FileFacts& file = facts_.program.file;
    const std::string name = quotedText(file.path);
    const std::string mode = " (mode " + octal(file.permissions()) + ")";
    if (refuses(Refusal::givesNoGroup)) {
      problem("set-group", name + " has no set-group bit that counts" + mode, repair());
    } else {
      well("set-group", "The program has its set-group bit");
    }
    if (refuses(Refusal::writableByOthers)) {
      problem("program-mode", name + " can be changed by others than root" + mode, repair());
    } else {
      well("program-mode", "Nobody but root can change the program");
    }
    if (refuses(Refusal::withoutName)) {
      problem("program-name", name + " has been removed or replaced since it was started", "Run the command again");
    }
    if (refuses(Refusal::accessControlList)) {
      problem("access-control-list", name + " has an access control list", "As root: setfacl --remove-all " + name);
    }
  }

  void addProcess() {
    if (!addShortage("no-new-privileges", "What holds for this process", facts_.process.error)) addProcessStatus();
    if (refuses(Refusal::anotherUserNamespace)) {
      problem("user-namespace", "This process runs in a user namespace of its own",
              "Run the command outside of the container or sandbox");
    } else {
      well("user-namespace", "The process runs in the system's own user namespace");
    }
    if (refuses(Refusal::openToItsUser)) {
      problem("open-to-its-user", "This user may trace this process, and make it do anything",
              "Use the installed wicket command");
    }
    addProcessGroup();
  }
  void addProcessStatus() {
    const SystemFacts::Process& process = facts_.process;
    if (process.hasNoNewPrivileges) {
      problem("no-new-privileges", "This process runs under no_new_privs, where the set-group bit means nothing",
              "Run the command outside of the sandbox or service that sets it (NoNewPrivileges=)");
    } else {
      well("no-new-privileges", "The process may gain its group");
    }
    if (refuses(Refusal::traced)) {
      problem("traced", "Process " + std::to_string(process.tracer) + " traces this one",
              "Run the command without a debugger or tracer");
    } else {
      well("traced", "Nobody traces the process");
    }
  }
  /// What refuses is one of the two: to have another group, or to have this one in any program.
  void addProcessGroup() {
    if (!facts_.group) return;
    addOwnGroups();
    if (!refuses(Refusal::anotherGroup) || facts_.process.startedWithGroup == *facts_.group) {
      well("process-group", "The process began with the group " + facts_.groupName);
      return;
    }
    problem("process-group",
            "This process began with group " + std::to_string(facts_.process.startedWithGroup) + " instead of " +
                facts_.groupName,
            "Correct the problems above, then run the command again");
  }
  void addOwnGroups() {
    if (!refuses(Refusal::anotherGroup) || !admission::isAmong(facts_.process.ownGroups, *facts_.group)) {
      well("own-groups", "The process has the group " + facts_.groupName + " from its program alone");
      return;
    }
    problem("own-groups", "This user has the group " + facts_.groupName + " himself, and nobody may have it",
            "As root: gpasswd --delete USER " + facts_.groupName +
                ", and usermod --gid with another group where it is the user's own. Then log in again");
  }

  /// Of a file that could not be opened there is none to judge.
  void addSignature() {
    if (!facts_.program.file.isKnown()) return;
    for (Finding& finding : diagnose(facts_.program.signature, refusals_, facts_.program.file.path)) {
      findings_.push_back(std::move(finding));
    }
    if (refuses(Refusal::changed)) {
      problem("program-changed", quotedText(facts_.program.file.path) + " was changed while it was looked at",
              "Run the command again");
    }
  }

  void addPolkit() {
    addPolkitAction();
    if (addShortage("polkit", "polkit", facts_.polkit.busError)) return;
    if (facts_.polkit.isOnBus) {
      well("polkit", "polkit is there");
    } else {
      problem("polkit", "polkit is not there, so nobody can agree to an installation",
              "Install the package polkitd, and check it with: systemctl status polkit");
    }
  }
  void addPolkitAction() {
    if (addShortage("polkit-action", "The action that guards installations", facts_.polkit.action.error)) return;
    if (facts_.polkit.action.isKnown()) {
      well("polkit-action", "polkit knows the action that guards installations");
    } else {
      problem("polkit-action",
              "polkit does not know the action that guards installations: " + unknown(facts_.polkit.action),
              installAgain);
    }
  }

  const SystemFacts& facts_;
  const std::vector<Refusal> refusals_;
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> diagnose(const SystemFacts& facts) { return Report(facts).make(); }

}  // namespace wicket::companion::doctor
