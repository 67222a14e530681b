// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/ChildPipes.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace wicket::posix {

std::expected<ChildPipes, int> ChildPipes::make() {
  ChildPipes pipes;
  for (system::Pipe* pipe : {&pipes.input, &pipes.output, &pipes.error, &pipes.ended}) {
    auto made = system::Pipe::make();
    if (!made) return std::unexpected(made.error());
    *pipe = std::move(*made);
  }
  for (const system::Pipe* pipe : {&pipes.output, &pipes.error}) {
    if (::fcntl(pipe->readEnd.get(), F_SETFL, O_NONBLOCK) != 0) return std::unexpected(errno);
  }
  return pipes;
}

void ChildPipes::closeChildEnds() {
  input.readEnd.reset();
  output.writeEnd.reset();
  error.writeEnd.reset();
}

}  // namespace wicket::posix
