// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace wicket::support {

/// Runs @p body, on a thread of its own, with an empty file system of @p bytes mounted at the path
/// it is given. Only that thread sees it: it is mounted in a namespace that ends with the thread.
/// Returns false, without running the body, where the system does not allow that.
[[nodiscard]] bool withTinyFileSystem(std::size_t bytes, const std::function<void(const std::string& path)>& body);

}  // namespace wicket::support
