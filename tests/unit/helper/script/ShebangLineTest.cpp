// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "helper/script/ShebangLine.h"

namespace wicket {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(ShebangLineTest, TheToolIsTheFirstWordAfterTheMark) {
  EXPECT_THAT(ShebangLine::components("#!/bin/bash"), Optional(ElementsAre("/bin/bash")));
}

TEST(ShebangLineTest, ABlankAfterTheMarkDoesNotCount) {
  EXPECT_THAT(ShebangLine::components("#! /bin/sh -e"), Optional(ElementsAre("/bin/sh", "-e")));
}

TEST(ShebangLineTest, TabsAndRunsOfBlanksSeparateWords) {
  EXPECT_THAT(ShebangLine::components("#!/bin/bash\t-x   -e"), Optional(ElementsAre("/bin/bash", "-x", "-e")));
  EXPECT_THAT(ShebangLine::components("#!/bin/bash\u00A0-x\u3000-e"), Optional(ElementsAre("/bin/bash", "-x", "-e")));
}

TEST(ShebangLineTest, TheMarkAloneIsThereButEmpty) {
  EXPECT_THAT(ShebangLine::components("#!"), Optional(IsEmpty()));
  EXPECT_THAT(ShebangLine::components("#! \t "), Optional(IsEmpty()));
}

TEST(ShebangLineTest, ALineThatDoesNotBeginWithTheMarkIsNone) {
  for (const std::string line : {" #!/bin/bash", "echo hi", "", "#", "# !/bin/sh", "!#/bin/sh"}) {
    EXPECT_EQ(ShebangLine::components(line), std::nullopt) << line;
  }
  EXPECT_EQ(ShebangLine::components(std::nullopt), std::nullopt);
}

TEST(ShebangLineTest, AByteOrderMarkBeforeTheMarkMakesItNone) {
  EXPECT_EQ(ShebangLine::components("\uFEFF#!/bin/bash"), std::nullopt);
}

TEST(ShebangLineTest, EnvAndQuotesAreWordsLikeAnyOther) {
  EXPECT_THAT(ShebangLine::components("#!/usr/bin/env python3"), Optional(ElementsAre("/usr/bin/env", "python3")));
  EXPECT_THAT(ShebangLine::components("#!/bin/sh \"a b\""), Optional(ElementsAre("/bin/sh", "\"a", "b\"")));
}

TEST(ShebangLineTest, AZeroWidthSpaceSeparatesNoWords) {
  EXPECT_THAT(ShebangLine::components("#!/bin/sh\u200B-e"), Optional(ElementsAre("/bin/sh\u200B-e")));
}

TEST(ShebangLineTest, TheMarkIsTestedCharacterByCharacterWhateverFollowsIt) {
  EXPECT_THAT(ShebangLine::components("#!\u0301/bin/sh"), Optional(ElementsAre("\u0301/bin/sh")));
}

}  // namespace
}  // namespace wicket
