// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/integration/IntegrationTest.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

using namespace std::chrono_literals;
using support::Program;
using ::testing::HasSubstr;

/// A client that others wrote, on a D-Bus library that is not the helper's own. It carries the companion's
/// signature, or nobody would talk to it.
class ForeignClientTest : public IntegrationTest {
 protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    ASSERT_TRUE(CompanionStage::installAsCompanion("/usr/bin/dbus-send", signedDbusSend));
  }
  static Program dbusSend(const std::string& member, const std::vector<std::string>& arguments = {}) {
    std::vector<std::string> words{signedDbusSend,          "--peer=" + address,
                                   "--print-reply=literal", "--type=method_call",
                                   "/net/orvane/Wicket",    "net.orvane.Wicket.HelperProtocol." + member};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Program::run(words);
  }

  inline static const std::string signedDbusSend = "/run/dbus-send";
  inline static const std::string address = "unix:path=/run/net.orvane.Wicket.TlvPrivilegedHelper";
};

TEST_F(ForeignClientTest, DbusSendGetsTheVersion) {
  const auto reply = dbusSend("getVersionWithCompletion_");
  EXPECT_EQ(reply.status, 0) << reply.errors;
  EXPECT_THAT(reply.output, HasSubstr("9417"));
}

TEST_F(ForeignClientTest, DbusSendWithoutTheCompanionsSignatureIsCutBeforeItIsAnswered) {
  const auto reply = Program::run({"dbus-send", "--peer=" + address, "--print-reply=literal", "--type=method_call",
                                   "/net/orvane/Wicket", "net.orvane.Wicket.HelperProtocol.getVersionWithCompletion_"});
  EXPECT_NE(reply.status, 0);
  EXPECT_EQ(reply.output, "");
  EXPECT_THAT(dbusSend("getVersionWithCompletion_").output, HasSubstr("9417"));
}

TEST_F(ForeignClientTest, DbusSendRunsAScriptAndGetsTheReplyCode) {
  addScript("job.sh", "#!/bin/bash\necho started > /run/was-started\n");
  const auto reply = dbusSend("runCommandWithFilename_arguments_completion_", {"string:job.sh", "array:string:a,b"});
  EXPECT_EQ(reply.status, 0) << reply.errors;
  EXPECT_THAT(reply.output, HasSubstr("int64 0"));
  EXPECT_TRUE(eventually([] { return readFile("/run/was-started") == "started\n"; }));
  EXPECT_THAT(dbusSend("runCommandWithFilename_arguments_completion_", {"string:no", "array:string:"}).output,
              HasSubstr("int64 756"));
}

TEST_F(ForeignClientTest, DbusSendIsRefusedAnInstallationWithoutAuthorization) {
  EXPECT_THAT(dbusSend("installScriptAt_authData_completion_", {"string:/a,/b", "array:byte:1,2,3"}).output,
              HasSubstr("int64 156"));
}

TEST_F(ForeignClientTest, DbusSendRemovesScripts) {
  addScript("one.sh", "#!/bin/bash\n");
  addScript("two.sh", "#!/bin/bash\n");
  EXPECT_THAT(dbusSend("uninstallScriptWithFilename_completion_", {"string:one.sh"}).output, HasSubstr("int64 0"));
  // dbus-send has no escape for the comma in a string outside of arrays, and needs none.
  EXPECT_THAT(dbusSend("uninstallScriptAt_completion_", {"string:/x,/var/orvane/two.sh"}).output, HasSubstr("int64 0"));
  EXPECT_TRUE(std::filesystem::is_empty(scriptFolder));
}

TEST_F(ForeignClientTest, DbusSendIsToldWhenTheTypesAreWrong) {
  const auto reply = dbusSend("uninstallScriptWithFilename_completion_", {"int32:1"});
  EXPECT_NE(reply.status, 0);
  EXPECT_THAT(reply.errors, HasSubstr("org.freedesktop.DBus.Error.InvalidArgs"));
}

TEST_F(ForeignClientTest, ATwoInAByteRemovesTheScriptFolder) {
  addScript("job.sh", "#!/bin/bash\n");
  // It has to wait for the answer: what a client asks that has ended before its turn is not done.
  const auto sent = dbusSend("uninstallWithAll_", {"byte:2"});
  EXPECT_EQ(sent.status, 0) << sent.errors;
  EXPECT_TRUE(eventually([] { return !std::filesystem::exists("/var/orvane"); }));
}

TEST_F(ForeignClientTest, IntrospectionDocumentsTheProtocol) {
  const auto reply = Program::run({signedDbusSend, "--peer=" + address, "--print-reply=literal", "--type=method_call",
                                   "/net/orvane/Wicket", "org.freedesktop.DBus.Introspectable.Introspect"});
  EXPECT_EQ(reply.status, 0) << reply.errors;
  EXPECT_THAT(reply.output, HasSubstr("<interface name=\"net.orvane.Wicket.HelperProtocol\">"));
  for (const char* member : {"getVersionWithCompletion_", "runCommandWithFilename_arguments_completion_",
                             "installScriptAt_authData_completion_", "uninstallWithAll_",
                             "uninstallScriptAt_completion_", "uninstallScriptWithFilename_completion_"}) {
    EXPECT_THAT(reply.output, HasSubstr(std::string("<method name=\"") + member + "\">"));
  }
  EXPECT_THAT(reply.output, HasSubstr("<interface name=\"net.orvane.Wicket.ReplyBlock\">"));
  EXPECT_THAT(reply.output, HasSubstr("<signal name=\"CalledAgain\">"));
}

}  // namespace
}  // namespace wicket::integration
