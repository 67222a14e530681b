// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <limits>

#include "admission/Entitlements.h"
#include "codesign/plist/PropertyValue.h"

namespace wicket::admission {
namespace {

EntitlementState stateOfValue(const EntitlementValue& value) { return stateOf({{"name", value}}, "name"); }

TEST(EntitlementsTest, OneThatIsMissingIsNotSet) {
  EXPECT_EQ(stateOf({}, "name"), EntitlementState::notSet);
  EXPECT_EQ(stateOf({{"names", true}}, "name"), EntitlementState::notSet);
}

TEST(EntitlementsTest, OnlyTrueAndOneAreSet) {
  for (const EntitlementValue& value :
       {EntitlementValue(true), EntitlementValue(std::int64_t{1}), EntitlementValue(1.0)}) {
    EXPECT_EQ(stateOfValue(value), EntitlementState::set) << value.index();
  }
  for (const EntitlementValue& value :
       {EntitlementValue(false), EntitlementValue(std::int64_t{0}), EntitlementValue(std::int64_t{-1}),
        EntitlementValue(std::int64_t{0x100000001}), EntitlementValue(0.0), EntitlementValue(2.0),
        EntitlementValue(-9223372036854775808.0)}) {
    EXPECT_EQ(stateOfValue(value), EntitlementState::notSet) << value.index();
  }
}

TEST(EntitlementsTest, WhatIsNoWholeNumberOf64BitsIsNoNumber) {
  EXPECT_EQ(stateOfValue(NonNumericValue{}), EntitlementState::noNumber);
  for (const double value : {0.5, 1.5, 1e300, -1e300, 9223372036854775808.0, std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(stateOfValue(value), EntitlementState::noNumber) << value;
  }
}

TEST(EntitlementsTest, OfAPropertyListsValuesNumbersAndTruthValuesKeepTheirTypeAndAllOthersAreNoNumbers) {
  using codesign::PropertyValue;
  const codesign::PropertyDictionary dictionary{{"array", PropertyValue(codesign::PropertyArray{})},
                                                {"integer", PropertyValue(1)},
                                                {"other", PropertyValue(codesign::PropertyOther{})},
                                                {"real", PropertyValue(1.0)},
                                                {"text", PropertyValue("1")},
                                                {"truth", PropertyValue(true)}};
  const EntitlementsDictionary expected{{"array", NonNumericValue{}}, {"integer", std::int64_t{1}},
                                        {"other", NonNumericValue{}}, {"real", 1.0},
                                        {"text", NonNumericValue{}},  {"truth", true}};
  EXPECT_EQ(entitlementsFrom(dictionary), expected);
}

}  // namespace
}  // namespace wicket::admission
