// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/SendWindow.h"

#include <utility>

namespace wicket::macos_adapter {
namespace {

constexpr std::size_t batch = std::size_t{64} * 1024;
// What a message takes besides its text.
constexpr std::size_t overhead = 256;

}  // namespace

std::size_t SendWindow::sent(std::size_t bytes) {
  const std::scoped_lock lock(mutex_);
  if (isClosed_) return 0;
  onTheWay_ += bytes + overhead;
  sinceBarrier_ += bytes + overhead;
  return sinceBarrier_ < batch ? 0 : std::exchange(sinceBarrier_, 0);
}

void SendWindow::left(std::size_t bytes) {
  const std::scoped_lock lock(mutex_);
  onTheWay_ -= bytes;
  if (onTheWay_ <= highWater) drained_.notify_all();
}

void SendWindow::waitForCapacity() {
  std::unique_lock lock(mutex_);
  drained_.wait(lock, [this] { return isClosed_ || onTheWay_ <= highWater; });
}

void SendWindow::close() {
  const std::scoped_lock lock(mutex_);
  isClosed_ = true;
  drained_.notify_all();
}

}  // namespace wicket::macos_adapter
