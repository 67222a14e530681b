// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/FileCopy.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <random>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/posix/RegularFile.h"
#include "adapters/posix/SystemCalls.h"
#include "system/Descriptor.h"

namespace wicket::posix {
namespace {

using Result = FileManager::Result;

constexpr mode_t copiedPermissions = 0755;
constexpr std::size_t bufferSize = std::size_t{256} * 1024;

std::unexpected<FileError> failure(int number) { return std::unexpected(FileError{number}); }

/// The folder of a new entry, held open so that the temporary file, the rename and the sync all
/// mean the same folder, and the entry's name.
struct NewEntry {
  Descriptor folder;
  std::string name;
};

std::expected<NewEntry, FileError> findPlace(const std::string& destination) {
  struct stat existing{};
  if (::lstat(destination.c_str(), &existing) == 0) return failure(EEXIST);
  // An empty path stays ENOENT and never means the current directory.
  if (errno != ENOENT || destination.empty()) return lastError();
  const std::size_t nameEnd = destination.find_last_not_of('/') + 1;
  const std::size_t nameStart = destination.rfind('/', nameEnd - 1) + 1;
  const std::string folder = nameStart == 0 ? "." : destination.substr(0, nameStart);
  NewEntry entry{Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
                 destination.substr(nameStart, nameEnd - nameStart)};
  if (!entry.folder.isOpen()) return lastError();
  // Only a directory may be named with a slash at the end.
  if (nameEnd != destination.size()) return failure(EISDIR);
  return entry;
}

/// A new file under a name nobody else uses, removed again unless it was given its final name.
class TemporaryFile {
 public:
  explicit TemporaryFile(int folder) : folder_(folder) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (descriptor_.isOpen() && !renamed_) ::unlinkat(folder_, name_.c_str(), 0);
  }

  [[nodiscard]] Result create() {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
      name_ = randomName();
      descriptor_ = Descriptor(
          ::openat(folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
      if (descriptor_.isOpen()) return {};
      if (errno != EEXIST) return lastError();
    }
    return failure(EEXIST);
  }

  [[nodiscard]] Result renameTo(const std::string& name) {
    if (const int error = renameWithoutReplacing(folder_, name_, name); error != 0) return failure(error);
    renamed_ = true;
    return {};
  }

  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

 private:
  static std::string randomName() {
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int length = 12;
    std::random_device source;
    std::uniform_int_distribution<std::size_t> pick(0, letters.size() - 1);
    std::string name = ".wicket.";
    for (int i = 0; i < length; ++i) name += letters[pick(source)];
    return name;
  }

  int folder_;
  std::string name_;
  Descriptor descriptor_;
  bool renamed_ = false;
};

Result writeAll(int descriptor, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = ::write(descriptor, bytes, count);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
  return {};
}

Result copyContent(int source, int destination) {
  const auto buffer = std::make_unique<std::array<char, bufferSize>>();
  for (;;) {
    const ssize_t count = ::read(source, buffer->data(), buffer->size());
    if (count == 0) return {};
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (auto written = writeAll(destination, buffer->data(), static_cast<std::size_t>(count)); !written) return written;
  }
}

Result sync(int file) {
  if (const int error = syncToDisk(file); error != 0) return failure(error);
  return {};
}

}  // namespace

FileManager::Result copyFile(const std::string& source, const std::string& destination) {
  if (!isRepresentable(destination)) return failure(EINVAL);
  const auto file = RegularFile::open(source);
  if (!file) return std::unexpected(file.error());
  const auto entry = findPlace(destination);
  if (!entry) return std::unexpected(entry.error());

  TemporaryFile copy(entry->folder.get());
  if (auto result = copy.create(); !result) return result;
  if (auto result = copyContent(file->descriptor.get(), copy.descriptor()); !result) return result;
  if (::fchmod(copy.descriptor(), file->status.st_mode & copiedPermissions) != 0) return lastError();
  if (auto result = sync(copy.descriptor()); !result) return result;
  if (auto result = copy.renameTo(entry->name); !result) return result;
  if (auto result = sync(entry->folder.get()); !result) {
    ::unlinkat(entry->folder.get(), entry->name.c_str(), 0);
    return result;
  }
  return {};
}

}  // namespace wicket::posix
