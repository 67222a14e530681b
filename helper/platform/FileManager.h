// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <expected>
#include <string>

namespace wicket {

/// Why a file operation failed. Callers of this system report no more than that it did; the error
/// number is the platform's errno, for tests and diagnosis.
struct FileError {
  int number;
  friend bool operator==(FileError, FileError) = default;
};

/// Permission bits, owner and group to give to an item. The helper only ever gives things to root:
/// "wheel" is the group with the number 0, whatever a system calls it.
struct FileAttributes {
  unsigned permissions;  ///< as for chmod(2), e.g. 0755
  unsigned owner = 0;
  unsigned group = 0;
  friend bool operator==(const FileAttributes&, const FileAttributes&) = default;
};

class SourceFile;

/// Files by path, each path passed to the system as written. A path with an embedded NUL names
/// nothing: it does not exist, and every operation on it fails with EINVAL. Any thread; the calls
/// block.
class FileManager {
 public:
  using Result = std::expected<void, FileError>;

  FileManager() = default;
  FileManager(const FileManager&) = delete;
  FileManager& operator=(const FileManager&) = delete;
  virtual ~FileManager() = default;

  /// stat(2) succeeds: links are followed, and anything counts, directories too.
  [[nodiscard]] virtual bool fileExists(const std::string& path) = 0;
  /// mkdir(2) without intermediate directories, then the attributes, exactly and whatever the
  /// umask. An attribute that cannot be set is ignored; anything already at @p path is an error.
  [[nodiscard]] virtual Result createDirectory(const std::string& path, const FileAttributes& attributes) = 0;
  /// Copies the content of an open file. Whatever stands at @p destination, even a dangling link, is an
  /// error (EEXIST), and so is a source that cannot be read to its end. The copy appears under its name
  /// complete and synced or not at all, belongs to the caller, and has the source's permissions without the
  /// set-id bits and without write access for group and others.
  [[nodiscard]] virtual Result copyItem(SourceFile& source, const std::string& destination) = 0;
  /// chown(2) and chmod(2), following links. With owner-write in the permissions the mode is set
  /// first, otherwise last. Stops at the first failure and leaves what was done.
  [[nodiscard]] virtual Result setAttributes(const std::string& path, const FileAttributes& attributes) = 0;
  /// Removes an item; a directory with its contents, post-order, without following links or leaving
  /// the file system, stopping at the first error and leaving what was removed. No path is special.
  [[nodiscard]] virtual Result removeItem(const std::string& path) = 0;
  /// The whole content as bytes; links are followed. A directory is an error (EISDIR), and so is
  /// anything but a regular file (EINVAL), so that no call ever waits for a FIFO's writer.
  [[nodiscard]] virtual std::expected<std::string, FileError> readFile(const std::string& path) = 0;
};

}  // namespace wicket
