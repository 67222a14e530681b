// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <memory>
#include <string>
#include <sys/types.h>

#include "adapters/posix/Sha256.h"
#include "base/system/Descriptor.h"
#include "helper/platform/SourceFiles.h"

namespace wicket::posix {

/// What a file held when it was read from its beginning to its end.
struct Content {
  std::uint64_t size;
  ContentDigest digest;

  /// Reads the whole file, wherever its descriptor stands.
  [[nodiscard]] static std::expected<Content, FileError> of(const Descriptor& file, Sha256 hash);
};

/// An open file by its descriptor, whose content is compared with an earlier reading while it is read.
class PosixSourceFile final : public SourceFile {
 public:
  /// EISDIR and EINVAL as for RegularFile, and whatever fstat(2) says.
  [[nodiscard]] static std::expected<std::unique_ptr<PosixSourceFile>, FileError> make(Descriptor file,
                                                                                       const Content& content);
  /// Opens and reads it with this thread's own rights.
  [[nodiscard]] static std::expected<std::unique_ptr<PosixSourceFile>, FileError> open(const std::string& path);

  [[nodiscard]] std::uint64_t size() const override { return content_.size; }
  [[nodiscard]] const ContentDigest& digest() const override { return content_.digest; }
  [[nodiscard]] unsigned permissions() const override { return permissions_; }
  [[nodiscard]] std::expected<std::size_t, FileError> read(std::span<std::byte> buffer) override;

 private:
  PosixSourceFile(Descriptor file, const Content& content, unsigned permissions)
      : file_(std::move(file)), content_(content), permissions_(permissions) {}

  const Descriptor file_;
  const Content content_;
  const unsigned permissions_;
  std::uint64_t offset_ = 0;
  Sha256 hash_;
};

}  // namespace wicket::posix
