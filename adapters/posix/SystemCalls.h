// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <spawn.h>

namespace wicket::posix {

// The calls that POSIX systems spell differently. Each one returns 0 or an errno.

/// Makes a child that is spawned with these settings start with no descriptors but 0, 1 and 2. To
/// be called after the actions that place those three.
[[nodiscard]] int closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t& attributes);

/// A name in an open folder.
struct Place {
  int folder;
  const char* name;
};

/// Renames @p from to @p to, both on one file system, atomically; EEXIST when something stands at @p to.
[[nodiscard]] int renameWithoutReplacing(Place from, Place to);

/// A new empty file in an open folder that has no name yet, opened for writing by its owner alone; below 0, with errno
/// set to ENOTSUP, where the system or the file system has no such files.
[[nodiscard]] int openUnnamedFile(int folder);

/// Gives a file of openUnnamedFile() its name; EEXIST when something stands there.
[[nodiscard]] int giveName(int file, Place to);

/// Returns once what was written to @p file, or into that folder, is on the disk and not merely in its cache. A file
/// system that has no way to do it is no error.
[[nodiscard]] int syncToDisk(int file);

}  // namespace wicket::posix
