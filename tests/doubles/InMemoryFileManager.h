// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "helper/platform/FileManager.h"
#include "helper/platform/SourceFiles.h"
#include "tests/doubles/InMemoryTree.h"

namespace wicket::doubles {

enum class FileOperation { fileExists, createDirectory, copyItem, setAttributes, removeItem, readFile };

/// One call that reached the file manager, failed ones included.
struct FileCall {
  FileOperation operation;
  std::string path;
  friend bool operator==(const FileCall&, const FileCall&) = default;
};

/// Files in memory, starting with an empty "/". The test builds the tree with the add functions,
/// makes operations fail with fail(), and looks at the result and the calls afterwards.
class InMemoryFileManager : public FileManager {
 public:
  // --- The test's side. The add functions throw when the parent directory is missing. ---

  void addFile(const std::string& path, std::string content, unsigned permissions = 0644) {
    add(path, {.kind = ItemKind::file, .permissions = permissions, .content = std::move(content)});
  }
  void addDirectory(const std::string& path, unsigned permissions = 0755) {
    add(path, {.kind = ItemKind::directory, .permissions = permissions});
  }
  void addLink(const std::string& path, std::string target) {
    add(path, {.kind = ItemKind::link, .permissions = 0777, .content = std::move(target)});
  }
  void addFifo(const std::string& path) { add(path, {.kind = ItemKind::fifo, .permissions = 0600}); }

  /// From now on @p operation fails with @p number for exactly this path as the caller writes it:
  /// for removeItem also an entry met on the way through a directory. For fileExists any number makes the answer false.
  void fail(FileOperation operation, const std::string& path, int number) {
    const std::scoped_lock lock(mutex_);
    failures_[{operation, path}] = number;
  }
  void succeed(FileOperation operation, const std::string& path) {
    const std::scoped_lock lock(mutex_);
    failures_.erase({operation, path});
  }

  /// The item at @p path itself (links are not followed), by value; none when nothing is there.
  [[nodiscard]] std::optional<Item> item(const std::string& path) const {
    const std::scoped_lock lock(mutex_);
    const auto found = tree_.lookUp(path, InMemoryTree::LastLink::itself);
    return found ? std::optional(**found) : std::nullopt;
  }
  /// The regular file that @p path leads to, whatever its name comes to mean later.
  [[nodiscard]] InMemoryTree::Found regularItem(const std::string& path) const {
    const std::scoped_lock lock(mutex_);
    return regularFile(path);
  }
  /// Gives the file at @p path another content, as its owner can at any time.
  void write(const std::string& path, std::string content) {
    const std::scoped_lock lock(mutex_);
    if (const auto file = regularFile(path)) {
      (*file)->content = std::move(content);
    } else {
      addLocked(path, {.kind = ItemKind::file, .permissions = 0644, .content = std::move(content)});
    }
  }
  [[nodiscard]] std::optional<std::string> content(const std::string& path) const {
    const auto found = item(path);
    return found && found->kind == ItemKind::file ? std::optional(found->content) : std::nullopt;
  }
  [[nodiscard]] std::optional<FileAttributes> attributes(const std::string& path) const {
    const auto found = item(path);
    if (!found) return std::nullopt;
    return FileAttributes{.permissions = found->permissions, .owner = found->owner, .group = found->group};
  }
  [[nodiscard]] std::vector<std::string> entries(const std::string& path) const {
    std::vector<std::string> names;
    if (const auto found = item(path)) {
      for (const auto& [name, entry] : found->entries) names.push_back(name);
    }
    return names;
  }
  [[nodiscard]] std::vector<FileCall> calls() const {
    const std::scoped_lock lock(mutex_);
    return calls_;
  }

  // --- The seam. ---

  [[nodiscard]] bool fileExists(const std::string& path) override {
    const std::scoped_lock lock(mutex_);
    if (!begin({FileOperation::fileExists, path})) return false;
    return tree_.lookUp(path, InMemoryTree::LastLink::followed).has_value();
  }

  [[nodiscard]] Result createDirectory(const std::string& path, const FileAttributes& attributes) override {
    const std::scoped_lock lock(mutex_);
    if (const auto begun = begin({FileOperation::createDirectory, path}); !begun) return begun;
    const auto place = freePlace(path);
    if (!place) return std::unexpected(place.error());
    Item item{.kind = ItemKind::directory, .permissions = attributes.permissions};
    item.owner = attributes.owner;
    item.group = attributes.group;
    InMemoryTree::add(*place, std::move(item));
    return {};
  }

  [[nodiscard]] Result copyItem(SourceFile& source, const std::string& destination) override {
    const std::scoped_lock lock(mutex_);
    if (const auto begun = begin({FileOperation::copyItem, destination}); !begun) return begun;
    const auto place = freePlace(destination);
    if (!place) return std::unexpected(place.error());
    if (place->trailingSlash) return failure(EISDIR);
    std::string content;
    std::array<std::byte, 4096> buffer{};
    for (;;) {
      const auto count = source.read(buffer);
      if (!count) return std::unexpected(count.error());
      if (*count == 0) break;
      for (const std::byte byte : std::span(buffer).first(*count)) content += std::to_integer<char>(byte);
    }
    InMemoryTree::add(*place, {.kind = ItemKind::file,
                               .permissions = source.permissions() & copiedPermissions,
                               .content = std::move(content)});
    return {};
  }

  [[nodiscard]] Result setAttributes(const std::string& path, const FileAttributes& attributes) override {
    const std::scoped_lock lock(mutex_);
    if (const auto begun = begin({FileOperation::setAttributes, path}); !begun) return begun;
    const auto found = tree_.lookUp(path, InMemoryTree::LastLink::followed);
    if (!found) return std::unexpected(found.error());
    (*found)->permissions = attributes.permissions;
    (*found)->owner = attributes.owner;
    (*found)->group = attributes.group;
    return {};
  }

  [[nodiscard]] Result removeItem(const std::string& path) override {
    const std::scoped_lock lock(mutex_);
    if (const auto begun = begin({FileOperation::removeItem, path}); !begun) return begun;
    const auto found = tree_.lookUp(path, InMemoryTree::LastLink::itself);
    if (!found) return std::unexpected(found.error());
    const auto place = tree_.placeOf(path);
    if (!place) return std::unexpected(place.error());
    return removeFound(path, *found, *place);
  }

  [[nodiscard]] std::expected<std::string, FileError> readFile(const std::string& path) override {
    const std::scoped_lock lock(mutex_);
    if (const auto begun = begin({FileOperation::readFile, path}); !begun) return std::unexpected(begun.error());
    const auto file = regularFile(path);
    if (!file) return std::unexpected(file.error());
    return (*file)->content;
  }

 private:
  static constexpr unsigned copiedPermissions = 0755;

  static std::unexpected<FileError> failure(int number) { return std::unexpected(FileError{number}); }

  void add(const std::string& path, Item item) {
    const std::scoped_lock lock(mutex_);
    addLocked(path, std::move(item));
  }

  void addLocked(const std::string& path, Item item) {
    const auto place = tree_.placeOf(path);
    if (!place) throw std::invalid_argument("no directory to hold " + path);
    InMemoryTree::add(*place, std::move(item));
  }

  Result begin(FileCall call) {
    calls_.push_back(call);
    return injected(call.operation, call.path);
  }

  [[nodiscard]] Result injected(FileOperation operation, const std::string& path) const {
    const auto found = failures_.find({operation, path});
    return found == failures_.end() ? Result() : Result(failure(found->second));
  }

  [[nodiscard]] InMemoryTree::Found regularFile(const std::string& path) const {
    auto found = tree_.lookUp(path, InMemoryTree::LastLink::followed);
    if (found && (*found)->kind == ItemKind::directory) return failure(EISDIR);
    if (found && (*found)->kind != ItemKind::file) return failure(EINVAL);
    return found;
  }

  [[nodiscard]] std::expected<InMemoryTree::Place, FileError> freePlace(const std::string& path) const {
    const auto place = tree_.placeOf(path);
    if (!place) return place;
    const bool taken = place->name.empty() || place->name == "." || place->name == ".." ||
                       place->directory->entries.contains(place->name);
    if (taken) return failure(EEXIST);
    return place;
  }

  Result removeFound(const std::string& path, const std::shared_ptr<Item>& item, const InMemoryTree::Place& place) {
    if (item->kind != ItemKind::directory) {
      place.directory->entries.erase(place.name);
      return {};
    }
    if (place.name.empty()) return failure(EBUSY);
    if (place.name == ".") return failure(EINVAL);
    if (place.name != ".." && place.directory->entries.at(place.name) != item) return failure(ENOTDIR);
    if (auto emptied = empty(path, *item); !emptied) return emptied;
    // The path led through the directory that is now gone.
    if (place.name == "..") return failure(ENOENT);
    place.directory->entries.erase(place.name);
    return {};
  }

  Result empty(const std::string& path, Item& directory) {
    while (!directory.entries.empty()) {
      const auto first = directory.entries.begin();
      const std::string entryPath = path + (path.ends_with('/') ? "" : "/") + first->first;
      if (auto result = injected(FileOperation::removeItem, entryPath); !result) return result;
      if (auto result = empty(entryPath, *first->second); !result) return result;
      directory.entries.erase(first);
    }
    return {};
  }

  mutable std::mutex mutex_;
  InMemoryTree tree_;
  std::map<std::pair<FileOperation, std::string>, int> failures_;
  std::vector<FileCall> calls_;
};

}  // namespace wicket::doubles
