// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/SystemFacts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <expected>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

#include "base/system/Descriptor.h"
#include "base/system/linux/Pidfd.h"
#include "base/system/linux/Shortage.h"
#include "codesign/plist/PropertyListLibrary.h"
#include "companion/doctor/CompanionRequirement.h"
#include "companion/doctor/PolkitPresence.h"
#include "companion/doctor/RunningHelper.h"
#include "companion/doctor/Shortage.h"
#include "companion/doctor/SignatureExamination.h"
#include "protocol/Identifier.h"
#include "resources/BuildValues.h"
#include "resources/TrustedAnchor.h"

namespace wicket::companion::doctor {

namespace {

constexpr char ownExecutable[] = "/proc/self/exe";
constexpr char ownStatus[] = "/proc/self/status";

/// The group of root says nothing about a program, so the helper does not take it.
std::optional<gid_t> groupNumber(const std::string& name) {
  const group* const entry = ::getgrnam(name.c_str());
  return entry == nullptr || entry->gr_gid == 0 ? std::nullopt : std::optional(entry->gr_gid);
}

/// Users in the databases of this system; a directory service may know more of them.
std::expected<std::vector<std::string>, int> holdersOf(const std::string& name) {
  std::vector<std::string> holders;
  const group* const entry = ::getgrnam(name.c_str());
  if (entry == nullptr) return holders;
  for (char** member = entry->gr_mem; *member != nullptr; ++member) holders.emplace_back(*member);
  const gid_t number = entry->gr_gid;
  ::setpwent();
  errno = 0;
  while (const passwd* const user = ::getpwent()) {
    if (user->pw_gid == number) holders.emplace_back(user->pw_name);
    errno = 0;
  }
  const int error = errno;
  ::endpwent();
  if (linux_adapter::isShortage(error)) return std::unexpected(error);
  return holders;
}

bool hasAccessControlList(int descriptor) {
  if (::fgetxattr(descriptor, "system.posix_acl_access", nullptr, 0) >= 0) return true;
  return errno != ENODATA && errno != EOPNOTSUPP;
}

/// A number of /proc/self/status, 0 when it is not there.
long statusNumber(std::string_view name) {
  std::ifstream file(ownStatus);
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with(name)) continue;
    const std::size_t digits = line.find_first_of("0123456789");
    if (digits == std::string::npos) return 0;
    long number = 0;
    std::from_chars(line.data() + digits, line.data() + line.size(), number);
    return number;
  }
  return 0;
}

/// Another one may map every user to itself as well, so the map says nothing.
bool isInFirstUserNamespace() {
  constexpr ino_t first = 0xEFFFFFFD;  // PROC_USER_INIT_INO of the kernel
  struct stat own{};
  struct stat systems{};
  if (::stat("/proc/self/ns/user", &own) != 0) return false;
  // Where the whole system runs in a namespace, only root may look at that of its first process.
  if (::stat("/proc/1/ns/user", &systems) != 0) return own.st_ino == first;
  return own.st_dev == systems.st_dev && own.st_ino == systems.st_ino;
}

std::vector<gid_t> ownGroups() {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
  const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(count, 0)));
  groups.push_back(::getgid());
  return groups;
}

/// Of this process, to whom the kernel shows it as belonging.
uid_t shownOwner() {
  struct stat link{};
  return ::lstat(ownExecutable, &link) == 0 ? link.st_uid : ::geteuid();
}

SystemFacts::Process gatherProcess(gid_t startedWithGroup) {
  const int error = std::ifstream(ownStatus).is_open() ? 0 : Shortage::behind();
  return {startedWithGroup,
          ownGroups(),
          error,
          statusNumber("NoNewPrivs:") != 0,
          static_cast<pid_t>(statusNumber("TracerPid:")),
          isInFirstUserNamespace(),
          ::geteuid(),
          shownOwner()};
}

std::string pathOfOwnExecutable() {
  std::array<char, 4096> path{};
  const ssize_t length = ::readlink(ownExecutable, path.data(), path.size());
  return length < 0 ? std::string(ownExecutable) : std::string(path.data(), static_cast<std::size_t>(length));
}

SignatureFacts signatureOf(int descriptor) {
  const auto anchor = codesign::Certificate::fromDer(resources::TrustedAnchor::der());
  if (!anchor)
    return {.state = SignatureFacts::State::notTrusted, .reason = "The anchor of this build is no certificate"};
  if (auto missing = codesign::PropertyListLibrary::missing(); !missing.empty())
    return {.error = Shortage::behind(), .missingLibrary = std::move(missing)};
  auto facts = examineSignature(descriptor, *anchor, CompanionRequirement::text());
  if (facts.state == SignatureFacts::State::unreadable) facts.error = Shortage::behind();
  return facts;
}

SystemFacts::Program gatherProgram() {
  SystemFacts::Program program;
  // The file that runs, even if another one has taken its path meanwhile.
  const Descriptor file(::open(ownExecutable, O_RDONLY | O_CLOEXEC));
  program.file = FileFacts::of(file.get(), pathOfOwnExecutable(), errno);
  if (!file.isOpen()) return program;
  struct statvfs mount{};
  program.mountIgnoresSetGroup = ::fstatvfs(file.get(), &mount) == 0 && (mount.f_flag & ST_NOSUID) != 0;
  program.hasAccessControlList = hasAccessControlList(file.get());
  program.signature = signatureOf(file.get());
  program.hasChanged = !(FileFacts::of(file.get(), program.file.path, 0) == program.file);
  return program;
}

bool kernelNamesPeerProcess() {
  constexpr int peerPidfd = 77;  // SO_PEERPIDFD, which the system's headers lack before glibc 2.39
  std::array<int, 2> ends{-1, -1};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return false;
  const Descriptor one(ends[0]);
  const Descriptor other(ends[1]);
  int pidfd = -1;
  socklen_t size = sizeof pidfd;
  if (::getsockopt(one.get(), SOL_SOCKET, peerPidfd, &pidfd, &size) != 0) return false;
  return Descriptor(pidfd).isOpen();
}

bool kernelOpensProcesses() { return linux_adapter::Pidfd::open(::getpid()).isOpen(); }

SystemFacts::Kernel gatherKernel() {
  SystemFacts::Kernel kernel{0, kernelOpensProcesses(), kernelNamesPeerProcess()};
  if (!kernel.opensProcesses || !kernel.namesPeerProcess) kernel.error = Shortage::behind();
  return kernel;
}

SystemFacts::Polkit gatherPolkit() {
  const auto isOnBus = polkitIsOnBus();
  return {FileFacts::of(std::string("/usr/share/polkit-1/actions/") + Identifier::privilegedHelper + ".policy"),
          isOnBus ? 0 : Shortage::behind(isOnBus.error()), isOnBus.value_or(false)};
}

void gatherGroup(SystemFacts& facts) {
  facts.group = groupNumber(facts.groupName);
  if (!facts.group) facts.groupError = Shortage::behind();
  auto holders = holdersOf(facts.groupName);
  if (holders) {
    facts.groupHolders = *std::move(holders);
  } else {
    facts.groupHoldersError = holders.error();
  }
}

}  // namespace

SystemFacts SystemFacts::gather(gid_t startedWithGroup, const std::string& socketPath) {
  SystemFacts facts;
  facts.process = gatherProcess(startedWithGroup);
  facts.program = gatherProgram();
  facts.kernel = gatherKernel();
  facts.polkit = gatherPolkit();
  gatherGroup(facts);
  facts.socket = FileFacts::of(socketPath);
  facts.helper = FileFacts::of(std::string(resources::BuildValues::helperExecutable()));
  const auto isStale = runningHelperIsOlderThan(facts.helper.path);
  facts.helperIsStale = isStale.value_or(false);
  if (!isStale) facts.runningHelperError = isStale.error();
  return facts;
}

}  // namespace wicket::companion::doctor
