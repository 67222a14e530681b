// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/command/Files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <utility>

#include "base/text/JsonString.h"

namespace wicket::codesign::command {

namespace {

constexpr std::size_t longestText = 1024 * 1024;

std::string nextStepAfter(SigningFailure failure) {
  switch (failure) {
    case SigningFailure::cannotBeRead:
    case SigningFailure::notARegularFile:
    case SigningFailure::fileTooLarge:
      return "Check which file is meant";
    case SigningFailure::anchorUnusable:
      return "Pass a self-signed root certificate with --anchor";
    case SigningFailure::chainNotToAnchor:
      return "Check --anchor, and whether the file is signed with all certificates between";
    case SigningFailure::certificateNotYetValid:
      return "Check the clock of this machine and the dates of the certificates";
    default:
      return "Sign it again: wicket-codesign sign --help";
  }
}

}  // namespace

std::expected<std::string, Problem> textOfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text(longestText + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.is_open() || file.bad() || (file.fail() && !file.eof())) {
    return std::unexpected(Problem{"The file " + jsonString(path) + " cannot be read", "Check its name and its mode"});
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() <= longestText) return text;
  return std::unexpected(Problem{"The file " + jsonString(path) + " is too long", "Check which file is meant"});
}

std::expected<Certificate, Problem> anchorFromFile(const std::string& path) {
  const auto text = textOfFile(path);
  if (!text) return std::unexpected(text.error());
  auto anchor = Certificate::fromPem(*text);
  if (anchor) return std::move(*anchor);
  return std::unexpected(Problem{"The file " + jsonString(path) + " holds no certificate in PEM form",
                                 "Pass a root certificate with --anchor"});
}

std::expected<Descriptor, Problem> openedFile(const std::string& path) {
  Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (descriptor.isOpen()) return descriptor;
  return std::unexpected(Problem{"The file " + jsonString(path) + " cannot be opened: " + std::strerror(errno),
                                 "Check its name and mode"});
}

Problem problemWith(const std::string& path, SigningFailure failure) {
  return {"The signature of " + jsonString(path) + " is not valid: " + std::string(textOf(failure)),
          nextStepAfter(failure)};
}

}  // namespace wicket::codesign::command
