// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/FileReading.h"

#include <cerrno>
#include <sys/types.h>
#include <unistd.h>

namespace wicket::codesign {

bool readExactly(int descriptor, std::uint64_t offset, std::span<std::byte> buffer) {
  while (!buffer.empty()) {
    const ssize_t count = ::pread(descriptor, buffer.data(), buffer.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    offset += static_cast<std::uint64_t>(count);
    buffer = buffer.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace wicket::codesign
