// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/contract/InstalledCompanion.h"
#include "tests/doubles/ScriptedCodeSigningServices.h"
#include "tests/support/Machine.h"

namespace wicket::contract {
namespace {

/// What a world offers: the services, a companion's token, and one that names nobody.
struct SignatureScene {
  CodeSigningServices& services;
  AuditTokenData companion;
  AuditTokenData nobody;
};
using SceneBody = std::function<void(SignatureScene)>;

/// A companion that is installed and runs.
struct RealSignatures {
  static constexpr std::array needs{support::Need::root, support::Need::mountNamespace};
  static bool with(const SceneBody& body) {
    return withInstalledCompanion([&](InstalledCompanion& companion) {
      const auto client = companion.connect();
      body({companion.services(), client.token, {}});
    });
  }
  static void failToFind(CodeSigningServices& /*services*/) {}
  static void failToCompile(CodeSigningServices& /*services*/) {}
  static void failToMeet(CodeSigningServices& /*services*/) {}
};

/// A companion that the test has made up; its failures have to be arranged.
struct ScriptedSignatures {
  static constexpr std::array<support::Need, 0> needs{};
  static bool with(const SceneBody& body) {
    doubles::ScriptedCodeSigningServices services;
    body({services, {}, {}});
    return true;
  }
  static doubles::ScriptedCodeSigningServices& of(CodeSigningServices& services) {
    return dynamic_cast<doubles::ScriptedCodeSigningServices&>(services);
  }
  static void failToFind(CodeSigningServices& services) {
    of(services).setGuestStatus(code_signing_status::noSuchCode);
  }
  static void failToCompile(CodeSigningServices& services) {
    of(services).setRequirementStatus(code_signing_status::requirementInvalid);
  }
  static void failToMeet(CodeSigningServices& services) {
    of(services).setValidity(code_signing_status::requirementFailed);
  }
};

template <typename World>
class CodeSigningServicesContract : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto need : World::needs) WICKET_NEEDS(need);
  }
  static void with(const SceneBody& body) { ASSERT_TRUE(World::with(body)); }
};

struct SignatureWorldNames {
  template <typename World>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<World, RealSignatures> ? "Real" : "Double";
  }
};
using SignatureWorldTypes = testing::Types<RealSignatures, ScriptedSignatures>;
TYPED_TEST_SUITE(CodeSigningServicesContract, SignatureWorldTypes, SignatureWorldNames);

TYPED_TEST(CodeSigningServicesContract, ACompanionIsFoundHardenedEntitledToNothingAndValid) {
  this->with([](const SignatureScene& scene) {
    const auto code = scene.services.copyGuestWithAttributes(scene.companion);
    ASSERT_TRUE(code);
    ASSERT_NE(*code, nullptr);
    const auto staticCode = scene.services.copyStaticCode(**code);
    ASSERT_NE(staticCode, nullptr);
    const auto information = scene.services.copySigningInformation(*staticCode, dynamicInformation);
    ASSERT_TRUE(information);
    EXPECT_EQ(information->flags, codeSignatureRuntime);
    EXPECT_EQ(information->entitlementsDict, EntitlementsDictionary{});
    const auto requirement = scene.services.createRequirement("identifier \"net.orvane.Wicket\"");
    ASSERT_TRUE(requirement);
    ASSERT_NE(*requirement, nullptr);
    EXPECT_EQ(scene.services.checkValidity(**code, **requirement), code_signing_status::success);
  });
}

TYPED_TEST(CodeSigningServicesContract, ATokenOfNobodyIsNoCode) {
  this->with([](const SignatureScene& scene) {
    TypeParam::failToFind(scene.services);
    const auto code = scene.services.copyGuestWithAttributes(scene.nobody);
    ASSERT_FALSE(code);
    EXPECT_EQ(code.error(), code_signing_status::noSuchCode);
  });
}

TYPED_TEST(CodeSigningServicesContract, ATextThatIsNoRequirementDoesNotCompile) {
  this->with([](const SignatureScene& scene) {
    TypeParam::failToCompile(scene.services);
    const auto requirement = scene.services.createRequirement("identifier and");
    ASSERT_FALSE(requirement);
    EXPECT_EQ(requirement.error(), code_signing_status::requirementInvalid);
  });
}

TYPED_TEST(CodeSigningServicesContract, ARequirementThatIsNotMetIsAStatus) {
  this->with([](const SignatureScene& scene) {
    TypeParam::failToMeet(scene.services);
    const auto code = scene.services.copyGuestWithAttributes(scene.companion);
    ASSERT_TRUE(code);
    const auto requirement = scene.services.createRequirement("identifier \"another\"");
    ASSERT_TRUE(requirement);
    EXPECT_EQ(scene.services.checkValidity(**code, **requirement), code_signing_status::requirementFailed);
  });
}

TYPED_TEST(CodeSigningServicesContract, AReferenceOutlivesItsCode) {
  this->with([](const SignatureScene& scene) {
    auto code = scene.services.copyGuestWithAttributes(scene.companion);
    ASSERT_TRUE(code);
    const auto staticCode = scene.services.copyStaticCode(**code);
    code->reset();
    const auto information = scene.services.copySigningInformation(*staticCode, dynamicInformation);
    ASSERT_TRUE(information);
    EXPECT_EQ(information->flags, codeSignatureRuntime);
  });
}

}  // namespace
}  // namespace wicket::contract
