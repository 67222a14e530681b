// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <sys/stat.h>

#include "base/system/Descriptor.h"

namespace wicket::codesign {

/// A new content for a file, which takes the file's place as a whole or not at all. Until it has, it lies under
/// a temporary name in the same folder; that is removed with its owner.
class FileReplacement {
 public:
  /// The errors are those of the system.
  [[nodiscard]] static std::expected<FileReplacement, int> create(const std::string& path);
  FileReplacement(FileReplacement&& other) noexcept;
  FileReplacement& operator=(FileReplacement&&) = delete;
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  ~FileReplacement();

  /// Open for reading and writing.
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }
  [[nodiscard]] std::expected<void, int> append(std::span<const std::byte> bytes);
  [[nodiscard]] std::expected<void, int> appendFrom(int descriptor, std::uint64_t length);
  /// Owner, group and mode of @p original, synced, renamed; the folder is synced as well.
  [[nodiscard]] std::expected<void, int> takePlaceOf(const struct stat& original);

 private:
  FileReplacement(std::string path, std::string temporaryPath, Descriptor descriptor);

  std::string path_;
  std::string temporaryPath_;
  Descriptor descriptor_;
};

}  // namespace wicket::codesign
