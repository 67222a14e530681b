// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <optional>

#include "tests/contract/AuthorizationWorlds.h"

namespace wicket::contract {
namespace {

// One suite for the double that the core's tests use and for the real polkit behind the real services.
template <typename World>
class AuthorizationServicesContract : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto need : World::needs) WICKET_NEEDS(need);
    world_.emplace();
  }
  AuthorizationServices& services() { return world_->services(); }

  AuthorizationStatus ask() {
    const auto reference = services().createFromExternalForm(world_->form());
    if (!reference) return reference.error();
    return services().copyRights(**reference, installRight, {});
  }

  std::optional<World> world_;
};

using AuthorizationWorldTypes = testing::Types<ScriptedWorld, PolkitWorld>;
struct AuthorizationWorldNames {
  template <typename World>
  static std::string GetName(int) {
    return std::is_same_v<World, PolkitWorld> ? "Polkit" : "Double";
  }
};
TYPED_TEST_SUITE(AuthorizationServicesContract, AuthorizationWorldTypes, AuthorizationWorldNames);

TYPED_TEST(AuthorizationServicesContract, TheFormOfALiveClientBecomesAReference) {
  const auto reference = this->services().createFromExternalForm(this->world_->form());
  ASSERT_TRUE(reference);
  EXPECT_NE(*reference, nullptr);
}

TYPED_TEST(AuthorizationServicesContract, TheFormOfAClientThatIsGoneIsDenied) {
  const auto form = this->world_->form();
  this->world_->endClient();
  const auto reference = this->services().createFromExternalForm(form);
  ASSERT_FALSE(reference);
  EXPECT_EQ(reference.error(), authorization_status::denied);
}

TYPED_TEST(AuthorizationServicesContract, ARightThatTheSystemGrantsIsObtained) {
  this->world_->decide(Decision::grant);
  EXPECT_EQ(this->ask(), authorization_status::success);
}

TYPED_TEST(AuthorizationServicesContract, ARightThatTheSystemRefusesIsDenied) {
  this->world_->decide(Decision::deny);
  EXPECT_EQ(this->ask(), authorization_status::denied);
}

TYPED_TEST(AuthorizationServicesContract, AUserWhoAuthenticatesObtainsTheRight) {
  this->world_->decide(Decision::userAuthenticates);
  EXPECT_EQ(this->ask(), authorization_status::success);
}

TYPED_TEST(AuthorizationServicesContract, AUserWhoFailsToAuthenticateIsDenied) {
  this->world_->decide(Decision::userFails);
  EXPECT_EQ(this->ask(), authorization_status::denied);
}

TYPED_TEST(AuthorizationServicesContract, AUserWhoClosesTheDialogCancels) {
  this->world_->decide(Decision::userDismisses);
  EXPECT_EQ(this->ask(), authorization_status::canceled);
}

TYPED_TEST(AuthorizationServicesContract, WithoutADialogNoInteractionIsPossible) {
  this->world_->decide(Decision::nobodyToAsk);
  EXPECT_EQ(this->ask(), authorization_status::interactionNotAllowed);
}

TYPED_TEST(AuthorizationServicesContract, EveryStatusOfTheseOperationsHasItsText) {
  auto& services = this->services();
  EXPECT_EQ(services.errorMessage(authorization_status::success), "No error.");
  EXPECT_EQ(services.errorMessage(authorization_status::denied), "The authorization was denied.");
  EXPECT_EQ(services.errorMessage(authorization_status::canceled), "The authorization was canceled by the user.");
  EXPECT_EQ(services.errorMessage(authorization_status::interactionNotAllowed),
            "The authorization was denied since no user interaction was possible.");
  EXPECT_EQ(services.errorMessage(authorization_status::internal),
            "Unable to obtain authorization for this operation.");
}

}  // namespace
}  // namespace wicket::contract
