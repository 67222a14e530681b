// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusDoorbell.h"

#include <algorithm>
#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>

namespace wicket::linux_adapter {
namespace {

int makeEvent() {
  const int event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  return event;
}

bool isSame(const std::weak_ptr<BusWorker>& a, const std::weak_ptr<BusWorker>& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace

BusDoorbell::BusDoorbell() : event_(makeEvent()) {}

void BusDoorbell::ring(const std::weak_ptr<BusWorker>& worker) noexcept {
  const std::scoped_lock lock(mutex_);
  if (isClosed_) return;
  if (std::ranges::any_of(rung_, [&](const auto& other) { return isSame(other, worker); })) return;
  rung_.push_back(worker);
  eventfd_write(event_.get(), 1);
}

void BusDoorbell::makeRoomFor(std::size_t workers) {
  const std::scoped_lock lock(mutex_);
  if (rung_.capacity() < workers) rung_.reserve(2 * workers);
  if (answering_.capacity() < workers) answering_.reserve(2 * workers);
}

void BusDoorbell::answer() {
  {
    const std::scoped_lock lock(mutex_);
    // In one with the list: a ring from now on is for the next answer and makes the descriptor readable again.
    eventfd_t count = 0;
    eventfd_read(event_.get(), &count);
    answering_.swap(rung_);
  }
  // By index: a worker that takes in new ones makes room in this very list.
  for (std::size_t i = 0; i < answering_.size(); ++i) {
    if (const auto worker = answering_[i].lock()) worker->service();
  }
  answering_.clear();
}

void BusDoorbell::close() {
  const std::scoped_lock lock(mutex_);
  isClosed_ = true;
  rung_.clear();
}

}  // namespace wicket::linux_adapter
