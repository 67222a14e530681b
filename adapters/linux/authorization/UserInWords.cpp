// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/UserInWords.h"

#include <cerrno>
#include <optional>
#include <pwd.h>
#include <vector>

#include "base/text/QuotedName.h"

namespace wicket::linux_adapter {
namespace {

std::optional<std::string> nameOf(uid_t user) {
  constexpr std::size_t longestEntry = 1U << 20U;
  std::vector<char> room(1024);
  for (;;) {
    passwd entry{};
    passwd* found = nullptr;
    const int error = ::getpwuid_r(user, &entry, room.data(), room.size(), &found);
    if (error != ERANGE || room.size() >= longestEntry) {
      return error == 0 && found != nullptr ? std::optional<std::string>(found->pw_name) : std::nullopt;
    }
    room.resize(2 * room.size());
  }
}

}  // namespace

std::string userInWords(uid_t user) {
  const std::string number = std::to_string(user);
  return quotedName(nameOf(user).value_or(number)) + " (" + number + ")";
}

}  // namespace wicket::linux_adapter
