// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>

#include "adapters/linux/peer/CallingClient.h"
#include "adapters/linux/sources/ClientSourceFiles.h"
#include "tests/contract/FileWorlds.h"

namespace wicket::contract {
namespace {

using namespace std::string_literals;

/// Real files, opened for this very process as if it were a client.
class FilesOfAClient : public RealFiles {
 public:
  SourceFiles& sources() { return sources_; }

  void write(const std::string& name, const std::string& content) { addFile(at(name), content); }
  void exchange(const std::string& name, const std::string& content) {
    addFile(at("other"), content);
    if (std::rename(at("other").c_str(), at(name).c_str()) != 0) throw std::runtime_error("cannot rename");
  }

 private:
  linux_adapter::ClientSourceFiles sources_{WICKET_HELPER};
  const linux_adapter::CallingClient::Scope self_{{::getpid(), ::geteuid()}};
};

template <typename World>
class SourceFilesContract : public testing::Test {
 protected:
  std::unique_ptr<SourceFile> open(const std::string& name) {
    auto file = world_.sources().open(world_.at(name));
    EXPECT_TRUE(file.has_value()) << (file ? 0 : file.error().number);
    return file ? std::move(*file) : nullptr;
  }
  int errorOf(const std::string& path) {
    const auto file = world_.sources().open(path);
    return file ? 0 : file.error().number;
  }
  /// The content, or "error NUMBER" behind what was read until then.
  static std::string contentOf(SourceFile& file, std::size_t pieceLength = 7) {
    std::string content;
    std::vector<std::byte> buffer(pieceLength);
    for (;;) {
      const auto count = file.read(buffer);
      if (!count) return content + "error " + std::to_string(count.error().number);
      if (*count == 0) return content;
      std::ranges::transform(std::span(buffer).first(*count), std::back_inserter(content),
                             [](std::byte byte) { return std::to_integer<char>(byte); });
    }
  }

  World world_;
};

using SourceWorlds = testing::Types<FilesInMemory, FilesOfAClient>;
TYPED_TEST_SUITE(SourceFilesContract, SourceWorlds);

TYPED_TEST(SourceFilesContract, AFileTellsItsSizeItsDigestItsPermissionsAndItsContent) {
  const std::string content = "#!/bin/sh\n\0\xFF binary\n"s;
  this->world_.addFile(this->world_.at("file"), content, 0640);
  const auto file = this->open("file");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->size(), content.size());
  EXPECT_EQ(file->digest(), doubles::InMemorySourceFile::digestOf(content));
  EXPECT_EQ(file->permissions(), 0640U);
  EXPECT_EQ(this->contentOf(*file), content);
}

TYPED_TEST(SourceFilesContract, AnEmptyFileIsAFile) {
  this->world_.addFile(this->world_.at("file"), "");
  const auto file = this->open("file");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->size(), 0U);
  EXPECT_EQ(this->contentOf(*file), "");
}

TYPED_TEST(SourceFilesContract, ALinkLeadsToItsFile) {
  this->world_.addFile(this->world_.at("file"), "text");
  this->world_.addLink(this->world_.at("link"), "file");
  const auto file = this->open("link");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(this->contentOf(*file), "text");
}

TYPED_TEST(SourceFilesContract, OnlyARegularFileIsOpened) {
  this->world_.addDirectory(this->world_.at("folder"));
  this->world_.addFifo(this->world_.at("fifo"));
  this->world_.addLink(this->world_.at("dangling"), "missing");
  EXPECT_EQ(this->errorOf(this->world_.at("folder")), EISDIR);
  EXPECT_EQ(this->errorOf(this->world_.at("fifo")), EINVAL);
  EXPECT_EQ(this->errorOf(this->world_.at("dangling")), ENOENT);
  EXPECT_EQ(this->errorOf(this->world_.at("missing")), ENOENT);
  EXPECT_EQ(this->errorOf(""), ENOENT);
}

TYPED_TEST(SourceFilesContract, APathWithAnEmbeddedNulNamesNothing) {
  this->world_.addFile(this->world_.at("file"), "x");
  EXPECT_EQ(this->errorOf(this->world_.at("file") + "\0.sh"s), EINVAL);
}

TYPED_TEST(SourceFilesContract, AFileStaysTheOneThatWasOpened) {
  this->world_.write("file", "first");
  const auto file = this->open("file");
  ASSERT_NE(file, nullptr);
  this->world_.exchange("file", "second");
  EXPECT_EQ(this->contentOf(*file), "first");
}

TYPED_TEST(SourceFilesContract, WhatWasReadOfAContentThatHasChangedMustNotBeUsed) {
  this->world_.write("file", "first content");
  const auto file = this->open("file");
  ASSERT_NE(file, nullptr);
  this->world_.write("file", "other content");
  EXPECT_EQ(this->contentOf(*file), "other contenterror " + std::to_string(ESTALE));
}

TYPED_TEST(SourceFilesContract, OfAFileThatHasBecomeShorterTheEndIsAnError) {
  this->world_.write("file", "first content");
  const auto file = this->open("file");
  ASSERT_NE(file, nullptr);
  this->world_.write("file", "first");
  EXPECT_EQ(this->contentOf(*file), "firsterror " + std::to_string(ESTALE));
}

TYPED_TEST(SourceFilesContract, OfAFileThatHasGrownTheEndIsAnErrorAndWhatWasAddedIsNotRead) {
  this->world_.write("file", "first content");
  const auto file = this->open("file");
  ASSERT_NE(file, nullptr);
  this->world_.write("file", "first content and more");
  EXPECT_EQ(this->contentOf(*file, 1000), "first contenterror " + std::to_string(ESTALE));
}

}  // namespace
}  // namespace wicket::contract
