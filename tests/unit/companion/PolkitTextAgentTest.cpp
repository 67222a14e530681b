// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <signal.h>
#include <sstream>
#include <stdlib.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "base/system/Descriptor.h"
#include "companion/AuthorizationRequest.h"
#include "companion/PolkitTextAgent.h"

namespace wicket::companion {
namespace {

/// A terminal as standard input, and a stand-in for the agent.
class PolkitTextAgentTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = "/tmp/wicket-test-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    standardInput_.reset(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
    controller_.reset(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_EQ(::grantpt(controller_.get()), 0);
    ASSERT_EQ(::unlockpt(controller_.get()), 0);
    const Descriptor terminal(::open(::ptsname(controller_.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_EQ(::dup2(terminal.get(), STDIN_FILENO), STDIN_FILENO);
  }
  void TearDown() override {
    ::dup2(standardInput_.get(), STDIN_FILENO);
    std::filesystem::remove_all(folder_);
  }

  [[nodiscard]] std::string agentThat(const std::string& does) const {
    std::string path = folder_ + "/agent";
    std::ofstream(path) << "#!/bin/sh\n" << does << "\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
  [[nodiscard]] std::string contentOf(const std::string& name) const {
    std::ifstream file(folder_ + "/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }

  std::string folder_;
  Descriptor standardInput_;
  Descriptor controller_;
};

TEST_F(PolkitTextAgentTest, ItIsStartedForThisProcessAndEndsWithItsObject) {
  const std::string executable =
      agentThat("echo \"$@\" >" + folder_ + "/words; echo $$ >" + folder_ + "/pid; exec 3>&-; exec sleep 60");
  const auto self = AuthorizationRequest::forThisProcess();
  ASSERT_TRUE(self);
  pid_t agentProcess = 0;
  {
    const auto agent = PolkitTextAgent::start(executable);
    ASSERT_TRUE(agent);
    agentProcess = std::stoi(contentOf("pid"));
    EXPECT_EQ(::kill(agentProcess, 0), 0);
    const std::string subject = std::to_string(self->token().pid) + "," + std::to_string(self->token().startTime);
    EXPECT_TRUE(contentOf("words").starts_with("--process " + subject + " --notify-fd 3")) << contentOf("words");
  }
  EXPECT_EQ(::kill(agentProcess, 0), -1);
}

TEST_F(PolkitTextAgentTest, ThePromptWaitsUntilTheAgentIsReady) {
  const auto agent =
      PolkitTextAgent::start(agentThat("sleep 0.3; touch " + folder_ + "/ready; exec 3>&-; exec sleep 60"));
  ASSERT_TRUE(agent);
  EXPECT_TRUE(std::filesystem::exists(folder_ + "/ready"));
}

TEST_F(PolkitTextAgentTest, TheTerminalIsGivenBackAsItWas) {
  termios before{};
  ASSERT_EQ(::tcgetattr(STDIN_FILENO, &before), 0);
  ASSERT_NE(before.c_lflag & static_cast<tcflag_t>(ECHO), 0U);
  {
    const auto agent = PolkitTextAgent::start(agentThat("stty -echo; exec 3>&-; exec sleep 60"));
    ASSERT_TRUE(agent);
    termios during{};
    ASSERT_EQ(::tcgetattr(STDIN_FILENO, &during), 0);
    EXPECT_EQ(during.c_lflag & static_cast<tcflag_t>(ECHO), 0U);
  }
  termios after{};
  ASSERT_EQ(::tcgetattr(STDIN_FILENO, &after), 0);
  EXPECT_EQ(after.c_lflag, before.c_lflag);
}

TEST_F(PolkitTextAgentTest, WhatIsMissingIsTold) {
  EXPECT_EQ(PolkitTextAgent::start(folder_ + "/none").error(), PolkitTextAgent::Absence::notInstalled);
  const Descriptor null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::dup2(null.get(), STDIN_FILENO), STDIN_FILENO);
  EXPECT_EQ(PolkitTextAgent::start(agentThat("exec sleep 60")).error(), PolkitTextAgent::Absence::noTerminal);
}

}  // namespace
}  // namespace wicket::companion
