// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "admission/Facts.h"
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
  static void failToFind(CodeSigningServices& services) { of(services).setCodeStatus(code_signing_status::noSuchCode); }
  static void failToCompile(CodeSigningServices& services) {
    of(services).setRequirementStatus(code_signing_status::requirementInvalid);
  }
  static void failToMeet(CodeSigningServices& services) {
    of(services).setRequirementStatus(code_signing_status::requirementFailed);
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
    const auto code = scene.services.identify(scene.companion);
    ASSERT_TRUE(code);
    ASSERT_NE(*code, nullptr);
    const auto information = (*code)->signingInformation();
    ASSERT_TRUE(information);
    EXPECT_EQ(information->flags, admission::SignatureFacts::hardenedRuntime);
    EXPECT_EQ(information->entitlementsDict, EntitlementsDictionary{});
    EXPECT_EQ((*code)->meets("identifier \"net.orvane.Wicket\""), code_signing_status::success);
  });
}

TYPED_TEST(CodeSigningServicesContract, ATokenOfNobodyIsNoCode) {
  this->with([](const SignatureScene& scene) {
    TypeParam::failToFind(scene.services);
    const auto code = scene.services.identify(scene.nobody);
    ASSERT_FALSE(code);
    EXPECT_EQ(code.error(), code_signing_status::noSuchCode);
  });
}

TYPED_TEST(CodeSigningServicesContract, ATextThatIsNoRequirementIsAStatus) {
  this->with([](const SignatureScene& scene) {
    TypeParam::failToCompile(scene.services);
    const auto code = scene.services.identify(scene.companion);
    ASSERT_TRUE(code);
    EXPECT_EQ((*code)->meets("identifier and"), code_signing_status::requirementInvalid);
  });
}

TYPED_TEST(CodeSigningServicesContract, ARequirementThatIsNotMetIsAStatus) {
  this->with([](const SignatureScene& scene) {
    TypeParam::failToMeet(scene.services);
    const auto code = scene.services.identify(scene.companion);
    ASSERT_TRUE(code);
    EXPECT_EQ((*code)->meets("identifier \"another\""), code_signing_status::requirementFailed);
  });
}

TYPED_TEST(CodeSigningServicesContract, ACodeOutlivesAnotherOfTheSameProcess) {
  this->with([](const SignatureScene& scene) {
    auto other = scene.services.identify(scene.companion);
    ASSERT_TRUE(other);
    const auto code = scene.services.identify(scene.companion);
    ASSERT_TRUE(code);
    other->reset();
    const auto information = (*code)->signingInformation();
    ASSERT_TRUE(information);
    EXPECT_EQ(information->flags, admission::SignatureFacts::hardenedRuntime);
    EXPECT_EQ((*code)->meets("identifier \"net.orvane.Wicket\""), code_signing_status::success);
  });
}

}  // namespace
}  // namespace wicket::contract
