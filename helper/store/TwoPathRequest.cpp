// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/store/TwoPathRequest.h"

#include <cstddef>
#include <vector>

#include "protocol/HelperFile.h"

namespace wicket {
namespace {

std::optional<std::string> cleanedEntry(std::string_view request, std::size_t index) {
  const std::vector<std::string> entries = HelperFile::components(request, ",");
  if (entries.size() != 2) return std::nullopt;
  return HelperFile::sanitize(entries[index]);
}

}  // namespace

std::optional<std::string> TwoPathRequest::source(std::string_view request) { return cleanedEntry(request, 0); }

std::optional<std::string> TwoPathRequest::destination(std::string_view request) { return cleanedEntry(request, 1); }

}  // namespace wicket
