// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/RegularFile.h"

#include <cerrno>
#include <fcntl.h>

namespace wicket::system {

std::expected<void, int> requireRegular(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return std::unexpected(EISDIR);
  if (!S_ISREG(status.st_mode)) return std::unexpected(EINVAL);
  return {};
}

std::expected<RegularFile, int> RegularFile::open(const std::string& path) {
  if (!isRepresentable(path)) return std::unexpected(EINVAL);
  RegularFile file{};
  // Before the open, because opening a device can have an effect; after it again, because the item
  // may have been replaced meanwhile.
  if (::stat(path.c_str(), &file.status) != 0) return std::unexpected(errno);
  if (const auto regular = requireRegular(file.status); !regular) return std::unexpected(regular.error());
  file.descriptor = Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.descriptor.isOpen()) return std::unexpected(errno);
  if (::fstat(file.descriptor.get(), &file.status) != 0) return std::unexpected(errno);
  if (const auto regular = requireRegular(file.status); !regular) return std::unexpected(regular.error());
  return file;
}

bool isRepresentable(const std::string& path) { return !path.contains('\0'); }

}  // namespace wicket::system
