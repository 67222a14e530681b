// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/PeerProcess.h"

#include <cerrno>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include "adapters/linux/peer/AuditTokenWords.h"
#include "admission/ProgramGroup.h"
#include "base/system/linux/ProcessFiles.h"
#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {
namespace {

/// The C library of Debian 12 is older than the option.
constexpr int peerPidfdOption = 77;

std::optional<ucred> credentialsOf(int socket) {
  ucred credentials{};
  socklen_t length = sizeof credentials;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return std::nullopt;
  return credentials;
}

Pidfd pidfdOfPeer(int socket, pid_t pid) {
  int descriptor = -1;
  socklen_t length = sizeof descriptor;
  if (::getsockopt(socket, SOL_SOCKET, peerPidfdOption, &descriptor, &length) == 0) {
    return Pidfd(Descriptor(descriptor));
  }
  // A kernel before 6.5 does not know the option: there the process has the number as long as it lives.
  return errno == ENOPROTOOPT ? Pidfd::open(pid) : Pidfd(Descriptor());
}

/// The supplementary groups that it had when it connected. None, with errno set, when there was no telling.
std::optional<std::vector<gid_t>> groupsOfPeer(int socket) {
  std::vector<gid_t> groups(64);
  for (;;) {
    const auto room = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    socklen_t length = room;
    const bool isDone = ::getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &length) == 0;
    if (!isDone && (errno != ERANGE || length <= room)) return std::nullopt;
    groups.resize(length / sizeof(gid_t));
    if (isDone) return groups;
  }
}

/// The effective group if only its executable can have given it; else one that tells nothing.
std::uint32_t groupToTell(const AuditTokenWords& words, std::vector<gid_t> own) {
  own.push_back(words.rgid);
  return admission::groupFromProgram(words.egid, own).value_or(AuditTokenWords::unset);
}

/// The credentials alone, as they are left when the process has gone.
AuditTokenWords wordsOf(const ucred& credentials) {
  return {.auid = AuditTokenWords::unset,
          .euid = credentials.uid,
          .egid = credentials.gid,
          .ruid = credentials.uid,
          .rgid = credentials.gid,
          .pid = static_cast<std::uint32_t>(credentials.pid),
          .asid = AuditTokenWords::unset,
          .pidVersion = 0};
}

void addProcFacts(AuditTokenWords& words, const ProcessFiles& files) {
  // A kernel without auditing has neither of them.
  words.auid = files.number("loginuid").value_or(AuditTokenWords::unset);
  words.asid = files.number("sessionid").value_or(AuditTokenWords::unset);
  const auto status = files.read("status");
  if (!status) return;
  words.ruid = ProcessFiles::statusNumber(*status, "Uid").value_or(words.ruid);
  words.rgid = ProcessFiles::statusNumber(*status, "Gid").value_or(words.rgid);
}

}  // namespace

std::expected<PeerProcess, int> PeerProcess::ofSocket(int descriptor) {
  const auto known = credentialsOf(descriptor);
  if (!known) return PeerProcess(0, 0);
  const ucred& credentials = *known;
  PeerProcess peer(credentials.pid, credentials.uid);
  AuditTokenWords words = wordsOf(credentials);
  peer.token_ = words.data();
  if (credentials.pid <= 0) return peer;  // of a pid namespace that is not visible from here

  const ShortageWatch watch;
  const Pidfd pidfd = pidfdOfPeer(descriptor, credentials.pid);
  if (!pidfd.isOpen() && isShortage(errno)) return std::unexpected(errno);
  if (!pidfd.isOpen()) return peer;
  const auto version = versionOf(pidfd, credentials.pid);
  const auto image = imageOf(credentials.pid);
  const auto groups = groupsOfPeer(descriptor);
  addProcFacts(words, ProcessFiles(credentials.pid));
  if (ShortageWatch::hasSeenOne()) return std::unexpected(ENOMEM);
  words.egid = groups ? groupToTell(words, *groups) : AuditTokenWords::unset;
  // Alive after /proc was read: so the number belonged to this process all the time.
  if (!version || !pidfd.isAlive()) return peer;
  words.pidVersion = static_cast<std::uint32_t>(*version);
  peer.version_ = version;
  peer.image_ = image;
  peer.token_ = words.data();
  return peer;
}

uid_t PeerProcess::userOf(int descriptor) {
  constexpr auto nobody = static_cast<uid_t>(-1);
  const auto credentials = credentialsOf(descriptor);
  return credentials ? credentials->uid : nobody;
}

bool PeerProcess::isUnchanged() const {
  if (!version_ || !image_) return false;
  const Pidfd pidfd = Pidfd::open(pid_);
  if (!pidfd.isOpen() || versionOf(pidfd, pid_) != version_) return false;
  return imageOf(pid_) == image_ && pidfd.isAlive();
}

std::optional<std::uint64_t> PeerProcess::versionOf(const Pidfd& pidfd, pid_t pid) {
  const std::uint64_t inode = pidfd.inode();
  return inode != 0 ? std::optional(inode) : ProcessFiles(pid).startTime();
}

std::optional<PeerProcess::Image> PeerProcess::imageOf(pid_t pid) {
  const auto executable = ProcessFiles(pid).target("exe");
  if (!executable) return std::nullopt;
  return Image{executable->st_dev, executable->st_ino};
}

}  // namespace wicket::linux_adapter
