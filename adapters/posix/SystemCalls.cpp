// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/posix/SystemCalls.h"

#include <cerrno>
#include <fcntl.h>
#include <stdio.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace wicket::posix {
namespace {

// For file systems without the exclusive rename: a hard link refuses to replace anything too.
int linkThenUnlink(Place from, Place to) {
  if (::linkat(from.folder, from.name, to.folder, to.name, 0) != 0) return errno;
  return ::unlinkat(from.folder, from.name, 0) == 0 ? 0 : errno;
}

// Some file systems cannot sync a folder and say EINVAL; there is nothing more to do on them.
int syncToDevice(int file) { return ::fsync(file) == 0 || errno == EINVAL ? 0 : errno; }

bool isUnsupported(int error) { return error == EINVAL || error == ENOSYS || error == ENOTSUP; }

}  // namespace

#ifdef __APPLE__

int closeOtherDescriptors(posix_spawn_file_actions_t&, posix_spawnattr_t& attributes) {
  short flags = 0;
  if (const int error = ::posix_spawnattr_getflags(&attributes, &flags); error != 0) return error;
  return ::posix_spawnattr_setflags(&attributes, static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT));
}

int renameWithoutReplacing(Place from, Place to) {
  if (::renameatx_np(from.folder, from.name, to.folder, to.name, RENAME_EXCL) == 0) return 0;
  return isUnsupported(errno) ? linkThenUnlink(from, to) : errno;
}

int openUnnamedFile(int) {
  errno = ENOTSUP;
  return -1;
}

int giveName(int, Place) { return ENOTSUP; }

int syncToDisk(int file) {
  // fsync leaves the data in the disk's own cache. File systems of other makers may know only that.
  if (::fcntl(file, F_FULLFSYNC) == 0) return 0;
  return syncToDevice(file);
}

#else

int closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t&) {
  return ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
}

int renameWithoutReplacing(Place from, Place to) {
  if (::renameat2(from.folder, from.name, to.folder, to.name, RENAME_NOREPLACE) == 0) return 0;
  return isUnsupported(errno) ? linkThenUnlink(from, to) : errno;
}

int openUnnamedFile(int folder) {
  const int file = ::openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
  // What a file system or a kernel without such files says.
  if (file < 0 && (errno == EISDIR || errno == ENOENT || errno == EINVAL)) errno = ENOTSUP;
  return file;
}

int giveName(int file, Place to) {
  // By the descriptor alone: on older kernels that takes a capability, and without it the file seems not to be there.
  if (::linkat(file, "", to.folder, to.name, AT_EMPTY_PATH) == 0) return 0;
  if (errno != ENOENT) return errno;
  const std::string own = "/proc/self/fd/" + std::to_string(file);
  return ::linkat(AT_FDCWD, own.c_str(), to.folder, to.name, AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

int syncToDisk(int file) { return syncToDevice(file); }

#endif

}  // namespace wicket::posix
