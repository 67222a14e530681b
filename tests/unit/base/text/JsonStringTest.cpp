// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>

#include "base/text/JsonString.h"

namespace wicket {
namespace {

TEST(JsonStringTest, ControlCharactersAndBytesThatAreNotUtf8AreEscaped) {
  EXPECT_EQ(jsonString("a\"\\\x1B[0m\xC2\x9B\xFFé"), "\"a\\\"\\\\\\u001b[0m\\u009b\xEF\xBF\xBDé\"");
}

}  // namespace
}  // namespace wicket
