// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/Pipe.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "adapters/posix/SystemCalls.h"

namespace wicket::posix {
namespace {

// 0 or an errno.
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

}  // namespace wicket::posix
