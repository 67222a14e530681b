// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/ProcessIdentity.h"

#include <cerrno>
#include <optional>
#include <utility>

#include "base/system/linux/ProcessFiles.h"

namespace wicket::linux_adapter {
namespace {

/// The real user, who is the process's owner for polkit too. None, with errno set, when there was no reading.
std::optional<std::uint32_t> userOf(const ProcessFiles& files) {
  const auto status = files.read("status");
  return status ? ProcessFiles::statusNumber(*status, "Uid") : std::nullopt;
}

}  // namespace

ProcessIdentity::ProcessIdentity(Pidfd pidfd, std::uint32_t pid, std::uint32_t uid, std::uint64_t startTime)
    : pidfd_(std::move(pidfd)), pid_(pid), uid_(uid), startTime_(startTime), pidfdInode_(pidfd_.inode()) {}

std::expected<ProcessIdentity, int> ProcessIdentity::of(std::uint32_t pid) {
  if (pid == 0 || !std::in_range<pid_t>(pid)) return std::unexpected(ESRCH);
  Pidfd pidfd = Pidfd::open(static_cast<pid_t>(pid));
  if (!pidfd.isOpen()) return std::unexpected(errno);
  const ProcessFiles files(static_cast<pid_t>(pid));
  const auto startTime = files.startTime();
  if (!startTime) return std::unexpected(errno);
  const auto uid = userOf(files);
  if (!uid) return std::unexpected(errno);
  // Alive after /proc was read: so the number belonged to this process all the time.
  if (!pidfd.isAlive()) return std::unexpected(ESRCH);
  return ProcessIdentity(std::move(pidfd), pid, *uid, *startTime);
}

bool ProcessIdentity::matches(const wire::AuthorizationToken& token) const {
  const bool inodesAgree = token.pidfdInode == 0 || pidfdInode_ == 0 || token.pidfdInode == pidfdInode_;
  return token.pid == pid_ && token.uid == uid_ && token.startTime == startTime_ && inodesAgree;
}

std::expected<void, int> ProcessIdentity::confirm() const {
  const auto uid = userOf(ProcessFiles(static_cast<pid_t>(pid_)));
  if (!uid) return std::unexpected(errno);
  if (uid != uid_ || !pidfd_.isAlive()) return std::unexpected(ESRCH);
  return {};
}

}  // namespace wicket::linux_adapter
