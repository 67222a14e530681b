// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <list>
#include <mutex>
#include <optional>
#include <utility>

#include "base/system/linux/FileIdentity.h"

namespace wicket::linux_adapter {

/// Remembers what was found out at some cost about a few files in the state they were in. Any thread.
template <typename Value>
class FileCache {
 public:
  /// There is one companion; a few more are there while it is being replaced.
  static constexpr std::size_t capacity = 8;
  /// The kernel's clock for files moves in steps: a file that was changed this short a time ago may be
  /// changed again without showing it.
  static constexpr std::time_t youthInSeconds = 2;

  [[nodiscard]] std::optional<Value> find(const FileIdentity& file) {
    const std::scoped_lock lock(mutex_);
    const auto found = std::ranges::find(entries_, file, &Entry::first);
    if (found == entries_.end()) return std::nullopt;
    entries_.splice(entries_.begin(), entries_, found);
    return entries_.front().second;
  }

  /// Keeps the value unless the file is too young at @p now, seconds since the epoch. Whatever was not
  /// asked for the longest time makes room.
  void keep(const FileIdentity& file, Value value, std::time_t now = std::time(nullptr)) {
    if (file.changeSeconds + youthInSeconds > now) return;
    const std::scoped_lock lock(mutex_);
    entries_.remove_if([&](const Entry& entry) { return entry.first == file; });
    entries_.emplace_front(file, std::move(value));
    if (entries_.size() > capacity) entries_.pop_back();
  }

  [[nodiscard]] std::size_t size() const {
    const std::scoped_lock lock(mutex_);
    return entries_.size();
  }

 private:
  using Entry = std::pair<FileIdentity, Value>;

  mutable std::mutex mutex_;
  std::list<Entry> entries_;
};

}  // namespace wicket::linux_adapter
