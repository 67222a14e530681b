// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "adapters/posix/PosixFileManager.h"
#include "adapters/posix/PosixSourceFile.h"
#include "tests/doubles/InMemoryFileManager.h"
#include "tests/doubles/InMemorySourceFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::contract {

using doubles::ItemKind;

/// The real files: a temporary folder, arranged and looked at by other means than the file manager.
class RealFiles {
 public:
  FileManager& files() { return files_; }
  [[nodiscard]] static std::expected<std::unique_ptr<SourceFile>, FileError> open(const std::string& path) {
    return posix::PosixSourceFile::open(path);
  }
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.path(name); }

  void addFile(const std::string& path, const std::string& content, unsigned permissions = 0644) {
    std::ofstream(path, std::ios::binary) << content;
    require(::chmod(path.c_str(), static_cast<mode_t>(permissions)) == 0, path);
  }
  void addDirectory(const std::string& path) { require(::mkdir(path.c_str(), 0755) == 0, path); }
  void addLink(const std::string& path, const std::string& target) { std::filesystem::create_symlink(target, path); }
  void addFifo(const std::string& path) { require(::mkfifo(path.c_str(), 0600) == 0, path); }

  [[nodiscard]] std::optional<ItemKind> kind(const std::string& path) const {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    if (S_ISDIR(status.st_mode)) return ItemKind::directory;
    if (S_ISLNK(status.st_mode)) return ItemKind::link;
    return S_ISFIFO(status.st_mode) ? ItemKind::fifo : ItemKind::file;
  }
  [[nodiscard]] std::optional<std::string> content(const std::string& path) const {
    if (kind(path) != ItemKind::file) return std::nullopt;
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }
  [[nodiscard]] std::optional<FileAttributes> attributes(const std::string& path) const {
    constexpr mode_t permissionBits = 07777;
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    return FileAttributes{
        .permissions = status.st_mode & permissionBits, .owner = status.st_uid, .group = status.st_gid};
  }
  [[nodiscard]] std::vector<std::string> entries(const std::string& path) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
  }

 private:
  static void require(bool done, const std::string& path) {
    if (!done) throw std::runtime_error("cannot arrange " + path);
  }

  support::TemporaryFolder folder_;
  PosixFileManager files_;
};

/// The double, arranged through its own test side.
class FilesInMemory {
 public:
  FilesInMemory() { files_.addDirectory("/box"); }

  FileManager& files() { return files_; }
  [[nodiscard]] std::expected<std::unique_ptr<SourceFile>, FileError> open(const std::string& path) {
    return sources_.open(path);
  }
  SourceFiles& sources() { return sources_; }
  [[nodiscard]] std::string at(const std::string& name) const { return "/box/" + name; }
  void write(const std::string& name, const std::string& content) { files_.write(at(name), content); }
  void exchange(const std::string& name, const std::string& content) {
    if (!files_.removeItem(at(name))) throw std::runtime_error("cannot remove " + name);
    addFile(at(name), content);
  }

  void addFile(const std::string& path, const std::string& content, unsigned permissions = 0644) {
    files_.addFile(path, content, permissions);
  }
  void addDirectory(const std::string& path) { files_.addDirectory(path); }
  void addLink(const std::string& path, const std::string& target) { files_.addLink(path, target); }
  void addFifo(const std::string& path) { files_.addFifo(path); }

  [[nodiscard]] std::optional<ItemKind> kind(const std::string& path) const {
    const auto item = files_.item(path);
    return item ? std::optional(item->kind) : std::nullopt;
  }
  [[nodiscard]] std::optional<std::string> content(const std::string& path) const { return files_.content(path); }
  [[nodiscard]] std::optional<FileAttributes> attributes(const std::string& path) const {
    return files_.attributes(path);
  }
  [[nodiscard]] std::vector<std::string> entries(const std::string& path) const { return files_.entries(path); }

 private:
  doubles::InMemoryFileManager files_;
  doubles::InMemorySourceFiles sources_{files_};
};

/// Opens and copies: what an installation does with a question in between.
template <typename World>
FileManager::Result copyItem(World& world, const std::string& source, const std::string& destination) {
  const auto file = world.open(source);
  if (!file) return std::unexpected(file.error());
  return world.files().copyItem(**file, destination);
}

}  // namespace wicket::contract
