// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/TreeRemoval.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

#include "adapters/posix/FileFailure.h"
#include "base/system/Descriptor.h"

namespace wicket::posix {
namespace {

using Result = FileManager::Result;

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

bool isDots(const std::string& name) { return name == "." || name == ".."; }

/// One walk. It stands in a single directory at a time and comes back up through "..", so that
/// neither descriptors nor stack grow with the depth. Whatever a directory held before the point of
/// return is gone by then, so reading it anew continues where it was left.
class Walk {
 public:
  [[nodiscard]] Result run(const std::string& path) {
    if (auto result = enter(AT_FDCWD, path); !result) return result;
    for (;;) {
      const auto child = removeEntries();
      if (!child) return std::unexpected(child.error());
      if (!child->empty()) {
        if (auto result = enter(descriptor(), *child); !result) return result;
        continue;
      }
      if (levels_.size() == 1) return {};
      if (auto result = leave(); !result) return result;
    }
  }

 private:
  struct Level {
    std::string name;
    dev_t device;
    ino_t inode;
  };

  [[nodiscard]] int descriptor() const { return ::dirfd(directory_.get()); }

  // Removes what can be removed at once; stops at the name of a directory that has to be emptied
  // first, or with an empty name at the end.
  std::expected<std::string, FileError> removeEntries() {
    for (bool removedAny = false;;) {
      errno = 0;
      const dirent* entry = ::readdir(directory_.get());
      if (entry == nullptr && errno != 0) return lastError();
      if (entry == nullptr && !removedAny) return std::string();
      if (entry == nullptr) {
        // Some file systems skip entries while others are being removed.
        ::rewinddir(directory_.get());
        removedAny = false;
        continue;
      }
      std::string name = &entry->d_name[0];
      if (isDots(name)) continue;
      const auto removed = remove(name);
      if (!removed && (removed.error().number == ENOTEMPTY || removed.error().number == EEXIST)) return name;
      if (!removed) return std::unexpected(removed.error());
      removedAny = true;
    }
  }

  Result remove(const std::string& name) {
    struct stat status{};
    if (::fstatat(descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return lastError();
    const int flags = S_ISDIR(status.st_mode) ? AT_REMOVEDIR : 0;
    if (::unlinkat(descriptor(), name.c_str(), flags) != 0) return lastError();
    return {};
  }

  Result enter(int parent, const std::string& name) {
    struct stat status{};
    if (auto result = open(parent, name, status); !result) return result;
    if (!levels_.empty() && status.st_dev != levels_.front().device) return failure(EXDEV);
    levels_.push_back({name, status.st_dev, status.st_ino});
    return {};
  }

  Result leave() {
    const std::string name = std::move(levels_.back().name);
    levels_.pop_back();
    struct stat status{};
    if (auto result = open(descriptor(), "..", status); !result) return result;
    // Somebody may have moved the directory meanwhile; what lies above it then is not ours.
    const bool moved = status.st_dev != levels_.back().device || status.st_ino != levels_.back().inode;
    if (moved) return failure(ENOENT);
    if (::unlinkat(descriptor(), name.c_str(), AT_REMOVEDIR) != 0) return lastError();
    return {};
  }

  Result open(int parent, const std::string& name, struct stat& status) {
    Descriptor opened(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0) return lastError();
    Directory directory(::fdopendir(opened.get()));
    if (!directory) return lastError();
    std::ignore = opened.release();
    directory_ = std::move(directory);
    return {};
  }

  Directory directory_;
  std::vector<Level> levels_;
};

}  // namespace

FileManager::Result emptyDirectory(const std::string& path) { return Walk().run(path); }

}  // namespace wicket::posix
