// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/ScriptFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>
#include <utility>

#include "base/system/Descriptor.h"
#include "base/system/ReadWrite.h"
#include "base/system/RegularFile.h"
#include "base/text/CharacterSet.h"
#include "base/text/DisplayText.h"
#include "base/text/Utf8.h"

namespace wicket::companion {

namespace {

constexpr char byteOrderMark[] = "\xEF\xBB\xBF";
constexpr char writeFirstLine[] = "Make its first line name the tool that runs it, for example #!/bin/bash";

/// The white space that separates the words of a "#!" line.
bool separatesWords(char32_t scalar) { return CharacterSet::tabAndSpaceSeparators().contains(scalar); }

std::string firstWord(std::string_view text) {
  std::string word;
  while (!text.empty()) {
    const std::string_view before = text;
    const auto scalar = Utf8::take(text);
    if (!scalar) break;
    if (!separatesWords(*scalar)) {
      word += before.substr(0, before.size() - text.size());
    } else if (!word.empty()) {
      break;
    }
  }
  return word;
}

/// Checks a file's bytes piece by piece, whatever its size, and keeps its first line.
class TextScan {
 public:
  /// False at the first byte that is not UTF-8.
  bool feed(std::string_view bytes) {
    pending_ += bytes;
    return scan(4);
  }
  bool finish() { return scan(1); }

  [[nodiscard]] const std::string& firstLine() const { return firstLine_; }
  [[nodiscard]] bool endsInCarriageReturn() const { return lineBreak_ == U'\r'; }
  [[nodiscard]] std::size_t position() const { return position_; }

 private:
  /// Decodes while at least @p needed bytes wait: a character never has more than four.
  bool scan(std::size_t needed) {
    std::string_view rest = pending_;
    while (rest.size() >= needed) {
      const std::string_view before = rest;
      const auto scalar = Utf8::take(rest);
      if (!scalar) return false;
      const std::size_t length = before.size() - rest.size();
      position_ += length;
      if (!lineBreak_) take(*scalar, before.substr(0, length));
    }
    pending_.erase(0, pending_.size() - rest.size());
    return true;
  }
  void take(char32_t scalar, std::string_view bytes) {
    if (CharacterSet::newlines().contains(scalar)) {
      lineBreak_ = scalar;
    } else {
      firstLine_ += bytes;
    }
  }

  std::string pending_;
  std::string firstLine_;
  std::optional<char32_t> lineBreak_;
  std::size_t position_ = 0;
};

Problem cannotRead(const std::string& path, int error) {
  const std::string next = error == ENOENT   ? "Check the path"
                           : error == EACCES ? "Ask its owner for permission to read it"
                                             : "Check the file";
  return {"The file " + quotedText(path) + " cannot be read: " + std::strerror(error), next};
}

Problem cannotOpen(const std::string& path, int error) {
  switch (error) {
    case EISDIR:
      return {quotedText(path) + " is a folder", "Give the path of a script file"};
    case EINVAL:
      return {quotedText(path) + " is not a regular file", "Copy the script into a file first"};
    default:
      return cannotRead(path, error);
  }
}

std::expected<Descriptor, Problem> openRegular(const std::string& path) {
  auto file = system::RegularFile::open(path);
  if (!file) return std::unexpected(cannotOpen(path, file.error()));
  if (file->status.st_size == 0) {
    return std::unexpected(Problem{"The file " + quotedText(path) + " is empty", writeFirstLine});
  }
  return std::move(file->descriptor);
}

std::expected<TextScan, Problem> scanText(const std::string& path, const Descriptor& file) {
  TextScan scan;
  std::array<char, 65536> buffer{};
  bool valid = true;
  while (valid) {
    const auto count = system::readSome(file.get(), std::as_writable_bytes(std::span(buffer)));
    if (!count) return std::unexpected(cannotRead(path, count.error()));
    valid = *count == 0 ? scan.finish() : scan.feed({buffer.data(), *count});
    if (*count == 0) break;
  }
  if (valid) return scan;
  return std::unexpected(Problem{"The file " + quotedText(path) + " is not a UTF-8 text (see byte " +
                                     std::to_string(scan.position() + 1) + "), and the helper runs only those",
                                 "Save it as UTF-8, or install a script that starts the program"});
}

}  // namespace

std::expected<std::string, Problem> toolInFirstLine(const std::string& name, std::string_view firstLine) {
  const std::string start = "The script " + quotedText(name);
  if (firstLine.starts_with(byteOrderMark)) {
    return std::unexpected(Problem{start + " begins with a byte-order mark, so its \"#!\" is not at the very beginning",
                                   "Save it as UTF-8 without a byte-order mark"});
  }
  if (!firstLine.starts_with("#!")) {
    return std::unexpected(Problem{start + " does not begin with a \"#!\" line", writeFirstLine});
  }
  std::string tool = firstWord(firstLine.substr(2));
  if (tool.empty()) return std::unexpected(Problem{start + " names no tool after \"#!\"", writeFirstLine});
  if (tool.front() != '/') {
    return std::unexpected(Problem{start + " names the tool " + quotedText(tool) + ", which is not a full path",
                                   "Write the tool's full path, for example #!/usr/bin/env " + tool});
  }
  return tool;
}

std::expected<ScriptFile, Problem> ScriptFile::inspect(const std::string& path) {
  const auto file = openRegular(path);
  if (!file) return std::unexpected(file.error());
  const auto scan = scanText(path, *file);
  if (!scan) return std::unexpected(scan.error());
  auto tool = toolInFirstLine(path, scan->firstLine());
  if (!tool) return std::unexpected(tool.error());
  std::error_code failure;
  ScriptFile script;
  script.path_ = std::filesystem::absolute(path, failure).string();
  if (failure) return std::unexpected(cannotRead(path, failure.value()));
  script.tool_ = std::move(*tool);
  script.hasCarriageReturns_ = scan->endsInCarriageReturn();
  return script;
}

}  // namespace wicket::companion
