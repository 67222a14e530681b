// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/store/FilePath.h"

namespace wicket {

std::string_view FilePath::lastPathComponent(std::string_view path) {
  if (path.empty()) return ".";
  const auto end = path.find_last_not_of('/');
  if (end == std::string_view::npos) return "/";
  path = path.substr(0, end + 1);
  return path.substr(path.rfind('/') + 1);
}

std::string_view FilePath::pathExtension(std::string_view path) {
  const std::string_view component = lastPathComponent(path);
  const auto dot = component.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : component.substr(dot + 1);
}

}  // namespace wicket
