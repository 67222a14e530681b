// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/PrivateFolders.h"

#include <ranges>
#include <sys/mount.h>
#include <sys/stat.h>

namespace wicket::support {

PrivateFolders::~PrivateFolders() {
  for (const std::string& folder : folders_ | std::views::reverse) ::umount2(folder.c_str(), MNT_DETACH);
}

bool PrivateFolders::replace(const std::string& folder, const std::string& size) {
  ::mkdir(folder.c_str(), 0755);
  const std::string options = "mode=755" + (size.empty() ? std::string() : ",size=" + size);
  if (::mount("wicket-tests", folder.c_str(), "tmpfs", 0, options.c_str()) != 0) return false;
  folders_.push_back(folder);
  return true;
}

}  // namespace wicket::support
