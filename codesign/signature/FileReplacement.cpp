// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/FileReplacement.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/system/ReadWrite.h"

namespace wicket::codesign {

namespace {

constexpr std::uint64_t copiedAtOnce = 256 * 1024;
constexpr mode_t permissionBits = 07777;

std::expected<void, int> outcome(bool succeeded) {
  if (!succeeded) return std::unexpected(errno);
  return {};
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool syncFolder(const std::string& folder) {
  const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return descriptor.isOpen() && ::fsync(descriptor.get()) == 0;
}

}  // namespace

FileReplacement::FileReplacement(std::string path, std::string temporaryPath, Descriptor descriptor)
    : path_(std::move(path)), temporaryPath_(std::move(temporaryPath)), descriptor_(std::move(descriptor)) {}

FileReplacement::FileReplacement(FileReplacement&& other) noexcept
    : path_(std::move(other.path_)),
      temporaryPath_(std::exchange(other.temporaryPath_, {})),
      descriptor_(std::move(other.descriptor_)) {}

FileReplacement::~FileReplacement() {
  if (!temporaryPath_.empty()) ::unlink(temporaryPath_.c_str());
}

std::expected<FileReplacement, int> FileReplacement::create(const std::string& path) {
  std::string temporaryPath = folderOf(path) + ".wicket-codesign-XXXXXX";
  Descriptor descriptor(::mkostemp(temporaryPath.data(), O_CLOEXEC));
  if (!descriptor.isOpen()) return std::unexpected(errno);
  return FileReplacement(path, std::move(temporaryPath), std::move(descriptor));
}

std::expected<void, int> FileReplacement::append(std::span<const std::byte> bytes) {
  return system::writeAll(descriptor(), bytes);
}

std::expected<void, int> FileReplacement::appendFrom(int source, std::uint64_t length) {
  std::vector<std::byte> chunk(std::min(length, copiedAtOnce));
  for (std::uint64_t offset = 0; offset < length; offset += chunk.size()) {
    chunk.resize(std::min(length - offset, copiedAtOnce));
    if (!system::readExactly(source, offset, chunk)) return std::unexpected(EIO);
    if (const auto appended = append(chunk); !appended) return appended;
  }
  return {};
}

std::expected<void, int> FileReplacement::takePlaceOf(const struct stat& original) {
  struct stat own{};
  if (::fstat(descriptor(), &own) != 0) return std::unexpected(errno);
  const bool hasOwner = own.st_uid == original.st_uid && own.st_gid == original.st_gid;
  if (!hasOwner && ::fchown(descriptor(), original.st_uid, original.st_gid) != 0) return std::unexpected(errno);
  // After the owner, whose change takes the set-user and set-group bits away.
  if (::fchmod(descriptor(), original.st_mode & permissionBits) != 0) return std::unexpected(errno);
  if (::fsync(descriptor()) != 0) return std::unexpected(errno);
  if (::rename(temporaryPath_.c_str(), path_.c_str()) != 0) return std::unexpected(errno);
  temporaryPath_.clear();
  return outcome(syncFolder(folderOf(path_)));
}

}  // namespace wicket::codesign
