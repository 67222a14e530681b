// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/ProcessIdentity.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <concepts>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <utility>

namespace wicket::linux_adapter {
namespace {

std::optional<std::string> processFile(std::uint32_t pid, const char* name) {
  const std::string path = "/proc/" + std::to_string(pid) + "/" + name;
  const posix::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return std::nullopt;
  std::string content;
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) return content;
    content.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

template <std::unsigned_integral Number>
std::optional<Number> leadingNumber(std::string_view text) {
  Number number = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) return std::nullopt;
  return number;
}

/// The second field is the program's name in parentheses and may hold anything, so the count starts
/// behind the last parenthesis, where field 3 follows.
std::optional<std::uint64_t> startTimeOf(std::uint32_t pid) {
  const auto content = processFile(pid, "stat");
  if (!content) return std::nullopt;
  const std::size_t nameEnd = content->rfind(')');
  if (nameEnd == std::string::npos) return std::nullopt;
  std::string_view rest = std::string_view(*content).substr(nameEnd);
  constexpr int fieldsToPass = 22 - 2;
  for (int passed = 0; passed < fieldsToPass; ++passed) {
    const std::size_t space = rest.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    rest.remove_prefix(space + 1);
  }
  return leadingNumber<std::uint64_t>(rest);
}

/// The real user, who is the process's owner for polkit too.
std::optional<std::uint32_t> userOf(std::uint32_t pid) {
  const auto content = processFile(pid, "status");
  if (!content) return std::nullopt;
  constexpr std::string_view key = "\nUid:\t";
  const std::size_t found = content->find(key);
  if (found == std::string::npos) return std::nullopt;
  return leadingNumber<std::uint32_t>(std::string_view(*content).substr(found + key.size()));
}

/// Zero where pidfds are no files of their own: all of them share one inode there, which names nobody.
std::uint64_t inodeOf(int pidfd) {
  constexpr decltype(std::declval<struct statfs>().f_type) pidFileSystem = 0x50494446;
  struct statfs fileSystem{};
  struct stat status{};
  if (::fstatfs(pidfd, &fileSystem) != 0 || fileSystem.f_type != pidFileSystem) return 0;
  return ::fstat(pidfd, &status) == 0 ? status.st_ino : 0;
}

/// The C library of Debian 12 declares its wrapper without C linkage.
posix::Descriptor openPidfd(pid_t pid) {
  return posix::Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

bool isAlive(int pidfd) {
  pollfd end{pidfd, POLLIN, 0};
  return ::poll(&end, 1, 0) == 0;
}

}  // namespace

ProcessIdentity::ProcessIdentity(posix::Descriptor pidfd, std::uint32_t pid, std::uint32_t uid, std::uint64_t startTime)
    : pidfd_(std::move(pidfd)), pid_(pid), uid_(uid), startTime_(startTime), pidfdInode_(inodeOf(pidfd_.get())) {}

std::optional<ProcessIdentity> ProcessIdentity::of(std::uint32_t pid) {
  if (pid == 0 || !std::in_range<pid_t>(pid)) return std::nullopt;
  posix::Descriptor pidfd = openPidfd(static_cast<pid_t>(pid));
  if (!pidfd.isOpen()) return std::nullopt;
  const auto startTime = startTimeOf(pid);
  const auto uid = userOf(pid);
  // Alive after /proc was read: so the number belonged to this process all the time.
  if (!startTime || !uid || !isAlive(pidfd.get())) return std::nullopt;
  return ProcessIdentity(std::move(pidfd), pid, *uid, *startTime);
}

bool ProcessIdentity::matches(const wire::AuthorizationToken& token) const {
  const bool inodesAgree = token.pidfdInode == 0 || pidfdInode_ == 0 || token.pidfdInode == pidfdInode_;
  return token.pid == pid_ && token.uid == uid_ && token.startTime == startTime_ && inodesAgree;
}

bool ProcessIdentity::isUnchanged() const {
  const auto uid = userOf(pid_);
  return uid == uid_ && isAlive(pidfd_.get());
}

}  // namespace wicket::linux_adapter
