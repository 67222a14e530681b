// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/linux/ProcessFiles.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <concepts>
#include <fcntl.h>
#include <utility>

#include "base/system/Descriptor.h"
#include "base/system/ReadWrite.h"
#include "base/system/linux/Shortage.h"

namespace wicket::linux_adapter {
namespace {

/// Nothing there, with errno as it was.
std::nullopt_t missing() {
  errno = ShortageWatch::note();
  return std::nullopt;
}

template <std::unsigned_integral Number>
std::optional<Number> leadingNumber(std::string_view text, int base = 10) {
  Number number = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), number, base).ec != std::errc()) return std::nullopt;
  return number;
}

/// What follows the first @p fields fields, each of which ends with one @p separator.
std::optional<std::string_view> behindFields(std::string_view text, int fields, char separator) {
  for (int passed = 0; passed < fields; ++passed) {
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos) return std::nullopt;
    text.remove_prefix(end + 1);
  }
  return text;
}

/// The program's name, in the first line, is written with its line breaks escaped, so that no key can
/// be feigned by it.
std::optional<std::string_view> lineOf(std::string_view status, std::string_view key) {
  const std::string begin = "\n" + std::string(key) + ":\t";
  const std::size_t found = status.find(begin);
  if (found == std::string_view::npos) return std::nullopt;
  const std::string_view rest = status.substr(found + begin.size());
  return rest.substr(0, rest.find('\n'));
}

}  // namespace

std::string ProcessFiles::path(std::string_view name) const { return folder_ + std::string(name); }

std::optional<std::string> ProcessFiles::read(std::string_view name) const {
  const Descriptor file(::open(path(name).c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return missing();
  auto content = system::readAll(file.get());
  if (content) return std::move(*content);
  errno = content.error();
  return missing();
}

std::optional<std::uint32_t> ProcessFiles::number(std::string_view name) const {
  const auto content = read(name);
  return content ? leadingNumber<std::uint32_t>(*content) : std::nullopt;
}

std::optional<struct stat> ProcessFiles::target(std::string_view name) const {
  struct stat status{};
  if (::stat(path(name).c_str(), &status) != 0) return missing();
  return status;
}

/// The second field is the program's name in parentheses and may hold anything, so the count starts
/// behind the last parenthesis, where field 3 follows.
std::optional<std::uint64_t> ProcessFiles::startTime() const {
  const auto content = read("stat");
  if (!content) return std::nullopt;
  const std::string_view line = *content;
  const auto field = behindFields(line.substr(std::min(line.rfind(')'), line.size())), 22 - 2, ' ');
  const auto ticks = field ? leadingNumber<std::uint64_t>(*field) : std::nullopt;
  if (!ticks) errno = EPROTO;
  return ticks;
}

std::optional<std::uint32_t> ProcessFiles::statusNumber(std::string_view status, std::string_view key, int index) {
  const auto line = lineOf(status, key);
  const auto field = line ? behindFields(*line, index, '\t') : std::nullopt;
  return field ? leadingNumber<std::uint32_t>(*field) : std::nullopt;
}

std::vector<std::uint32_t> ProcessFiles::statusNumbers(std::string_view status, std::string_view key) {
  std::vector<std::uint32_t> numbers;
  auto rest = lineOf(status, key);
  while (rest) {
    if (const auto number = leadingNumber<std::uint32_t>(*rest)) numbers.push_back(*number);
    rest = behindFields(*rest, 1, ' ');
  }
  return numbers;
}

std::optional<std::uint64_t> ProcessFiles::statusMask(std::string_view status, std::string_view key) {
  const auto line = lineOf(status, key);
  return line ? leadingNumber<std::uint64_t>(*line, 16) : std::nullopt;
}

}  // namespace wicket::linux_adapter
