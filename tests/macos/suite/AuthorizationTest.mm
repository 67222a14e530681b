// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <condition_variable>
#include <mutex>
#include <utility>

#include "tests/macos/frameworks/Authorization.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/VirtualTime.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using namespace std::chrono_literals;
using frameworks::Authorization;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string externalForm = "0123456789abcdef0123456789ABCDEF";

class AuthorizationTest : public HelperTest {
 protected:
  void SetUp() override {
    HelperTest::SetUp();
    ASSERT_TRUE(client_.connect());
    forget();
  }
  /// The answer to an installation with that authorization.
  std::vector<std::string> install(NSData* authorization) {
    Replies replies;
    client_.call([&](id<HelperProtocol> helper) {
      [helper installScriptAt:@"/source.sh,/var/orvane/source.sh" authData:authorization completion:replies.code()];
    });
    return replies.all();
  }
  std::vector<std::string> install() { return install(data(externalForm)); }
  static NSData* data(const std::string& bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }

  const Client client_;
};

TEST_F(AuthorizationTest, DataThatIsAbsentOrOfAnotherLengthIsRefusedWithoutAskingTheSystem) {
  const std::string line = "ERROR: Authentication failed with message(\"Invalid Authorization External Form Data\")";
  NSData* absent = nil;
  for (NSData* authorization : {absent, data(""), data(externalForm.substr(1)), data(externalForm + "x")}) {
    EXPECT_THAT(install(authorization), ElementsAre("156"));
  }
  EXPECT_THAT(client_.lines(), ElementsAre(line, line, line, line));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(AuthorizationTest, TheSystemIsAskedForTheRightOfTheCommandWithInteraction) {
  files().addFile("/source.sh", "#!/bin/sh\n");
  files().addDirectory("/var");
  EXPECT_THAT(install(), ElementsAre("0"));
  EXPECT_THAT(recorded(),
              ElementsAre("authorization from " + externalForm,
                          "rights [net.orvane.Wicket.TlvPrivilegedHelper.installScriptAt:authData:completion:] of that "
                          "authorization, environment nothing, flags 3, granted ones not asked for"));
  EXPECT_THAT(client_.lines(), IsEmpty());
}

TEST_F(AuthorizationTest, TheAuthorizationIsNeverFreed) {
  EXPECT_THAT(install(), ElementsAre("590"));
  Authorization::answer({.copyRightsStatus = -60005});
  EXPECT_THAT(install(), ElementsAre("156"));
  EXPECT_THAT(recorded("authorization freed"), IsEmpty());
}

TEST_F(AuthorizationTest, AReferenceThatIsMissingInSpiteOfSuccessIsReported) {
  Authorization::answer({.hasReference = false});
  EXPECT_THAT(install(), ElementsAre("156"));
  EXPECT_THAT(client_.lines(), ElementsAre("ERROR: Authentication failed with message(\"Failed to convert the "
                                           "Authorization External Form to an Authorization Reference\")"));
  EXPECT_THAT(recorded("rights"), IsEmpty());
}

TEST_F(AuthorizationTest, AStatusWithoutATextIsPrintedAsNil) {
  Authorization::answer({.copyRightsStatus = -60005, .hasTexts = false});
  EXPECT_THAT(install(), ElementsAre("156"));
  EXPECT_THAT(client_.lines(), ElementsAre("ERROR: Authentication failed with message(\"nil\")"));
}

TEST_F(AuthorizationTest, AStatusThatNobodyKnowsIsPrintedAsTheSystemPrintsIt) {
  Authorization::answer({.createStatus = -60034});
  EXPECT_THAT(install(), ElementsAre("156"));
  EXPECT_THAT(client_.lines(), ElementsAre("ERROR: Authentication failed with message(\"Optional(OSStatus -60034)\")"));
}

TEST_F(AuthorizationTest, ALongDialogHoldsUpNeitherTheTimerNorOtherClients) {
  std::mutex mutex;
  std::condition_variable answered;
  bool hasAnswered = false;
  Authorization::answer({.copyRightsStatus = -60006, .dialog = [&] {
                           const frameworks::SerialQueue::LongWait waiting;
                           std::unique_lock lock(mutex);
                           answered.wait(lock, [&] { return hasAnswered; });
                         }});
  Replies late;
  client_.send([&](id<HelperProtocol> helper) {
    [helper installScriptAt:@"/a,/b" authData:data(externalForm) completion:late.code()];
  });
  Replies other;
  frameworks::VirtualTime::at(1s, [&] {
    const Client second;
    EXPECT_TRUE(second.connect());
    second.call([&](id<HelperProtocol> helper) { [helper getVersionWithCompletion:other.text()]; });
    EXPECT_THAT(other.all(), ElementsAre("9417"));
  });
  // The first client's countdown is over by then, with its call still waiting.
  frameworks::VirtualTime::at(45s + 1ns, [&] {
    EXPECT_TRUE(client_.connection().wicketIsInvalid);
    EXPECT_FALSE(helper().shouldQuit());
    const std::scoped_lock lock(mutex);
    hasAnswered = true;
    answered.notify_all();
  });
  frameworks::VirtualTime::runUntil(frameworks::VirtualTime::now() + 50 * NSEC_PER_SEC);
  EXPECT_THAT(late.await(1), ElementsAre("156"));
}

using StatusAndText = std::pair<OSStatus, const char*>;

class AuthorizationStatusTest : public AuthorizationTest, public testing::WithParamInterface<StatusAndText> {
 protected:
  static std::string expectedLine() {
    return std::string("ERROR: Authentication failed with message(\"Optional(") + GetParam().second + ")\")";
  }
};

TEST_P(AuthorizationStatusTest, IsPrintedWithTheSystemsTextWhenTheExternalFormIsRejected) {
  Authorization::answer({.createStatus = GetParam().first});
  EXPECT_THAT(install(), ElementsAre("156"));
  EXPECT_THAT(client_.lines(), ElementsAre(expectedLine()));
  EXPECT_THAT(recorded("rights"), IsEmpty());
  EXPECT_THAT(recorded("text"), ElementsAre("text of " + std::to_string(GetParam().first)));
}

TEST_P(AuthorizationStatusTest, IsPrintedWithTheSystemsTextWhenTheRightIsRefused) {
  Authorization::answer({.copyRightsStatus = GetParam().first});
  EXPECT_THAT(install(), ElementsAre("156"));
  EXPECT_THAT(client_.lines(), ElementsAre(expectedLine()));
}

INSTANTIATE_TEST_SUITE_P(
    EachStatus, AuthorizationStatusTest,
    testing::Values(StatusAndText(-60001, "The authorization rights are invalid."),
                    StatusAndText(-60002, "The authorization reference is invalid."),
                    StatusAndText(-60003, "The authorization tag is invalid."),
                    StatusAndText(-60004, "The returned authorization is invalid."),
                    StatusAndText(-60005, "The authorization was denied."),
                    StatusAndText(-60006, "The authorization was canceled by the user."),
                    StatusAndText(-60007, "The authorization was denied since no user interaction was possible."),
                    StatusAndText(-60008, "Unable to obtain authorization for this operation."),
                    StatusAndText(-60009, "The authorization is not allowed to be converted to an external format."),
                    StatusAndText(-60010, "The authorization is not allowed to be created from an external format."),
                    StatusAndText(-60011, "The provided option flag(s) are invalid for this authorization operation."),
                    StatusAndText(-60031, "The specified program could not be executed."),
                    StatusAndText(-60032, "An invalid status was returned during execution of a privileged tool."),
                    StatusAndText(-60033, "The requested socket address is invalid (must be 0-1023 inclusive).")),
    [](const auto& status) { return "Status" + std::to_string(-status.param.first); });

}  // namespace
}  // namespace wicket::suite
