// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/StagedScript.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>

#include "base/system/Descriptor.h"
#include "base/text/DisplayText.h"
#include "companion/CleanUp.h"

namespace wicket::companion {

namespace {

std::optional<std::string> makeFolderIn(const std::string& parent) {
  std::string path = parent + "/wicket-XXXXXX";
  if (!parent.starts_with('/') || !clean_up::survives(path)) return std::nullopt;
  if (::mkdtemp(path.data()) == nullptr) return std::nullopt;
  return path;
}

bool writeAll(int descriptor, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = ::write(descriptor, bytes, count);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

/// 0, or the error number.
int copyBytes(const std::string& from, const std::string& to) {
  const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!source.isOpen()) return errno;
  const Descriptor target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!target.isOpen()) return errno;
  std::array<char, 65536> buffer{};
  while (true) {
    const ssize_t count = ::read(source.get(), buffer.data(), buffer.size());
    if (count == 0) return 0;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 || !writeAll(target.get(), buffer.data(), static_cast<std::size_t>(count))) return errno;
  }
}

}  // namespace

std::vector<std::string> StagedScript::usualFolders() {
  std::vector<std::string> folders;
  if (const char* runtime = ::secure_getenv("XDG_RUNTIME_DIR"); runtime != nullptr) folders.emplace_back(runtime);
  folders.push_back("/run/user/" + std::to_string(::getuid()));
  folders.emplace_back("/tmp");
  return folders;
}

std::expected<StagedScript, Problem> StagedScript::copyOf(const std::string& path,
                                                          const std::vector<std::string>& folders) {
  for (const std::string& parent : folders) {
    auto folder = makeFolderIn(parent);
    if (!folder) continue;
    StagedScript staged(std::move(*folder));
    const int error = copyBytes(path, staged.path());
    if (error == 0) return staged;
    if (error != ENOSPC && error != EDQUOT) {
      return std::unexpected(Problem{"The file " + quotedText(path) + " cannot be copied: " + std::strerror(error),
                                     "Give it a path of plain letters, which needs no copy"});
    }
  }
  return std::unexpected(Problem{"No private folder could be made for a copy of " + quotedText(path),
                                 "Make room in /tmp, or give the file a path of plain letters"});
}

bool StagedScript::isNeededFor(const std::string& path) {
  return path.starts_with("/proc/") || path.starts_with("/dev/") || !clean_up::survives(path);
}

StagedScript::StagedScript(StagedScript&& other) noexcept : folder_(std::exchange(other.folder_, {})) {}

StagedScript::~StagedScript() {
  if (folder_.empty()) return;
  ::unlink(path().c_str());
  ::rmdir(folder_.c_str());
}

std::string StagedScript::path() const { return folder_ + "/script"; }

}  // namespace wicket::companion
