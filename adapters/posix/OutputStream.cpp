// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/OutputStream.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <poll.h>
#include <sys/ioctl.h>
#include <tuple>
#include <utility>

#include "base/system/ReadWrite.h"

namespace wicket::posix {
namespace {

std::size_t bytesWaiting(int descriptor) {
  int count = 0;
  if (::ioctl(descriptor, FIONREAD, &count) != 0) return 0;
  return static_cast<std::size_t>(std::max(count, 0));
}

bool isReadable(int descriptor) {
  pollfd watched{.fd = descriptor, .events = POLLIN, .revents = 0};
  return ::poll(&watched, 1, 0) > 0;
}

}  // namespace

OutputStream::OutputStream(Descriptor readEnd, Handler handler)
    : readEnd_(std::move(readEnd)), handler_(std::move(handler)) {}

void OutputStream::deliver() { std::ignore = read(std::numeric_limits<std::size_t>::max()); }

void OutputStream::deliverWritten() {
  if (!isOpen()) return;
  for (std::size_t left = bytesWaiting(descriptor()); isOpen() && left > 0;) {
    const std::size_t count = read(left);
    if (count == 0) return;
    left -= count;
  }
  // Readable without a byte waiting is the end.
  if (isOpen() && isReadable(descriptor()) && bytesWaiting(descriptor()) == 0) deliver();
}

// Returns the number of bytes read: 0 at the end of the stream, or when there was nothing to read.
std::size_t OutputStream::read(std::size_t limit) {
  const auto room = chunker_->room();
  const auto count = system::readSome(descriptor(), room.first(std::min(room.size(), limit)));
  if (!count && count.error() == EAGAIN) return 0;
  if (!count || *count == 0) {
    close();
    return 0;
  }
  pass(chunker_->take(*count));
  return *count;
}

void OutputStream::pass(std::span<const std::byte> chunk) const {
  if (!chunk.empty() && handler_) handler_(chunk);
}

void OutputStream::close() {
  pass(chunker_->takeRest());
  readEnd_.reset();
}

}  // namespace wicket::posix
