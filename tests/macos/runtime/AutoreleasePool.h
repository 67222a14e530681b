// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::objc {

/// How many objects have been autoreleased where no pool was open. On a thread of one's own such an object lives
/// until the thread ends, so a program that runs for long must have none.
[[nodiscard]] long autoreleasedWithoutPool();

}  // namespace wicket::objc
