// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/integration/IntegrationTest.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <vector>

#include "tests/support/ComesTrue.h"
#include "tests/support/Machine.h"
#include "wire/BusNames.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::Need;

constexpr char errorFile[] = "/run/helper.errors";

void makeWorldWritable(const std::string& folder) {
  std::filesystem::create_directories(folder);
  ::chmod(folder.c_str(), 01777);
}

/// Whether the helper is to find the means of a kernel before 6.5 only.
bool isKernelOlder() { return std::getenv("WICKET_TEST_KERNEL") != nullptr; }

bool isFiltered(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line == "Seccomp:\t2") return true;
  }
  return false;
}

}  // namespace

void IntegrationTest::prepareProcess(char** arguments) {
  // Where that is not allowed, each test says so.
  if (support::refusalOf(Need::mountNamespace) || support::refusalOf(Need::privilegesOfFiles)) return;
  if (const auto failure = CompanionStage::enter(arguments)) {
    std::fprintf(stderr, "%s\n", failure->c_str());
    std::exit(EXIT_FAILURE);
  }
  // Scripts outlive their helper; this process takes them over, so that it can end them.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

void IntegrationTest::SetUp() {
  WICKET_NEEDS(Need::mountNamespace);
  WICKET_NEEDS(Need::privilegesOfFiles);
  if (isKernelOlder()) WICKET_NEEDS(Need::seccompListener);
  folders_.emplace();
  for (const char* folder : {"/run", "/var", "/etc/polkit-1"}) ASSERT_TRUE(folders_->replace(folder)) << folder;
  for (const char* folder : {"/run/dbus", "/var/lib/polkit-1"}) std::filesystem::create_directories(folder);
  std::filesystem::create_symlink("/run", "/var/run");
  makeWorldWritable("/var/tmp");
  replaceSystemctl(1);
  activateThrough(isKernelOlder() ? helperOnOlderKernel() : helperExecutable());
}

std::string IntegrationTest::helperOnOlderKernel() {
  const std::string starter = "/run/start-helper-on-older-kernel";
  writeFile(starter, "#!/bin/sh\nexec " + CompanionStage::olderKernel() + " " + helperExecutable() + "\n", 0755);
  return starter;
}

void IntegrationTest::activateThrough(const std::string& program) {
  activator_.reset();
  activator_ = std::make_unique<support::SocketActivator>(program, wire::socketPath, errorFile);
  ASSERT_TRUE(CompanionStage::giveGroup(wire::socketPath, 0660));
}

void IntegrationTest::replaceSystemctl(int status) {
  std::filesystem::create_directories(support::SocketActivator::firstProgramFolder);
  writeFile(std::string(support::SocketActivator::firstProgramFolder) + "/systemctl",
            "#!/bin/bash\necho \"$@\" >> /run/systemctl.called\nexit " + std::to_string(status) + "\n", 0755);
}

void IntegrationTest::TearDown() {
  if (!folders_) return;
  genuine_.reset();
  activator_.reset();
  ProcessInspection::endAllChildren();
  EXPECT_EQ(helperErrors(), "");
  folders_.reset();
}

std::unique_ptr<BusClient> IntegrationTest::connect() {
  auto client = BusClient::connect(wire::socketPath);
  if (client == nullptr) throw std::runtime_error("nobody listens on the helper's socket");
  return client;
}

std::unique_ptr<BusClient> IntegrationTest::connectAndGreet() {
  auto client = connect();
  const auto reply = client->await(client->startVersion());
  if (!reply || !reply->error.empty()) throw std::runtime_error("the helper does not answer");
  if (isFiltered(helperPid()) != isKernelOlder()) throw std::runtime_error("the helper is on the wrong kernel");
  return client;
}

BusClient& IntegrationTest::genuine() {
  constexpr auto age = 15s;
  const bool isYoung = genuine_ != nullptr && Clock::now() - genuine_->connectedAt() < age;
  if (!isYoung) genuine_ = connectAndGreet();
  return *genuine_;
}

void IntegrationTest::stopHelper() const {
  const pid_t pid = helperPid();
  siginfo_t stopped{};
  ASSERT_EQ(::kill(pid, SIGSTOP), 0);
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(pid), &stopped, WSTOPPED), 0);
}

void IntegrationTest::continueHelper() const { ASSERT_EQ(::kill(helperPid(), SIGCONT), 0); }

std::string IntegrationTest::addScript(const std::string& name, const std::string& content) {
  std::filesystem::create_directories(scriptFolder);
  writeFile(scriptFolder + name, content, 0500);
  return scriptFolder + name;
}

void IntegrationTest::writeFile(const std::string& path, const std::string& content, unsigned mode) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  ASSERT_TRUE(file.good()) << path;
  ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

std::string IntegrationTest::readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool IntegrationTest::eventually(const std::function<bool()>& condition) { return support::comesTrue(condition); }

bool IntegrationTest::hears(support::RawClient& client, std::string_view text) {
  std::string heard;
  bool isOpen = true;
  const auto isHeard = [&] { return heard.find(text) != std::string::npos; };
  eventually([&] {
    heard += client.receive(10ms);
    isOpen = !client.isClosedWithin(0ms);
    return isHeard() || !isOpen;
  });
  return isHeard();
}

std::string IntegrationTest::helperErrors() { return readFile(errorFile).substr(0, 4000); }

namespace line {

std::string success(const std::string& path) { return "Script at " + path + " was executed successfully."; }

std::string failure(const std::string& path, int status) {
  return "ERROR: Execution of the script at " + path + " failed with exit code " + std::to_string(status) + ".";
}

std::string noTool(const std::string& path) {
  return "ERROR: Script at " + path +
         " was not executed, because a valid path to the tool could not be found. Please always include a valid "
         "shebang in your scripts.";
}

std::string notFound(const std::string& name) {
  return "ERROR: The priviliged script \"" + name +
         "\" was not executed, as it was not found. Please install it again.";
}

std::string unreadable(const std::string& path) { return "ERROR: Unable to read script at " + path + "."; }

std::string notExecuted(const std::string& path) {
  return "ERROR: Privileged script at " + path + " was not executed, as it could not be read.";
}

std::string notAuthorized(const std::string& message) {
  return "ERROR: Authentication failed with message(\"" + message + "\")";
}

}  // namespace line
}  // namespace wicket::integration
