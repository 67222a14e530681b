// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/Utf8Chunker.h"

#include <algorithm>
#include <string_view>

#include "base/text/Utf8.h"

namespace wicket::posix {
std::span<std::byte> Utf8Chunker::room() {
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(keptAt_), kept_, bytes_.begin());
  keptAt_ = 0;
  return std::span(bytes_).subspan(kept_);
}

std::span<const std::byte> Utf8Chunker::take(std::size_t count) {
  const auto available = std::span<const std::byte>(bytes_).first(kept_ + count);
  kept_ = Utf8::unfinishedLength({reinterpret_cast<const char*>(available.data()), available.size()});
  keptAt_ = available.size() - kept_;
  return available.first(keptAt_);
}

std::span<const std::byte> Utf8Chunker::takeRest() {
  const auto rest = std::span<const std::byte>(bytes_).subspan(keptAt_, kept_);
  kept_ = 0;
  return rest;
}

}  // namespace wicket::posix
