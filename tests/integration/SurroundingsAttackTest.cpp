// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>

#include "tests/integration/AttackTest.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using support::Program;

/// The installed command, started by its own user with everything around it prepared.
class SurroundingsAttackTest : public AttackTest {
 protected:
  void SetUp() override {
    AttackTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    for (const char* name : {"intruder.so", "libsystemd.so.0", "libcrypto.so.3"}) {
      std::filesystem::copy_file(CompanionStage::intruder(), std::string("/var/tmp/") + name);
    }
    writeFile("/var/tmp/openssl.cnf",
              "openssl_conf = begin\n[begin]\nproviders = all\n[all]\nintruder = it\n[it]\n"
              "module = /var/tmp/intruder.so\nactivate = 1\n");
  }
  static bool hasIntruded() { return std::filesystem::exists("/var/tmp/intruder.was.here"); }
  static Program asUser(const std::vector<std::string>& words) {
    std::vector<std::string> all{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    all.insert(all.end(), words.begin(), words.end());
    return Program::run(all);
  }
  static Program commandWith(const std::string& variable, const std::vector<std::string>& words) {
    std::vector<std::string> all{"env", variable, commandExecutable()};
    all.insert(all.end(), words.begin(), words.end());
    return asUser(all);
  }
  /// The command is served, and no code but its own has run in it.
  void expectIgnored(const std::string& variable) {
    const auto version = commandWith(variable, {"version"});
    EXPECT_EQ(version.status, 0) << version.errors;
    EXPECT_EQ(version.output, "9417\n");
    static_cast<void>(commandWith(variable, {"doctor"}));
    EXPECT_FALSE(hasIntruded());
  }
  /// What the variable does to a program without the bit.
  static bool intrudesInto(const std::string& variable, const std::vector<std::string>& program) {
    std::vector<std::string> words{"env", variable};
    words.insert(words.end(), program.begin(), program.end());
    static_cast<void>(asUser(words));
    const bool result = hasIntruded();
    std::filesystem::remove("/var/tmp/intruder.was.here");
    return result;
  }
};

TEST_F(SurroundingsAttackTest, ALibraryInLdPreloadIsNotLoaded) {
  const std::string variable = "LD_PRELOAD=/var/tmp/intruder.so";
  ASSERT_TRUE(intrudesInto(variable, {"/bin/true"}));
  expectIgnored(variable);
}

TEST_F(SurroundingsAttackTest, ALibraryInLdAuditIsNotLoaded) {
  const std::string variable = "LD_AUDIT=/var/tmp/intruder.so";
  ASSERT_TRUE(intrudesInto(variable, {"/bin/true"}));
  expectIgnored(variable);
}

TEST_F(SurroundingsAttackTest, LibrariesInLdLibraryPathAreNotLoaded) {
  const std::string variable = "LD_LIBRARY_PATH=/var/tmp";
  std::filesystem::copy_file(commandExecutable(), "/run/without-bit");
  std::filesystem::permissions("/run/without-bit", std::filesystem::perms(0755));
  // The other libraries have nothing that the command needs.
  EXPECT_EQ(asUser({"env", variable, "/run/without-bit", "--help"}).status, 127);
  EXPECT_EQ(asUser({"/run/without-bit", "--help"}).status, 0);
  expectIgnored(variable);
}

TEST_F(SurroundingsAttackTest, AProviderInOpensslConfIsNotLoaded) {
  const std::string variable = "OPENSSL_CONF=/var/tmp/openssl.cnf";
  ASSERT_TRUE(intrudesInto(variable, {"openssl", "version"}) ||
              intrudesInto(variable, {"openssl", "list", "-providers"}));
  expectIgnored(variable);
}

TEST_F(SurroundingsAttackTest, TunablesOfTheCLibraryChangeNothing) {
  for (const char* value : {"glibc.malloc.check=3", "glibc.malloc.mxfast=glibc.malloc.mxfast=AAAAAAAA",
                            "glibc.cpu.x86_shstk=on:glibc.malloc.perturb=255", "=", ":::"}) {
    expectIgnored(std::string("GLIBC_TUNABLES=") + value);
  }
  expectIgnored("GLIBC_TUNABLES=" + std::string(100'000, 'A'));
}

TEST_F(SurroundingsAttackTest, ClosedStandardDescriptorsHarmNobody) {
  const auto run = asUser({"bash", "-c", "exec \"$0\" run witness.sh <&- >&- 2>&-", commandExecutable()});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(std::filesystem::remove("/run/witness"));
}

TEST_F(SurroundingsAttackTest, AThousandOpenDescriptorsHarmNobody) {
  const auto version =
      asUser({"bash", "-c", "for ((i = 3; i < 1003; ++i)); do eval \"exec $i</dev/null\"; done\nexec \"$0\" version",
              commandExecutable()});
  EXPECT_EQ(version.status, 0) << version.errors;
  EXPECT_EQ(version.output, "9417\n");
}

}  // namespace
}  // namespace wicket::integration
