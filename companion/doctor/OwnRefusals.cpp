// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/OwnRefusals.h"

#include "admission/Checks.h"
#include "admission/ProgramGroup.h"

namespace wicket::companion::doctor {

namespace {

/// This program as the helper would see it.
class OwnFacts final : public admission::Facts {
 public:
  explicit OwnFacts(const SystemFacts& facts) : facts_(facts) {}

  bool hasCompanionGroup() override {
    const auto& process = facts_.process;
    return facts_.group && admission::groupFromProgram(process.startedWithGroup, process.ownGroups) == facts_.group;
  }
  bool isWhoConnected() override { return facts_.kernel.opensProcesses; }
  bool isTraced() override { return facts_.process.tracer != 0; }
  bool isInSystemsUserNamespace() override { return facts_.process.isInFirstUserNamespace; }
  std::uint32_t user() override { return facts_.process.user; }
  /// In another user namespace the number may stand for any owner.
  std::uint32_t shownOwner() override { return facts_.process.isInFirstUserNamespace ? facts_.process.shownOwner : 0; }

  bool isRegular() override { return file().isKnown() && S_ISREG(file().mode); }
  std::uint32_t owner() override { return file().owner; }
  bool isOfCompanionGroup() override { return facts_.group && file().group == *facts_.group; }
  std::uint32_t permissions() override { return file().permissions(); }
  std::uint64_t links() override { return file().links; }
  bool isOnMountWithSetGroup() override { return !facts_.program.mountIgnoresSetGroup; }
  bool hasAccessControlList() override { return facts_.program.hasAccessControlList; }

  std::optional<std::uint32_t> flags() override { return signature().flags; }
  const std::optional<admission::EntitlementsDictionary>& entitlements() override { return signature().entitlements; }

  bool meetsRequirement() override { return signature().meetsRequirement; }
  bool isWhatWasSigned() override { return signature().state == doctor::SignatureFacts::State::holds; }
  bool isUnchanged() override { return !facts_.program.hasChanged; }

 private:
  [[nodiscard]] const FileFacts& file() const { return facts_.program.file; }
  [[nodiscard]] const doctor::SignatureFacts& signature() const { return facts_.program.signature; }

  const SystemFacts& facts_;
};

}  // namespace

std::vector<admission::Refusal> ownRefusals(const SystemFacts& facts) {
  OwnFacts own(facts);
  return admission::refusals(own);
}

}  // namespace wicket::companion::doctor
