// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <vector>

#include "admission/ProgramGroup.h"
#include "admission/Requirement.h"

namespace wicket::admission {
namespace {

TEST(ProgramGroupTest, IsTheEffectiveOneUnlessTheProcessHasItInAnyProgram) {
  const std::vector<std::uint32_t> own{1000, 27};
  EXPECT_EQ(groupFromProgram(990, own), 990U);
  EXPECT_EQ(groupFromProgram(990, {}), 990U);
  EXPECT_EQ(groupFromProgram(1000, own), std::nullopt);
  EXPECT_EQ(groupFromProgram(27, own), std::nullopt);
}

TEST(RequirementTextTest, NamesTheAnchorTheIdentifierAndTheCertificate) {
  EXPECT_EQ(requirementText("org.example", "Maker (T)"),
            "anchor apple generic and identifier \"org.example\" and certificate leaf[subject.CN] = \"Maker (T)\"");
}

}  // namespace
}  // namespace wicket::admission
