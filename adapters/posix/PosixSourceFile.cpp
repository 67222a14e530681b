// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/PosixSourceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "adapters/posix/FileFailure.h"
#include "base/system/ReadWrite.h"
#include "base/system/RegularFile.h"

namespace wicket::posix {
namespace {

constexpr std::size_t readAtOnce = std::size_t{256} * 1024;

std::expected<std::size_t, FileError> readAt(const Descriptor& file, std::uint64_t offset,
                                             std::span<std::byte> buffer) {
  const auto count = system::readSomeAt(file.get(), offset, buffer);
  if (!count) return failure(count.error());
  return *count;
}

}  // namespace

std::expected<Content, FileError> Content::of(const Descriptor& file, Sha256 hash) {
  std::vector<std::byte> buffer(readAtOnce);
  std::uint64_t size = 0;
  for (;;) {
    const auto count = readAt(file, size, buffer);
    if (!count) return std::unexpected(count.error());
    if (*count == 0) return Content{size, hash.finish()};
    hash.update(std::span(buffer).first(*count));
    size += *count;
  }
}

std::expected<std::unique_ptr<PosixSourceFile>, FileError> PosixSourceFile::make(Descriptor file,
                                                                                 const Content& content) {
  struct stat status{};
  if (::fstat(file.get(), &status) != 0) return lastError();
  if (const auto regular = system::requireRegular(status); !regular) return failure(regular.error());
  constexpr mode_t permissionBits = 07777;
  return std::unique_ptr<PosixSourceFile>(
      new PosixSourceFile(std::move(file), content, status.st_mode & permissionBits));
}

std::expected<std::unique_ptr<PosixSourceFile>, FileError> PosixSourceFile::open(const std::string& path) {
  auto file = system::RegularFile::open(path);
  if (!file) return failure(file.error());
  const auto content = Content::of(file->descriptor, Sha256());
  if (!content) return std::unexpected(content.error());
  return make(std::move(file->descriptor), *content);
}

std::expected<std::size_t, FileError> PosixSourceFile::read(std::span<std::byte> buffer) {
  // One byte beyond the size that was seen tells enough: a file that keeps growing would be read without end.
  std::array<std::byte, 1> further{};
  const std::uint64_t rest = content_.size - offset_;
  const auto wanted = rest > 0 ? buffer.first(std::min<std::uint64_t>(buffer.size(), rest)) : std::span(further);
  const auto count = readAt(file_, offset_, wanted);
  if (!count) return count;
  if (rest > 0 && *count > 0) {
    hash_.update(wanted.first(*count));
    offset_ += *count;
    return count;
  }
  return *count == 0 && hash_.finish() == content_.digest ? count : failure(ESTALE);
}

}  // namespace wicket::posix
