// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/ChildDelivery.h"

#include <array>
#include <poll.h>
#include <utility>

namespace wicket::posix {

ChildDelivery::ChildDelivery(ChildProcessTask& task, ChildPipes& pipes)
    : output_(std::move(pipes.output.readEnd), std::move(task.onStandardOutput)),
      error_(std::move(pipes.error.readEnd), std::move(task.onStandardError)),
      onTermination_(std::move(task.onTermination)),
      ended_(std::move(pipes.ended.readEnd)) {}

void ChildDelivery::run(RunningChild& child) {
  while (output_.isOpen() || error_.isOpen() || ended_.isOpen()) {
    waitForNews();
    if (childHasEnded_) {
      deliverEnd(child.waitUntilExit());
      continue;
    }
    if (outputHasNews_) output_.deliver();
    if (errorHasNews_) error_.deliver();
  }
}

void ChildDelivery::waitForNews() {
  // A closed descriptor is -1, which poll passes over.
  std::array<pollfd, 3> watched{
      {{output_.descriptor(), POLLIN, 0}, {error_.descriptor(), POLLIN, 0}, {ended_.get(), POLLIN, 0}}};
  constexpr int forever = -1;
  const bool woken = ::poll(watched.data(), watched.size(), forever) > 0;
  outputHasNews_ = woken && watched[0].revents != 0;
  errorHasNews_ = woken && watched[1].revents != 0;
  childHasEnded_ = woken && watched[2].revents != 0;
}

void ChildDelivery::deliverEnd(int status) {
  ended_.reset();
  output_.deliverWritten();
  error_.deliverWritten();
  if (onTermination_) onTermination_(status);
}

}  // namespace wicket::posix
