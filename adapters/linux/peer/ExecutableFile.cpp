// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/ExecutableFile.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/statvfs.h>
#include <sys/xattr.h>

#include "admission/Checks.h"
#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {
namespace {

/// The file is held without being opened, so that no device and no pipe notices, and nothing waits.
class HeldFile final : public admission::ExecutableFacts {
 public:
  HeldFile(const std::string& path, gid_t group) : group_(group), held_(::open(path.c_str(), O_PATH | O_CLOEXEC)) {
    if (!held_.isOpen() || ::fstat(held_.get(), &status_) != 0) ShortageWatch::note();
  }

  /// Not if it cannot be seen.
  bool isRegular() override { return S_ISREG(status_.st_mode); }
  std::uint32_t owner() override { return status_.st_uid; }
  bool isOfCompanionGroup() override { return status_.st_gid == group_; }
  std::uint32_t permissions() override { return status_.st_mode & 07777U; }
  std::uint64_t links() override { return status_.st_nlink; }
  bool isOnMountWithSetGroup() override {
    struct statvfs fileSystem{};
    return ::fstatvfs(held_.get(), &fileSystem) == 0 && (fileSystem.f_flag & ST_NOSUID) == 0;
  }
  bool hasAccessControlList() override {
    const std::string path = link();
    if (::getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) >= 0) return true;
    return errno != ENODATA && errno != EOPNOTSUPP;
  }

  [[nodiscard]] const struct stat& status() const { return status_; }
  [[nodiscard]] Descriptor openForReading() const {
    return Descriptor(::open(link().c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  }

 private:
  [[nodiscard]] std::string link() const { return "/proc/self/fd/" + std::to_string(held_.get()); }

  const gid_t group_;
  const Descriptor held_;
  struct stat status_{};
};

}  // namespace

std::optional<ExecutableFile> ExecutableFile::ofProcess(const ProcessFiles& process, gid_t group) {
  HeldFile held(process.path("exe"), group);
  if (admission::firstRefusal(held)) return std::nullopt;
  Descriptor opened = held.openForReading();
  if (!opened.isOpen()) {
    ShortageWatch::note();
    return std::nullopt;
  }
  ExecutableFile file(std::move(opened), held.status());
  return file.isUnchanged() ? std::optional(std::move(file)) : std::nullopt;
}

bool ExecutableFile::isUnchanged() const {
  struct stat now{};
  return ::fstat(descriptor_.get(), &now) == 0 && FileIdentity::of(now) == FileIdentity::of(status_);
}

}  // namespace wicket::linux_adapter
