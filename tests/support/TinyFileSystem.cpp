// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/TinyFileSystem.h"

#include <future>
#include <sched.h>
#include <sys/mount.h>

#include "tests/support/TemporaryFolder.h"

namespace wicket::support {
namespace {

bool mountPrivately(const std::string& path, std::size_t bytes) {
  if (::unshare(CLONE_NEWNS) != 0) return false;
  // Or the mount would show up in the namespace that this one was copied from.
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  const std::string options = "size=" + std::to_string(bytes);
  return ::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

}  // namespace

bool withTinyFileSystem(std::size_t bytes, const std::function<void(const std::string& path)>& body) {
  const TemporaryFolder folder;
  // What the body throws reaches the test.
  return std::async(std::launch::async,
                    [&] {
                      const bool mounted = mountPrivately(folder.path(), bytes);
                      if (mounted) body(folder.path());
                      return mounted;
                    })
      .get();
}

}  // namespace wicket::support
