// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "adapters/linux/SystemdServiceJob.h"
#include "resources/BuildValues.h"
#include "tests/doubles/RecordingServiceJob.h"
#include "tests/support/Machine.h"
#include "tests/support/PrivateFolders.h"
#include "tests/support/PrivateNamespace.h"
#include "tests/support/Program.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::contract {
namespace {

constexpr char job[] = "net.orvane.Wicket.TlvPrivilegedHelper";

template <typename Job>
class ServiceJobContract : public testing::Test {
 protected:
  Job job_;
};

struct JobNames {
  template <typename Job>
  static std::string GetName(int) {
    return std::is_same_v<Job, linux_adapter::SystemdServiceJob> ? "Systemd" : "Double";
  }
};
using Jobs = testing::Types<doubles::RecordingServiceJob, linux_adapter::SystemdServiceJob>;
TYPED_TEST_SUITE(ServiceJobContract, Jobs, JobNames);

TYPED_TEST(ServiceJobContract, TheLineDeletesOnlyAfterTheRemovalHasSucceeded) {
  EXPECT_NE(this->job_.removalCommandLine().find(" && "), std::string::npos);
}

TYPED_TEST(ServiceJobContract, TheLineIsTheSameEachTime) {
  EXPECT_EQ(this->job_.removalCommandLine(), this->job_.removalCommandLine());
}

// Runs the line with a stand-in for systemctl first in the search path, where the helper would lie in a
// private folder.
class SystemdServiceJobTest : public testing::Test {
 protected:
  void SetUp() override {
    WICKET_NEEDS(support::Need::mountNamespace);
    ASSERT_EQ(support::PrivateNamespace::enter(), std::nullopt);
    ASSERT_TRUE(folders_.replace(helper_.parent_path()));
    std::ofstream(helper_) << "helper";
    std::ofstream(helper_.parent_path() / "neighbour") << "neighbour";
  }

  [[nodiscard]] support::Program runLine(const std::string& systemctl) const {
    const std::string stand = tools_.path("systemctl");
    std::ofstream(stand) << "#!/bin/bash\n" << systemctl;
    std::filesystem::permissions(stand, std::filesystem::perms::owner_all);
    return support::Program::run({"/usr/bin/env", "PATH=" + tools_.path("") + ":/usr/bin:/bin", "/bin/bash", "-c",
                                  linux_adapter::SystemdServiceJob().removalCommandLine()});
  }
  [[nodiscard]] bool helperExists() const { return std::filesystem::exists(helper_); }

  const std::filesystem::path helper_{resources::BuildValues::helperExecutable()};
  support::PrivateFolders folders_;
  support::TemporaryFolder tools_;
};

TEST_F(SystemdServiceJobTest, SocketAndServiceAreDisabledAndStoppedThenTheExecutableIsDeleted) {
  const support::Program run = runLine("printf '%s\\n' \"$@\"");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, std::string("disable\n--now\n") + job + ".socket\n" + job + ".service\n");
  EXPECT_FALSE(helperExists());
  EXPECT_TRUE(std::filesystem::exists(helper_.parent_path() / "neighbour"));
}

TEST_F(SystemdServiceJobTest, TheExecutableStaysWhenTheJobCannotBeRemoved) {
  EXPECT_EQ(runLine("exit 5").status, 5);
  EXPECT_TRUE(helperExists());
}

}  // namespace
}  // namespace wicket::contract
