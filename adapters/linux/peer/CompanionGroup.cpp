// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/CompanionGroup.h"

#include <cerrno>
#include <cstddef>
#include <grp.h>
#include <vector>

#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {

std::optional<gid_t> groupNamed(const std::string& name) {
  constexpr std::size_t largestEntry = std::size_t{1} << 20U;
  group entry{};
  group* found = nullptr;
  for (std::vector<char> buffer(1024); buffer.size() <= largestEntry; buffer.resize(buffer.size() * 4)) {
    const int error = ::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE || error == EINTR) continue;
    errno = error;
    ShortageWatch::note();
    // The group of root is nobody's mark: everything that root runs has it.
    return found != nullptr && found->gr_gid != 0 ? std::optional(found->gr_gid) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace wicket::linux_adapter
