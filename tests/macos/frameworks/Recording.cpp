// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/Recording.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

namespace wicket::frameworks {
namespace {

struct Event {
  std::string text;
  Event* earlier = nullptr;
};

// A list that is pushed onto without a lock: recording must not order the threads that record, or the thread sanitizer
// would overlook that nothing else does.
std::atomic<Event*> newest = nullptr;

}  // namespace

void Recording::add(std::string event) {
  auto* const added = new Event{.text = std::move(event)};
  added->earlier = newest.load(std::memory_order_relaxed);
  while (!newest.compare_exchange_weak(added->earlier, added, std::memory_order_release, std::memory_order_relaxed)) {
  }
}

std::vector<std::string> Recording::events() { return eventsOf(""); }

std::vector<std::string> Recording::eventsOf(std::string_view prefix) {
  std::vector<std::string> result;
  for (const Event* event = newest.load(std::memory_order_acquire); event != nullptr; event = event->earlier) {
    if (event->text.starts_with(prefix)) result.push_back(event->text);
  }
  std::ranges::reverse(result);
  return result;
}

void Recording::clear() {
  Event* event = newest.exchange(nullptr, std::memory_order_acquire);
  while (event != nullptr) delete std::exchange(event, event->earlier);
}

}  // namespace wicket::frameworks
