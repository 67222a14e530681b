// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/script/ScriptArguments.h"

namespace wicket {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(UserParametersTest, EmptyParametersGiveNoParameter) {
  EXPECT_THAT(ScriptArguments::userParameters(""), IsEmpty());
  EXPECT_THAT(ScriptArguments::userParameters(",,"), IsEmpty());
}

TEST(UserParametersTest, OneBlankGivesOneEmptyParameter) {
  EXPECT_THAT(ScriptArguments::userParameters(" "), ElementsAre(""));
}

TEST(UserParametersTest, QuotationMarksAreDeletedWhereverTheyStand) {
  EXPECT_THAT(ScriptArguments::userParameters("\"a\",b\"c,\"\""), ElementsAre("a", "bc", ""));
}

TEST(UserParametersTest, ACommaSeparatesInsideQuotationMarksToo) {
  EXPECT_THAT(ScriptArguments::userParameters("\"a,b\""), ElementsAre("a", "b"));
}

TEST(UserParametersTest, BlanksAreTrimmedAfterTheQuotationMarksAreGone) {
  EXPECT_THAT(ScriptArguments::userParameters("a, \" b c \" ,,\nd\t"), ElementsAre("a", "b c", "d"));
}

TEST(ScriptArgumentsTest, WithoutAFileTheParametersPrecedeTheStoredArguments) {
  EXPECT_THAT(ScriptArguments::withoutFile({"-e"}, {"p"}, {"-c", "echo hi"}), ElementsAre("-e", "p", "-c", "echo hi"));
}

TEST(ScriptArgumentsTest, APythonFilePrecedesItsParameters) {
  EXPECT_THAT(ScriptArguments::pythonFile({"python3"}, "/s/job.py", {"a", "b"}),
              ElementsAre("python3", "/s/job.py", "a", "b"));
}

TEST(ScriptArgumentsTest, AnyOtherFileFollowsTheParameters) {
  EXPECT_THAT(ScriptArguments::otherFile({"-e"}, {"a", "b"}, "/s/job.sh"), ElementsAre("-e", "a", "b", "/s/job.sh"));
}

}  // namespace
}  // namespace wicket
