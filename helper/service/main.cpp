// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <cstddef>
#include <memory>
#include <span>

#include "helper/platform/Platform.h"
#include "helper/service/PrivilegedHelper.h"

namespace {

/// Keeps the one service object for the life of the process. Never destroyed: when main returns,
/// threads of the platform may still be in one of its calls.
std::shared_ptr<wicket::PrivilegedHelper>& helper() {
  static auto& object = *new std::shared_ptr<wicket::PrivilegedHelper>;
  return object;
}

}  // namespace

int main(int argc, char** argv) {
  const std::span<char* const> arguments(argv, static_cast<std::size_t>(argc));
  wicket::Platform::runAuxiliaryProcess(arguments);
  helper() = std::make_shared<wicket::PrivilegedHelper>(wicket::Platform::current());
  helper()->run();
  return 0;
}
