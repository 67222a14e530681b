// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/FileFacts.h"

#include <cerrno>

namespace wicket::companion::doctor {

namespace {

FileFacts factsFrom(const std::string& path, int error, const struct stat& status) {
  if (error != 0) return {path, error};
  return {path,
          0,
          status.st_mode,
          status.st_uid,
          status.st_gid,
          status.st_nlink,
          status.st_ctim.tv_sec,
          status.st_ctim.tv_nsec};
}

}  // namespace

FileFacts FileFacts::of(const std::string& path) {
  struct stat status{};
  const int error = ::stat(path.c_str(), &status) == 0 ? 0 : errno;
  return factsFrom(path, error, status);
}

FileFacts FileFacts::of(int descriptor, const std::string& path, int error) {
  struct stat status{};
  if (descriptor >= 0) error = ::fstat(descriptor, &status) == 0 ? 0 : errno;
  return factsFrom(path, error, status);
}

}  // namespace wicket::companion::doctor
