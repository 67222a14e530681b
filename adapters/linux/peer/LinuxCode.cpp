// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/LinuxCode.h"

#include <cstdint>
#include <optional>
#include <sys/stat.h>

#include "adapters/linux/peer/AuditTokenWords.h"
#include "adapters/linux/peer/PeerProcess.h"
#include "base/system/linux/ProcessFiles.h"

namespace wicket::linux_adapter {
namespace {

bool isNamedBy(const AuditTokenWords& words, const Pidfd& pidfd) {
  const auto version = PeerProcess::versionOf(pidfd, static_cast<pid_t>(words.pid));
  return version && words.pidVersion != 0 && static_cast<std::uint32_t>(*version) == words.pidVersion;
}

bool isTraced(const ProcessFiles& process) {
  const auto status = process.read("status");
  return !status || ProcessFiles::statusNumber(*status, "TracerPid") != 0U;
}

/// Users and groups of another user namespace may mean somebody else, and who made it rules there.
bool isInThisUserNamespace(const ProcessFiles& process) {
  const auto theirs = process.target("ns/user");
  struct stat ours{};
  if (!theirs || ::stat("/proc/self/ns/user", &ours) != 0) return false;
  return theirs->st_dev == ours.st_dev && theirs->st_ino == ours.st_ino;
}

/// Everything in /proc belongs to root for a process that its own user may neither trace nor read. One
/// that its user may trace can be made to do anything.
bool isOpenToItsUser(const ProcessFiles& process, uid_t user) {
  struct stat link{};
  if (user == 0) return false;
  return ::lstat(process.path("exe").c_str(), &link) != 0 || link.st_uid != 0;
}

}  // namespace

std::expected<std::shared_ptr<LinuxCode>, CodeSigningStatus> LinuxCode::ofToken(const AuditTokenData& token,
                                                                                gid_t group) {
  const auto words = AuditTokenWords::of(token);
  if (words.egid != group || words.pid == 0 || !std::in_range<pid_t>(words.pid)) {
    return std::unexpected(code_signing_status::noSuchCode);
  }
  const auto pid = static_cast<pid_t>(words.pid);
  Pidfd pidfd = Pidfd::open(pid);
  if (!pidfd.isOpen() || !isNamedBy(words, pidfd)) return std::unexpected(code_signing_status::noSuchCode);
  const ProcessFiles process(pid);
  if (isTraced(process) || !isInThisUserNamespace(process) || isOpenToItsUser(process, words.euid)) {
    return std::unexpected(code_signing_status::guestInvalid);
  }
  auto file = ExecutableFile::ofProcess(process, group);
  if (!file) return std::unexpected(code_signing_status::guestInvalid);
  // Alive after /proc was read: so all of that was about this process.
  if (!pidfd.isAlive()) return std::unexpected(code_signing_status::noSuchCode);
  return std::make_shared<LinuxCode>(std::move(pidfd), pid, std::move(*file));
}

LinuxCode::LinuxCode(Pidfd pidfd, pid_t pid, ExecutableFile file)
    : pidfd_(std::move(pidfd)), pid_(pid), staticCode_(std::make_shared<LinuxStaticCode>(std::move(file))) {}

bool LinuxCode::isUnchanged() const {
  const ProcessFiles process(pid_);
  const auto running = process.target("exe");
  const bool isSameFile = running && FileIdentity::of(*running) == staticCode_->file().identity();
  return isSameFile && staticCode_->file().isUnchanged() && !isTraced(process) && pidfd_.isAlive();
}

}  // namespace wicket::linux_adapter
