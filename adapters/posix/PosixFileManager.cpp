// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/PosixFileManager.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <span>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "adapters/posix/FileCopy.h"
#include "adapters/posix/FileFailure.h"
#include "adapters/posix/TreeRemoval.h"
#include "base/system/ReadWrite.h"
#include "base/system/RegularFile.h"

namespace wicket {
namespace {

using posix::failure;
using posix::lastError;
using system::isRepresentable;

// More than this is no script that anybody wrote; it must not take all memory.
constexpr std::size_t longestContent = std::numeric_limits<std::int32_t>::max();

FileManager::Result changeMode(const std::string& path, unsigned permissions) {
  if (::chmod(path.c_str(), static_cast<mode_t>(permissions)) != 0) return lastError();
  return {};
}

FileManager::Result changeOwner(const std::string& path, const FileAttributes& attributes) {
  if (::chown(path.c_str(), attributes.owner, attributes.group) != 0) return lastError();
  return {};
}

std::expected<std::string, FileError> readAll(const system::RegularFile& file) {
  constexpr std::size_t step = std::size_t{64} * 1024;
  const auto expectedSize = static_cast<std::size_t>(file.status.st_size);
  if (expectedSize > longestContent) return failure(EFBIG);
  std::string content;
  content.reserve(expectedSize + 1);
  for (std::size_t length = 0;;) {
    // The size is only a hint: files of the system's own making report none.
    content.resize(std::max(length + step, std::min(content.capacity(), longestContent)));
    const auto count =
        system::readSome(file.descriptor.get(), std::as_writable_bytes(std::span(content)).subspan(length));
    if (!count) return failure(count.error());
    length += *count;
    if (length > longestContent) return failure(EFBIG);
    if (*count > 0) continue;
    content.resize(length);
    return content;
  }
}

}  // namespace

bool PosixFileManager::fileExists(const std::string& path) {
  struct stat status{};
  return isRepresentable(path) && ::stat(path.c_str(), &status) == 0;
}

FileManager::Result PosixFileManager::createDirectory(const std::string& path, const FileAttributes& attributes) {
  if (!isRepresentable(path)) return failure(EINVAL);
  // Never more open than asked for, not even until the mode is set.
  if (::mkdir(path.c_str(), static_cast<mode_t>(attributes.permissions)) != 0) return lastError();
  std::ignore = setAttributes(path, attributes);
  return {};
}

FileManager::Result PosixFileManager::copyItem(SourceFile& source, const std::string& destination) {
  return posix::copyFile(source, destination);
}

FileManager::Result PosixFileManager::setAttributes(const std::string& path, const FileAttributes& attributes) {
  constexpr unsigned ownerWrite = 0200;
  if (!isRepresentable(path)) return failure(EINVAL);
  const bool modeFirst = (attributes.permissions & ownerWrite) != 0;
  if (modeFirst) {
    if (auto result = changeMode(path, attributes.permissions); !result) return result;
  }
  if (auto result = changeOwner(path, attributes); !result) return result;
  return modeFirst ? Result() : changeMode(path, attributes.permissions);
}

FileManager::Result PosixFileManager::removeItem(const std::string& path) {
  if (!isRepresentable(path)) return failure(EINVAL);
  struct stat status{};
  if (::lstat(path.c_str(), &status) != 0) return lastError();
  if (!S_ISDIR(status.st_mode)) return ::unlink(path.c_str()) == 0 ? Result() : lastError();
  if (::rmdir(path.c_str()) == 0) return {};
  if (errno != ENOTEMPTY && errno != EEXIST) return lastError();
  if (auto result = posix::emptyDirectory(path); !result) return result;
  return ::rmdir(path.c_str()) == 0 ? Result() : lastError();
}

std::expected<std::string, FileError> PosixFileManager::readFile(const std::string& path) {
  try {
    const auto file = system::RegularFile::open(path);
    if (!file) return failure(file.error());
    return readAll(*file);
  } catch (const std::bad_alloc&) {
    return failure(ENOMEM);
  }
}

}  // namespace wicket
