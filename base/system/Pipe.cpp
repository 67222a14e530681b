// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/Pipe.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace wicket::system {
namespace {

// 0 or an errno, as below.
#ifdef __APPLE__
int makePipe(std::array<int, 2>& ends) {
  if (::pipe(ends.data()) != 0) return errno;
  for (const int end : ends) {
    if (::fcntl(end, F_SETFD, FD_CLOEXEC) == 0) continue;
    const int error = errno;
    ::close(ends[0]);
    ::close(ends[1]);
    return error;
  }
  return 0;
}
#else
int makePipe(std::array<int, 2>& ends) { return ::pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno; }
#endif

int moveAboveStandardStreams(Descriptor& descriptor) {
  if (descriptor.get() > STDERR_FILENO) return 0;
  const int moved = ::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (moved < 0) return errno;
  descriptor = Descriptor(moved);
  return 0;
}

}  // namespace

std::expected<Pipe, int> Pipe::make() {
  std::array<int, 2> ends{};
  if (const int error = makePipe(ends); error != 0) return std::unexpected(error);
  Pipe pipe{Descriptor(ends[0]), Descriptor(ends[1])};
  for (Descriptor* end : {&pipe.readEnd, &pipe.writeEnd}) {
    if (const int error = moveAboveStandardStreams(*end); error != 0) return std::unexpected(error);
  }
  return pipe;
}

}  // namespace wicket::system
