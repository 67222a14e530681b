// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <span>
#include <string>

#include "helper/platform/FileManager.h"

namespace wicket {

/// A SHA-256, FIPS 180-4.
using ContentDigest = std::array<std::byte, 32>;

/// A regular file that a client has named, open, with what it held when it was opened. It stays the same file whatever
/// is done to its name; its owner may still change the content. To be read by one thread, once, from the beginning.
class SourceFile {
 public:
  SourceFile() = default;
  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;
  virtual ~SourceFile() = default;

  /// In bytes.
  [[nodiscard]] virtual std::uint64_t size() const = 0;
  [[nodiscard]] virtual const ContentDigest& digest() const = 0;
  /// As for chmod(2).
  [[nodiscard]] virtual unsigned permissions() const = 0;
  /// The next bytes, at most as many as fit; 0 at the end. When the content has come out another than digest() says,
  /// the end is an error instead (ESTALE): what has been read until then must not be used.
  [[nodiscard]] virtual std::expected<std::size_t, FileError> read(std::span<std::byte> buffer) = 0;
};

/// Files as clients see them. Any thread; the calls block.
class SourceFiles {
 public:
  /// What open() takes at most.
  static constexpr std::chrono::seconds timeLimit{10};

  SourceFiles() = default;
  SourceFiles(const SourceFiles&) = delete;
  SourceFiles& operator=(const SourceFiles&) = delete;
  virtual ~SourceFiles() = default;

  /// Opens and reads the file with no more rights than the client has whose call this thread carries out, where that
  /// client would find it. EISDIR for a directory, EINVAL for anything else that is not a regular file, ETIMEDOUT when
  /// it took too long, EPERM outside a client's call.
  [[nodiscard]] virtual std::expected<std::unique_ptr<SourceFile>, FileError> open(const std::string& path) = 0;
};

}  // namespace wicket
