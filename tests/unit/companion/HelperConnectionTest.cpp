// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "base/system/Descriptor.h"
#include "companion/AuthorizationRequest.h"
#include "companion/HelperConnection.h"
#include "tests/support/FakeHelper.h"

namespace wicket::companion {
namespace {

using Lines = std::vector<std::string>;

HelperConnection connectTo(const FakeHelper& helper, int cancelDescriptor = -1) {
  auto connection = HelperConnection::connect({helper.socketPath(), cancelDescriptor});
  if (!connection) throw std::runtime_error("no connection");
  return std::move(*connection);
}

TEST(HelperConnectionTest, TheVersionIsTheHelpersText) {
  const FakeHelper helper({});
  EXPECT_EQ(connectTo(helper).getVersion(), "9417");
}

/// A socket at which somebody listens and nobody ever looks.
class SilentSocket {
 public:
  explicit SilentSocket(int backlog) {
    address_.sun_family = AF_UNIX;
    path_.copy(address_.sun_path, sizeof address_.sun_path - 1);
    std::filesystem::remove(path_);
    if (::bind(listening_.get(), generic(), sizeof address_) != 0 || ::listen(listening_.get(), backlog) != 0) {
      throw std::runtime_error(path_);
    }
  }
  SilentSocket(const SilentSocket&) = delete;
  SilentSocket& operator=(const SilentSocket&) = delete;
  ~SilentSocket() { std::filesystem::remove(path_); }

  /// So many clients wait there that no more can.
  void fill() {
    for (;;) {
      Descriptor waiting(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
      if (::connect(waiting.get(), generic(), sizeof address_) != 0) return;
      waiting_.push_back(std::move(waiting));
    }
  }
  [[nodiscard]] ConnectOptions options() const {
    return {.socketPath = path_, .timeLimit = std::chrono::milliseconds(50)};
  }

 private:
  [[nodiscard]] const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&address_); }

  const std::string path_ = "/tmp/wicket-silent-" + std::to_string(::getpid());
  sockaddr_un address_{};
  const Descriptor listening_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  std::vector<Descriptor> waiting_;
};

TEST(HelperConnectionTest, AHelperThatIsSilentDoesNotHoldUpWhoAsksForItsVersion) {
  const SilentSocket silent(8);
  auto connection = HelperConnection::connect(silent.options());
  ASSERT_TRUE(connection);
  const auto version = connection->getVersion();
  ASSERT_FALSE(version);
  EXPECT_EQ(version.error(), CallError::timedOut);
}

TEST(HelperConnectionTest, AHelperThatTakesNobodyDoesNotHoldUpWhoConnects) {
  SilentSocket silent(0);
  silent.fill();
  const auto connection = HelperConnection::connect(silent.options());
  ASSERT_FALSE(connection);
  EXPECT_EQ(connection.error().failure, ConnectionFailure::timedOut);
}

TEST(HelperConnectionTest, EveryOperationReachesTheHelperUnderItsMemberNameWithItsArguments) {
  FakeHelper helper({});
  auto connection = connectTo(helper);
  const auto authorization = AuthorizationRequest::forThisProcess();
  ASSERT_TRUE(authorization);
  EXPECT_TRUE(connection.getVersion());
  EXPECT_TRUE(connection.runCommand("a b.sh", {"x", "y"}));
  EXPECT_EQ(connection.installScript("/s,/d", authorization->externalForm()), 0);
  EXPECT_EQ(connection.uninstallScriptAt("/s,/d"), 0);
  EXPECT_EQ(connection.uninstallScriptWithFilename("job.sh"), 0);
  EXPECT_TRUE(connection.uninstall(true));
  EXPECT_TRUE(connection.uninstall(false));
  EXPECT_TRUE(connection.getVersion());
  EXPECT_EQ(helper.requests(),
            (Lines{"getVersionWithCompletion_()", "runCommandWithFilename_arguments_completion_(a b.sh, [x;y;])",
                   "installScriptAt_authData_completion_(/s,/d, 32 bytes)", "uninstallScriptAt_completion_(/s,/d)",
                   "uninstallScriptWithFilename_completion_(job.sh)", "uninstallWithAll_(1)", "uninstallWithAll_(0)",
                   "getVersionWithCompletion_()"}));
}

TEST(HelperConnectionTest, LogLinesArriveInOrderBeforeTheReplyAndBeforeTheLaterReport) {
  const FakeHelper helper({.linesBeforeReply = {"one"}, .linesAfterReply = {"two", "three\n"}, .laterReport = 7});
  auto connection = connectTo(helper);
  Lines lines;
  connection.onLogLine([&lines](std::string_view text) { lines.emplace_back(text); });
  const auto run = connection.runCommand("job.sh");
  ASSERT_TRUE(run && run->isStarted());
  EXPECT_EQ(lines.at(0), "one");
  EXPECT_EQ(connection.waitForExit(*run), 7);
  EXPECT_EQ(lines, (Lines{"one", "two", "three\n"}));
}

TEST(HelperConnectionTest, ALaterReportThatOvertakesTheReplyIsNotLost) {
  const FakeHelper helper({.laterReport = 3, .laterReportComesFirst = true});
  auto connection = connectTo(helper);
  const auto run = connection.runCommand("job.sh");
  ASSERT_TRUE(run);
  EXPECT_EQ(connection.waitForExit(*run), 3);
}

TEST(HelperConnectionTest, ALaterReportThatArrivesDuringAnotherCallIsKeptForItsRun) {
  const FakeHelper helper({.laterReport = 5});
  auto connection = connectTo(helper);
  const auto first = connection.runCommand("first.sh");
  const auto second = connection.runCommand("second.sh");
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->serial, second->serial);
  EXPECT_TRUE(connection.getVersion());
  EXPECT_EQ(connection.waitForExit(*second), 6);
  EXPECT_EQ(connection.waitForExit(*first), 5);
}

TEST(HelperConnectionTest, AConnectionCutBeforeTheReplyIsReportedAsCut) {
  const FakeHelper helper({.cutsBeforeReply = true});
  auto connection = connectTo(helper);
  EXPECT_EQ(connection.runCommand("job.sh").error(), CallError::connectionCut);
  EXPECT_EQ(connection.getVersion().error(), CallError::connectionCut);
}

TEST(HelperConnectionTest, AnErrorOfTheHelperIsToldFromACutConnectionAndALimitByItsName) {
  const auto errorFor = [](const char* name) {
    const FakeHelper helper({.error = name});
    auto connection = connectTo(helper);
    const auto code = connection.uninstallScriptWithFilename("job.sh");
    EXPECT_FALSE(code);
    return code.error();
  };
  EXPECT_EQ(errorFor("net.orvane.Wicket.Error.TooManyConnections"), CallError::tooManyConnections);
  EXPECT_EQ(errorFor("net.orvane.Wicket.Error.TooManyQuestions"), CallError::tooManyQuestions);
  EXPECT_EQ(errorFor("net.orvane.Wicket.Error.TooManyScripts"), CallError::tooManyScripts);
  EXPECT_EQ(errorFor("org.freedesktop.DBus.Error.UnknownMethod"), CallError::rejected);
}

TEST(HelperConnectionTest, AnErrorDoesNotEndTheConnection) {
  const FakeHelper helper({.error = "net.orvane.Wicket.Error.TooManyScripts"});
  auto connection = connectTo(helper);
  EXPECT_EQ(connection.runCommand("a.sh").error(), CallError::tooManyScripts);
  EXPECT_EQ(connection.runCommand("b.sh").error(), CallError::tooManyScripts);
  EXPECT_EQ(connection.getVersion().error(), CallError::tooManyScripts);
}

TEST(HelperConnectionTest, AConnectionCutBeforeTheLaterReportStillDeliversEveryLine) {
  const FakeHelper helper({.linesAfterReply = {"last words"}, .cutsAfterReply = true});
  auto connection = connectTo(helper);
  Lines lines;
  connection.onLogLine([&lines](std::string_view text) { lines.emplace_back(text); });
  const auto run = connection.runCommand("job.sh");
  ASSERT_TRUE(run);
  EXPECT_EQ(connection.waitForExit(*run).error(), CallError::connectionCut);
  EXPECT_EQ(lines, Lines{"last words"});
}

TEST(HelperConnectionTest, ATextThatCannotTravelIsRefusedBeforeAnythingIsSent) {
  FakeHelper helper({});
  auto connection = connectTo(helper);
  EXPECT_EQ(connection.runCommand(std::string("a\0b", 3)).error(), CallError::invalidArgument);
  EXPECT_EQ(connection.runCommand("a", {std::string("\0", 1)}).error(), CallError::invalidArgument);
  EXPECT_EQ(connection.uninstallScriptWithFilename("\xFF").error(), CallError::invalidArgument);
  EXPECT_TRUE(connection.getVersion());
  EXPECT_EQ(helper.requests(), Lines{"getVersionWithCompletion_()"});
}

TEST(HelperConnectionTest, TenThousandArgumentsTravel) {
  FakeHelper helper({});
  auto connection = connectTo(helper);
  EXPECT_TRUE(connection.runCommand("job.sh", Lines(10'000, "word")));
  EXPECT_EQ(helper.requests().at(0).size(), std::string("runCommandWithFilename_arguments_completion_()").size() +
                                                std::string("job.sh, []").size() + 10'000 * 5);
}

TEST(HelperConnectionTest, TheCancelDescriptorEndsAWait) {
  const FakeHelper helper({});
  const Descriptor cancel(::eventfd(0, EFD_CLOEXEC));
  auto connection = connectTo(helper, cancel.get());
  const auto run = connection.runCommand("endless.sh");
  ASSERT_TRUE(run);
  ::eventfd_write(cancel.get(), 1);
  EXPECT_EQ(connection.waitForExit(*run).error(), CallError::interrupted);
}

TEST(HelperConnectionTest, AMissingSocketMeansThatTheHelperIsNotInstalled) {
  const auto connection = HelperConnection::connect({"/tmp/wicket-no-such-socket"});
  ASSERT_FALSE(connection);
  EXPECT_EQ(connection.error().failure, ConnectionFailure::notInstalled);
}

TEST(HelperConnectionTest, ASocketThatNobodyListensAtIsTold) {
  std::string folder = "/tmp/wicket-test-XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = folder + "/socket";
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  const auto connection = HelperConnection::connect({path});
  std::filesystem::remove_all(folder);
  ASSERT_FALSE(connection);
  EXPECT_EQ(connection.error().failure, ConnectionFailure::notListening);
}

TEST(HelperConnectionTest, ASocketPathThatIsTooLongFails) {
  const auto connection = HelperConnection::connect({"/" + std::string(200, 'x')});
  ASSERT_FALSE(connection);
  EXPECT_EQ(connection.error().failure, ConnectionFailure::failed);
}

TEST(AuthorizationRequestTest, ItNamesThisProcessAndItsRealUser) {
  const auto request = AuthorizationRequest::forThisProcess();
  ASSERT_TRUE(request);
  EXPECT_EQ(request->token().pid, static_cast<std::uint32_t>(::getpid()));
  EXPECT_EQ(request->token().uid, ::getuid());
  EXPECT_GT(request->token().startTime, 0U);
  EXPECT_EQ(wire::AuthorizationToken::parse(request->externalForm()), request->token());
}

}  // namespace
}  // namespace wicket::companion
