// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/ReadWrite.h"

#include <array>
#include <cerrno>
#include <sys/types.h>
#include <unistd.h>

#include "base/system/Uninterrupted.h"

namespace wicket::system {
namespace {

std::expected<std::size_t, int> countOrError(ssize_t count) {
  if (count < 0) return std::unexpected(errno);
  return static_cast<std::size_t>(count);
}

}  // namespace

std::expected<std::size_t, int> readSome(int descriptor, std::span<std::byte> buffer) {
  return countOrError(uninterrupted([&] { return ::read(descriptor, buffer.data(), buffer.size()); }));
}

std::expected<std::size_t, int> readSomeAt(int descriptor, std::uint64_t offset, std::span<std::byte> buffer) {
  return countOrError(
      uninterrupted([&] { return ::pread(descriptor, buffer.data(), buffer.size(), static_cast<off_t>(offset)); }));
}

bool readExactly(int descriptor, std::uint64_t offset, std::span<std::byte> buffer) {
  while (!buffer.empty()) {
    const auto count = readSomeAt(descriptor, offset, buffer);
    if (!count || *count == 0) return false;
    offset += *count;
    buffer = buffer.subspan(*count);
  }
  return true;
}

std::expected<std::string, int> readAll(int descriptor) {
  std::string content;
  std::array<char, 4096> buffer;
  for (;;) {
    const auto count = readSome(descriptor, std::as_writable_bytes(std::span(buffer)));
    if (!count) return std::unexpected(count.error());
    if (*count == 0) return content;
    content.append(buffer.data(), *count);
  }
}

std::expected<void, int> writeAll(int descriptor, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count < 0) return std::unexpected(errno);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return {};
}

}  // namespace wicket::system
