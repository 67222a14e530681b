// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>
#include <cstddef>
#include <deque>
#include <expected>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "helper/platform/FileManager.h"

namespace wicket::doubles {

enum class ItemKind { file, directory, link, fifo };

/// One item of an in-memory file tree.
struct Item {
  ItemKind kind;
  unsigned permissions;
  unsigned owner = 0;
  unsigned group = 0;
  std::string content{};  ///< of a file; of a link: its target
  std::map<std::string, std::shared_ptr<Item>> entries{};
  std::weak_ptr<Item> parent{};
};

/// A file tree that resolves paths the way the system does: links, ".", "..", doubled and trailing
/// slashes, and the error numbers of each failure. Relative paths start at the root.
class InMemoryTree {
 public:
  using Found = std::expected<std::shared_ptr<Item>, FileError>;
  enum class LastLink { followed, itself };

  /// Where an entry stands or could stand: a directory and a name in it.
  struct Place {
    std::shared_ptr<Item> directory;
    std::string name;
    bool trailingSlash;
  };

  InMemoryTree() { root_->parent = root_; }

  [[nodiscard]] Found lookUp(std::string_view path, LastLink lastLink) const {
    if (path.empty()) return failure(ENOENT);
    if (path.contains('\0')) return failure(EINVAL);
    auto pending = components(path);
    const bool mustBeDirectory = path.ends_with('/');
    auto item = root_;
    for (int links = 0; !pending.empty();) {
      const std::string name = std::move(pending.front());
      pending.pop_front();
      auto child = step(item, name);
      if (!child) return child;
      const bool follow = !pending.empty() || mustBeDirectory || lastLink == LastLink::followed;
      if ((*child)->kind != ItemKind::link || !follow) {
        item = *child;
        continue;
      }
      if (++links > maximumLinks) return failure(ELOOP);
      const auto target = components((*child)->content);
      pending.insert(pending.begin(), target.begin(), target.end());
      if ((*child)->content.starts_with('/')) item = root_;
    }
    if (mustBeDirectory && item->kind != ItemKind::directory) return failure(ENOTDIR);
    return item;
  }

  [[nodiscard]] std::expected<Place, FileError> placeOf(std::string_view path) const {
    if (path.empty()) return failure(ENOENT);
    if (path.contains('\0')) return failure(EINVAL);
    const bool trailingSlash = path.ends_with('/');
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    const std::size_t slash = path.rfind('/');
    const std::string_view folder = slash == std::string_view::npos ? "/" : path.substr(0, slash + 1);
    const auto directory = lookUp(folder, LastLink::followed);
    if (!directory) return std::unexpected(directory.error());
    const std::string name(path.substr(slash == std::string_view::npos ? 0 : slash + 1));
    if (name.size() > longestName) return failure(ENAMETOOLONG);
    return Place{*directory, name, trailingSlash};
  }

  static std::shared_ptr<Item> add(const Place& place, Item item) {
    auto added = std::make_shared<Item>(std::move(item));
    added->parent = place.directory;
    place.directory->entries[place.name] = added;
    return added;
  }

 private:
  static constexpr int maximumLinks = 40;
  static constexpr std::size_t longestName = 255;

  static std::unexpected<FileError> failure(int number) { return std::unexpected(FileError{number}); }

  static std::deque<std::string> components(std::string_view path) {
    std::deque<std::string> names;
    while (!path.empty()) {
      const std::size_t slash = path.find('/');
      if (slash != 0) names.emplace_back(path.substr(0, slash));
      if (slash == std::string_view::npos) break;
      path.remove_prefix(slash + 1);
    }
    return names;
  }

  static Found step(const std::shared_ptr<Item>& item, const std::string& name) {
    if (item->kind != ItemKind::directory) return failure(ENOTDIR);
    if (name.size() > longestName) return failure(ENAMETOOLONG);
    if (name == ".") return item;
    if (name == "..") return item->parent.lock();
    const auto found = item->entries.find(name);
    if (found == item->entries.end()) return failure(ENOENT);
    return found->second;
  }

  std::shared_ptr<Item> root_ = std::make_shared<Item>(Item{.kind = ItemKind::directory, .permissions = 0755});
};

}  // namespace wicket::doubles
