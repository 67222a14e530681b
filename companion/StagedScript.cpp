// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/StagedScript.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/system/Descriptor.h"
#include "base/system/ReadWrite.h"
#include "base/system/RegularFile.h"
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

/// The error is an errno.
std::expected<void, int> copyBytes(const std::string& from, const std::string& to) {
  const auto source = system::RegularFile::open(from);
  if (!source) return std::unexpected(source.error());
  const Descriptor target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!target.isOpen()) return std::unexpected(errno);
  std::array<std::byte, 65536> buffer{};
  while (true) {
    const auto count = system::readSome(source->descriptor.get(), buffer);
    if (!count) return std::unexpected(count.error());
    if (*count == 0) return {};
    if (auto written = system::writeAll(target.get(), std::span(buffer).first(*count)); !written) return written;
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
    const auto copied = copyBytes(path, staged.path());
    if (copied) return staged;
    if (copied.error() != ENOSPC && copied.error() != EDQUOT) {
      return std::unexpected(
          Problem{"The file " + quotedText(path) + " cannot be copied: " + std::strerror(copied.error()),
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
