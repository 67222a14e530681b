// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "adapters/posix/Sha256.h"
#include "helper/platform/SourceFiles.h"
#include "tests/doubles/InMemoryFileManager.h"

namespace wicket::doubles {

/// An open file of the tree: it stays the same item whatever its name comes to mean.
class InMemorySourceFile : public SourceFile {
 public:
  explicit InMemorySourceFile(std::shared_ptr<const Item> item)
      : item_(std::move(item)), size_(item_->content.size()), digest_(digestOf(item_->content)) {}

  [[nodiscard]] static ContentDigest digestOf(const std::string& content) {
    posix::Sha256 hash;
    hash.update(std::as_bytes(std::span(content)));
    return hash.finish();
  }

  [[nodiscard]] std::uint64_t size() const override { return size_; }
  [[nodiscard]] const ContentDigest& digest() const override { return digest_; }
  [[nodiscard]] unsigned permissions() const override { return item_->permissions; }
  [[nodiscard]] std::expected<std::size_t, FileError> read(std::span<std::byte> buffer) override {
    const auto content = std::as_bytes(std::span(item_->content)).first(std::min(item_->content.size(), size_));
    const auto rest = content.subspan(std::min(offset_, content.size()));
    const auto piece = rest.first(std::min(buffer.size(), rest.size()));
    std::ranges::copy(piece, buffer.begin());
    offset_ += piece.size();
    if (piece.empty() && digestOf(item_->content) != digest_) return std::unexpected(FileError{ESTALE});
    return piece.size();
  }

  void changeTo(std::string content) {
    auto changed = std::make_shared<Item>(*item_);
    changed->content = std::move(content);
    item_ = std::move(changed);
  }

 private:
  std::shared_ptr<const Item> item_;
  const std::size_t size_;
  const ContentDigest digest_;
  std::size_t offset_ = 0;
};

/// The files of an InMemoryFileManager as its clients see them: all of them.
class InMemorySourceFiles : public SourceFiles {
 public:
  explicit InMemorySourceFiles(InMemoryFileManager& files) : files_(files) {}

  /// From now on every file that is opened has another content by the time it is read.
  void changeContentsTo(std::string content) {
    const std::scoped_lock lock(mutex_);
    laterContent_ = std::move(content);
  }
  [[nodiscard]] std::vector<std::string> opened() const {
    const std::scoped_lock lock(mutex_);
    return opened_;
  }

  [[nodiscard]] std::expected<std::unique_ptr<SourceFile>, FileError> open(const std::string& path) override {
    const std::scoped_lock lock(mutex_);
    opened_.push_back(path);
    const auto item = files_.regularItem(path);
    if (!item) return std::unexpected(item.error());
    auto file = std::make_unique<InMemorySourceFile>(*item);
    if (laterContent_) file->changeTo(*laterContent_);
    return file;
  }

 private:
  InMemoryFileManager& files_;
  mutable std::mutex mutex_;
  std::optional<std::string> laterContent_;
  std::vector<std::string> opened_;
};

}  // namespace wicket::doubles
