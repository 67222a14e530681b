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
#include <span>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/posix/FileFailure.h"
#include "adapters/posix/SystemCalls.h"
#include "base/system/Descriptor.h"
#include "base/system/ReadWrite.h"
#include "base/system/RegularFile.h"

namespace wicket::posix {
namespace {

using Result = FileManager::Result;

constexpr mode_t copiedPermissions = 0755;
constexpr std::size_t bufferSize = std::size_t{256} * 1024;

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

/// A new file that goes away again unless it is given its final name. It has none until then, so that nobody can get
/// at it and nothing is left should this process be killed. Where the system has no such files it is in a folder of its
/// own, which only its owner can enter: then half a file may stay in there, and nowhere beside the whole ones.
class TemporaryFile {
 public:
  explicit TemporaryFile(int place) : place_(place) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (folder_.isOpen() && descriptor_.isOpen() && !renamed_) ::unlinkat(folder_.get(), fileName, 0);
    if (folder_.isOpen()) ::unlinkat(place_, folderName_.c_str(), AT_REMOVEDIR);
  }

  [[nodiscard]] Result create() {
    descriptor_ = Descriptor(openUnnamedFile(place_));
    if (descriptor_.isOpen()) return {};
    return errno == ENOTSUP ? createInFolder() : lastError();
  }

  [[nodiscard]] Result nameIt(const std::string& name) {
    const Place place{place_, name.c_str()};
    const int error = folder_.isOpen() ? renameWithoutReplacing({folder_.get(), fileName}, place)
                                       : giveName(descriptor_.get(), place);
    if (error != 0) return failure(error);
    renamed_ = true;
    return {};
  }

  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

 private:
  static constexpr char fileName[] = "copy";

  [[nodiscard]] Result createInFolder() {
    if (auto result = createFolder(); !result) return result;
    folder_ = Descriptor(::openat(place_, folderName_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder_.isOpen()) return lastErrorWithoutFolder();
    descriptor_ = Descriptor(
        ::openat(folder_.get(), fileName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!descriptor_.isOpen()) return lastError();
    return {};
  }

  [[nodiscard]] Result createFolder() {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
      folderName_ = randomName();
      if (::mkdirat(place_, folderName_.c_str(), S_IRWXU) == 0) return {};
      if (errno != EEXIST) return lastError();
    }
    return failure(EEXIST);
  }

  [[nodiscard]] Result lastErrorWithoutFolder() const {
    const int error = errno;
    ::unlinkat(place_, folderName_.c_str(), AT_REMOVEDIR);
    return failure(error);
  }

  static std::string randomName() {
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int length = 12;
    std::random_device source;
    std::uniform_int_distribution<std::size_t> pick(0, letters.size() - 1);
    std::string name = ".wicket.";
    for (int i = 0; i < length; ++i) name += letters[pick(source)];
    return name;
  }

  int place_;
  std::string folderName_;
  Descriptor folder_;
  Descriptor descriptor_;
  bool renamed_ = false;
};

Result copyContent(SourceFile& source, int destination) {
  const auto buffer = std::make_unique<std::array<std::byte, bufferSize>>();
  for (;;) {
    const auto count = source.read(*buffer);
    if (!count) return std::unexpected(count.error());
    if (*count == 0) return {};
    const auto written = system::writeAll(destination, std::span(*buffer).first(*count));
    if (!written) return failure(written.error());
  }
}

Result sync(int file) {
  if (const int error = syncToDisk(file); error != 0) return failure(error);
  return {};
}

}  // namespace

FileManager::Result copyFile(SourceFile& source, const std::string& destination) {
  if (!system::isRepresentable(destination)) return failure(EINVAL);
  const auto entry = findPlace(destination);
  if (!entry) return std::unexpected(entry.error());

  TemporaryFile copy(entry->folder.get());
  if (auto result = copy.create(); !result) return result;
  if (auto result = copyContent(source, copy.descriptor()); !result) return result;
  if (::fchmod(copy.descriptor(), static_cast<mode_t>(source.permissions()) & copiedPermissions) != 0)
    return lastError();
  if (auto result = sync(copy.descriptor()); !result) return result;
  if (auto result = copy.nameIt(entry->name); !result) return result;
  if (auto result = sync(entry->folder.get()); !result) {
    ::unlinkat(entry->folder.get(), entry->name.c_str(), 0);
    return result;
  }
  return {};
}

}  // namespace wicket::posix
