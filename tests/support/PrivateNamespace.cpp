// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/PrivateNamespace.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace wicket::support {
namespace {

constexpr char reachableFolder[] = "/mnt";

std::string failed(const std::string& what) { return what + ": " + std::strerror(errno); }

/// A bind mount of the file behind @p descriptor onto a new, empty file.
bool bind(int descriptor, const std::string& target) {
  const int created = ::open(target.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
  if (created < 0) return false;
  ::close(created);
  const std::string source = "/proc/self/fd/" + std::to_string(descriptor);
  return ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

}  // namespace

std::optional<std::string> PrivateNamespace::enter() {
  if (::unshare(CLONE_NEWNS) != 0) return failed("the kernel gives this process no mount namespace");
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return failed("mounts cannot be made private");
  return std::nullopt;
}

std::vector<std::string> PrivateNamespace::keepReachable(const std::vector<std::string>& files) {
  // All are opened first: the folder that is mounted over may hold the build.
  std::vector<int> descriptors;
  for (const std::string& file : files) descriptors.push_back(::open(file.c_str(), O_PATH | O_CLOEXEC));

  std::vector<std::string> paths;
  bool done = ::mount("wicket-tests", reachableFolder, "tmpfs", 0, "mode=755") == 0;
  for (std::size_t i = 0; i < files.size() && done; ++i) {
    paths.push_back(reachableFolder / std::filesystem::path(files[i]).filename());
    done = descriptors[i] >= 0 && bind(descriptors[i], paths.back());
    if (!done) std::perror(files[i].c_str());
  }
  for (const int descriptor : descriptors) {
    if (descriptor >= 0) ::close(descriptor);
  }
  return done ? paths : std::vector<std::string>{};
}

}  // namespace wicket::support
