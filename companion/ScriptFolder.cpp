// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/ScriptFolder.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace wicket::companion {

std::expected<std::vector<InstalledScript>, Problem> installedScripts(const std::string& folder) {
  std::vector<InstalledScript> scripts;
  std::error_code failure;
  for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    struct stat status{};
    // An entry that vanished while the folder was read is no longer installed.
    if (::lstat(entry->path().c_str(), &status) != 0 || S_ISDIR(status.st_mode)) continue;
    scripts.push_back({entry->path().filename().string(), static_cast<std::uint64_t>(status.st_size), status.st_mtime});
  }
  if (failure && failure != std::errc::no_such_file_or_directory) {
    return std::unexpected(Problem{"The script folder " + folder + " cannot be read: " + failure.message(),
                                   "Ask an administrator to look at it"});
  }
  std::ranges::sort(scripts, {}, &InstalledScript::name);
  return scripts;
}

}  // namespace wicket::companion
