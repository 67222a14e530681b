// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/sources/SourceReader.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <grp.h>
#include <linux/capability.h>
#include <sched.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "adapters/linux/sources/ReaderMessages.h"
#include "adapters/posix/Sha256.h"
#include "base/system/RegularFile.h"
#include "helper/platform/SourceFiles.h"

namespace wicket::linux_adapter {
namespace {

/// Each step returns 0 or an errno.
int resultOf(int returned) { return returned == 0 ? 0 : errno; }

/// To be seen through the client's eyes, links and mounts included.
int enterFileSystem(const ClientPlace& place) {
  if (::setns(place.mountNamespace.get(), CLONE_NEWNS) != 0) return errno;
  if (::fchdir(place.root.get()) != 0 || ::chroot(".") != 0) return errno;
  return resultOf(::chdir("/"));
}

int keepOnly(std::uint32_t capabilities) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  sets[0].effective = capabilities;
  sets[0].permitted = capabilities;
  return resultOf(static_cast<int>(::syscall(SYS_capset, &header, sets.data())));
}

/// The groups come first: without root's rights they could not be changed any more.
int becomeUser(const ClientPlace& place) {
  if (::setgroups(place.groups.size(), place.groups.data()) != 0) return errno;
  if (::setresgid(place.group, place.group, place.group) != 0) return errno;
  if (::setresuid(place.user, place.user, place.user) != 0) return errno;
  if (const int error = keepOnly(place.mayReadAll ? 1U << CAP_DAC_READ_SEARCH : 0U); error != 0) return error;
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 ? resultOf(::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0)) : errno;
}

int takePlace(const ClientPlace& place) {
  if (const int error = enterFileSystem(place); error != 0) return error;
  return becomeUser(place);
}

ReaderAnswer::Result read(const ReaderRequest& request) {
  // Made before this process sees files that the client has chosen.
  posix::Sha256 hash;
  if (const int error = takePlace(request.place); error != 0) return std::unexpected(error);
  auto file = system::RegularFile::open(request.path);
  if (!file) return std::unexpected(file.error());
  const auto content = posix::Content::of(file->descriptor, std::move(hash));
  if (!content) return std::unexpected(content.error().number);
  return ReaderAnswer{std::move(file->descriptor), *content};
}

/// Should the helper be gone, nobody else ends a process that waits for a file system.
void endInTime() {
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  ::alarm(static_cast<unsigned>(SourceFiles::timeLimit.count()));
}

}  // namespace

bool SourceReader::isAskedForBy(std::span<char* const> arguments) {
  return arguments.size() == 2 && std::string_view(arguments[1]) == argument;
}

void SourceReader::run() {
  endInTime();
  const Descriptor channel(socket);
  const auto request = ReaderRequest::receiveFrom(channel);
  bool isDone = false;
  try {
    isDone = request && ReaderAnswer::send(read(*request), channel);
  } catch (const std::exception&) {
    isDone = false;
  }
  // Nothing is cleaned up: whoever has the answer ends this process at once, also in the middle of that.
  ::_exit(isDone ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace wicket::linux_adapter
