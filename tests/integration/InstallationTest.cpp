// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/PolkitSandbox.h"
#include "tests/support/Program.h"
#include "tests/support/TokenOfProcess.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;

constexpr char sourceScript[] = "/var/tmp/source.sh";
constexpr char sourceContent[] = "#!/bin/bash\nexit 17\n";
constexpr char installedScript[] = "/var/orvane/job.sh";

/// Installations by a client that may: polkit grants root everything.
class InstallationTest : public IntegrationTest {
 protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    polkit_ = support::PolkitSandbox::start(policyFile());
    ASSERT_NE(polkit_, nullptr);
    writeFile(sourceScript, sourceContent);
  }
  void TearDown() override {
    polkit_.reset();
    IntegrationTest::TearDown();
  }

  static std::optional<std::int64_t> install(const std::string& paths) {
    const auto client = connect();
    const auto code = client->awaitCode(client->startInstall(paths, support::tokenOfProcess(::getpid())));
    client->pumpFor(20ms);
    EXPECT_EQ(client->log(), "");
    return code;
  }
  static void expectItem(const std::string& path, mode_t mode) {
    struct stat status{};
    ASSERT_EQ(::lstat(path.c_str(), &status), 0) << path;
    EXPECT_EQ(status.st_mode, mode) << path;
    EXPECT_EQ(status.st_uid, 0U);
    EXPECT_EQ(status.st_gid, 0U);
  }
  static std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }

 private:
  std::unique_ptr<support::PolkitSandbox> polkit_;
};

TEST_F(InstallationTest, AnInstalledScriptBelongsToRootWhoMayReadAndRunIt) {
  ::chown(sourceScript, 65534, 65534);
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript), 0);
  expectItem("/var/orvane", S_IFDIR | 0755);
  expectItem(installedScript, S_IFREG | 0500);
  EXPECT_EQ(readFile(installedScript), sourceContent);
  EXPECT_EQ(readFile(sourceScript), sourceContent);
}

TEST_F(InstallationTest, AnInstalledScriptRuns) {
  ASSERT_EQ(install(std::string(sourceScript) + "," + installedScript), 0);
  const auto client = connect();
  const auto serial = client->startRun("job.sh");
  EXPECT_EQ(client->awaitCode(serial), 0);
  EXPECT_EQ(client->awaitExit(serial), 17);
}

TEST_F(InstallationTest, AnExistingScriptIsReplaced) {
  addScript("job.sh", "#!/bin/sh\nold\n");
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript), 0);
  EXPECT_EQ(readFile(installedScript), sourceContent);
  expectItem(installedScript, S_IFREG | 0500);
}

TEST_F(InstallationTest, AnExistingFolderOfThatNameIsReplaced) {
  std::filesystem::create_directories(std::string(installedScript) + "/sub");
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript), 0);
  expectItem(installedScript, S_IFREG | 0500);
}

TEST_F(InstallationTest, OnePathAloneFails) {
  EXPECT_EQ(install(sourceScript), 590);
  EXPECT_EQ(install(std::string(sourceScript) + ","), 590);
  EXPECT_EQ(install(""), 590);
  EXPECT_FALSE(std::filesystem::exists("/var/orvane"));
}

TEST_F(InstallationTest, ThreePathsFail) {
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript + ",/var/orvane/third.sh"), 590);
  EXPECT_FALSE(std::filesystem::exists("/var/orvane"));
}

TEST_F(InstallationTest, EmptyPartsDoNotCount) {
  EXPECT_EQ(install("," + std::string(sourceScript) + " ,, " + installedScript + ","), 0);
  expectItem(installedScript, S_IFREG | 0500);
}

TEST_F(InstallationTest, AMissingSourceFails) {
  EXPECT_EQ(install(std::string("/var/tmp/nothing.sh,") + installedScript), 590);
  EXPECT_FALSE(std::filesystem::exists(installedScript));
}

TEST_F(InstallationTest, AFailureAfterTheRemovalOfTheEarlierCopyLeavesItRemoved) {
  addScript("job.sh", "#!/bin/sh\nold\n");
  EXPECT_EQ(install(std::string("/var/tmp/nothing.sh,") + installedScript), 590);
  EXPECT_FALSE(std::filesystem::exists(installedScript));
}

TEST_F(InstallationTest, ASourceThatIsALinkIsCopiedAsTheFileItNames) {
  std::filesystem::create_symlink(sourceScript, "/var/tmp/link.sh");
  EXPECT_EQ(install(std::string("/var/tmp/link.sh,") + installedScript), 0);
  expectItem(installedScript, S_IFREG | 0500);
  EXPECT_EQ(readFile(installedScript), sourceContent);
  EXPECT_EQ(readFile(sourceScript), sourceContent);
}

TEST_F(InstallationTest, ASourceThatIsAFifoFailsWithoutWaitingForAWriter) {
  ASSERT_EQ(::mkfifo("/var/tmp/fifo.sh", 0600), 0);
  EXPECT_EQ(install(std::string("/var/tmp/fifo.sh,") + installedScript), 590);
  EXPECT_FALSE(std::filesystem::exists(installedScript));
}

TEST_F(InstallationTest, ASourceThatIsAFolderFails) {
  std::filesystem::create_directories("/var/tmp/folder.sh");
  EXPECT_EQ(install(std::string("/var/tmp/folder.sh,") + installedScript), 590);
  EXPECT_FALSE(std::filesystem::exists(installedScript));
}

TEST_F(InstallationTest, TheSetUserBitOfTheSourceIsNotCopied) {
  writeFile(sourceScript, sourceContent, 06755);
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript), 0);
  expectItem(installedScript, S_IFREG | 0500);
}

TEST_F(InstallationTest, ADestinationElsewhereIsTakenAsItIsAndTheEarlierCopyOfThatNameIsRemoved) {
  addScript("job.sh", "#!/bin/sh\nold\n");
  EXPECT_EQ(install(std::string(sourceScript) + ",/var/tmp/job.sh"), 0);
  EXPECT_FALSE(std::filesystem::exists(installedScript));
  expectItem("/var/tmp/job.sh", S_IFREG | 0500);
}

TEST_F(InstallationTest, AnExistingDestinationElsewhereIsNotOverwritten) {
  writeFile("/var/tmp/job.sh", "precious");
  EXPECT_EQ(install(std::string(sourceScript) + ",/var/tmp/job.sh"), 590);
  EXPECT_EQ(readFile("/var/tmp/job.sh"), "precious");
}

TEST_F(InstallationTest, AFullDiskFailsAndLeavesNothingHalfWritten) {
  support::PrivateFolders tiny;
  std::filesystem::create_directories("/var/orvane");
  ASSERT_TRUE(tiny.replace("/var/orvane", "64k"));
  writeFile(sourceScript, sourceContent + std::string(1'000'000, '#'));
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript), 590);
  EXPECT_THAT(namesIn("/var/orvane"), ::testing::IsEmpty());
  writeFile(sourceScript, sourceContent);
  EXPECT_EQ(install(std::string(sourceScript) + "," + installedScript), 0) << "the failed attempt keeps its space";
}

TEST_F(InstallationTest, AMissingVarIsNotCreated) {
  // A root in which everything is as outside, but for /var.
  std::string plan = "set -e; mkdir -p /run/root; cd /run/root; ln -s usr/bin usr/sbin usr/lib usr/lib64 .; ";
  for (const char* folder : {"usr", "etc", "run", "proc", "dev", "mnt", "tmp"}) {
    plan += std::string("mkdir ") + folder + "; mount --rbind /" + folder + " " + folder + "; ";
  }
  ASSERT_EQ(support::Program::run({"bash", "-c", plan}).status, 0);
  writeFile("/run/start-helper", "#!/bin/bash\nexec chroot /run/root " + helperExecutable() + "\n", 0755);
  writeFile("/run/source.sh", sourceContent);
  activateThrough("/run/start-helper");
  EXPECT_EQ(install(std::string("/run/source.sh,") + installedScript), 590);
  EXPECT_FALSE(std::filesystem::exists("/run/root/var"));
  EXPECT_EQ(install("/run/source.sh,/run/copy.sh"), 590) << "without a script folder nothing is installed";
  std::filesystem::create_directories("/run/root/var");
  EXPECT_EQ(install(std::string("/run/source.sh,") + installedScript), 0);
  expectItem(std::string("/run/root") + installedScript, S_IFREG | 0500);
}

}  // namespace
}  // namespace wicket::integration
