// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include "tests/macos/runtime/Metadata.h"

namespace wicket::objc {

[[nodiscard]] bool isBlock(const Object* object);
/// How many blocks have been copied from the stack and not been released yet.
[[nodiscard]] long liveBlocks();

}  // namespace wicket::objc

extern "C" {
void* _Block_copy(const void* block);
void _Block_release(const void* block);
}
