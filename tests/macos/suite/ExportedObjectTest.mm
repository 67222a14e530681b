// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstring>
#include <optional>
#include <stdexcept>
#include <thread>

#include "adapters/macos/CallingUser.h"
#include "adapters/macos/XpcConnection.h"
#include "tests/doubles/RecordingHelperObject.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/runtime/Blocks.h"
#include "tests/macos/suite/Companion.h"
#include "tests/macos/suite/FrameworkTest.h"
#include "tests/macos/suite/Replies.h"

namespace wicket::suite {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What one connection exports, in front of an object that writes down its calls.
class ExportedObjectTest : public FrameworkTest {
 protected:
  ExportedObjectTest() {
    connection_->setExportedInterface(helper_protocol::interface);
    connection_->setExportedObject(object_.unowned());
    connection_->resume();
  }
  void TearDown() override {
    connection_->invalidate();
    FrameworkTest::TearDown();
  }
  [[nodiscard]] bool isCut() const { return client_.connection().wicketIsInvalid != NO; }

  doubles::RecordingHelperObject object_;
  const Client client_;
  Replies replies_;
  const std::shared_ptr<macos_adapter::ServedCalls> calls_ = std::make_shared<macos_adapter::ServedCalls>();
  const std::shared_ptr<macos_adapter::XpcConnection> connection_ =
      std::make_shared<macos_adapter::XpcConnection>(client_.connection(), calls_);
};

TEST_F(ExportedObjectTest, TheVersionIsHandedToTheBlock) {
  client_.call([&](id<HelperProtocol> helper) { [helper getVersionWithCompletion:replies_.text()]; });
  EXPECT_THAT(object_.events(), ElementsAre("getVersion"));
  EXPECT_THAT(replies_.all(), ElementsAre("1"));
}

TEST_F(ExportedObjectTest, EveryArgumentOfEveryMessageArrives) {
  client_.call([&](id<HelperProtocol> helper) {
    [helper runCommandWithFilename:@"name" arguments:@[ @"a", @"", @"b c" ] completion:replies_.code()];
    [helper installScriptAt:@"/a,/b" authData:[NSData dataWithBytes:"xyz" length:3] completion:replies_.code()];
    [helper uninstallScriptAt:@"/c" completion:replies_.code()];
    [helper uninstallScriptWithFilename:@"d" completion:replies_.code()];
  });
  EXPECT_THAT(object_.events(), ElementsAre("runCommand name [a] [] [b c]", "installScript /a,/b data 3",
                                            "uninstallScriptAt /c", "uninstallScriptWithFilename d"));
  EXPECT_THAT(replies_.all(), ElementsAre("0", "0", "0", "0"));
}

TEST_F(ExportedObjectTest, ACodeKeepsAll64Bits) {
  object_.onCode = [](const HelperProtocol::CodeCompletion& completion) { completion(-0x7fffffffffffffff); };
  client_.call([&](id<HelperProtocol> helper) { [helper uninstallScriptAt:@"" completion:replies_.code()]; });
  EXPECT_THAT(replies_.all(), ElementsAre("-9223372036854775807"));
}

TEST_F(ExportedObjectTest, AuthorizationDataThatIsNilStaysAbsentAndEmptyDataDoesNot) {
  client_.call([&](id<HelperProtocol> helper) {
    [helper installScriptAt:@"p" authData:nil completion:replies_.code()];
    [helper installScriptAt:@"p" authData:[NSData dataWithBytes:"" length:0] completion:replies_.code()];
  });
  EXPECT_THAT(object_.events(), ElementsAre("installScript p no data", "installScript p data 0"));
}

TEST_F(ExportedObjectTest, StringsAndArraysThatAreNilArriveEmpty) {
  client_.call([&](id<HelperProtocol> helper) {
    NSString* none = nil;
    NSArray* noArray = nil;
    [helper runCommandWithFilename:none arguments:noArray completion:replies_.code()];
    [helper uninstallScriptAt:none completion:replies_.code()];
  });
  EXPECT_THAT(object_.events(), ElementsAre("runCommand ", "uninstallScriptAt "));
}

TEST_F(ExportedObjectTest, AnyByteButZeroMeansAll) {
  for (const int byte : {0, 1, 2, -1, 0x40, -128}) {
    client_.call([&](id<HelperProtocol> helper) { [helper uninstallWithAll:static_cast<BOOL>(byte)]; });
  }
  EXPECT_THAT(object_.events(), ElementsAre("uninstall", "uninstall all", "uninstall all", "uninstall all",
                                            "uninstall all", "uninstall all"));
}

TEST_F(ExportedObjectTest, TextBeyondAsciiAndEmbeddedNulsArriveWhole) {
  const std::string name("\xc3\xa9\0x", 4);
  NSString* sent = [[NSString alloc] initWithBytes:name.data() length:name.size() encoding:NSUTF8StringEncoding];
  client_.call([&](id<HelperProtocol> helper) { [helper uninstallScriptAt:sent completion:replies_.code()]; });
  EXPECT_THAT(object_.events(), ElementsAre("uninstallScriptAt " + name));
}

TEST_F(ExportedObjectTest, AnArgumentThatIsNoStringCutsTheConnectionAndIsNotPassedOn) {
  client_.call([&](id<HelperProtocol> helper) {
    NSArray* mixed = @[ @"a", @7 ];
    [helper runCommandWithFilename:@"name" arguments:mixed completion:replies_.code()];
  });
  EXPECT_THAT(object_.events(), IsEmpty());
  EXPECT_THAT(replies_.all(), IsEmpty());
  EXPECT_TRUE(isCut());
}

TEST_F(ExportedObjectTest, AStringThatIsNotUnicodeCutsTheConnectionAndIsNotPassedOn) {
  NSString* broken = [NSString wicketStringWithHalfACharacter];
  const std::vector<std::function<void(id<HelperProtocol>)>> messages{
      [&](id<HelperProtocol> helper) { [helper uninstallScriptAt:broken completion:replies_.code()]; },
      [&](id<HelperProtocol> helper) { [helper uninstallScriptWithFilename:broken completion:replies_.code()]; },
      [&](id<HelperProtocol> helper) { [helper installScriptAt:broken authData:nil completion:replies_.code()]; },
      [&](id<HelperProtocol> helper) {
        [helper runCommandWithFilename:broken arguments:@[] completion:replies_.code()];
      },
      [&](id<HelperProtocol> helper) {
        [helper runCommandWithFilename:@"" arguments:@[ broken ] completion:replies_.code()];
      },
  };
  for (const auto& message : messages) {
    const Client client;
    macos_adapter::XpcConnection connection(client.connection(), calls_);
    connection.setExportedInterface(helper_protocol::interface);
    connection.setExportedObject(object_.unowned());
    connection.resume();
    client.call(message);
    EXPECT_TRUE(client.connection().wicketIsInvalid);
  }
  EXPECT_THAT(object_.events(), IsEmpty());
  EXPECT_THAT(replies_.all(), IsEmpty());
}

TEST_F(ExportedObjectTest, TheFirstAnswerOfACallGoesOutOnceAndTheSecondIsDropped) {
  object_.onCode = [](const HelperProtocol::CodeCompletion& completion) {
    completion(0);
    completion(3);
  };
  client_.call([&](id<HelperProtocol> helper) {
    [helper runCommandWithFilename:@"name" arguments:@[] completion:replies_.code()];
  });
  EXPECT_THAT(replies_.all(), ElementsAre("0"));
}

TEST_F(ExportedObjectTest, ASecondAnswerFromAnotherThreadIsDroppedToo) {
  std::vector<std::thread> threads;
  object_.onCode = [&](const HelperProtocol::CodeCompletion& completion) {
    threads.emplace_back([completion] { completion(1); });
    threads.emplace_back([completion] { completion(1); });
  };
  for (int i = 0; i < 50; ++i) {
    client_.call([&](id<HelperProtocol> helper) {
      [helper runCommandWithFilename:@"name" arguments:@[] completion:replies_.code()];
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(replies_.all(), testing::SizeIs(50));
}

TEST_F(ExportedObjectTest, TheBlockIsLetGoOfWithTheFirstAnswerThoughTheCompletionLivesOn) {
  HelperProtocol::CodeCompletion kept;
  object_.onCode = [&](const HelperProtocol::CodeCompletion& completion) {
    kept = completion;
    completion(0);
  };
  __weak id weakCapture = nil;
  @autoreleasepool {
    Companion* capture = [[Companion alloc] init];
    weakCapture = capture;
    client_.call([&](id<HelperProtocol> helper) {
      [helper uninstallScriptAt:@""
                     completion:^(int64_t) {
                       (void)capture;
                     }];
    });
  }
  EXPECT_TRUE(weakCapture == nil);
  kept(5);
}

TEST_F(ExportedObjectTest, AnAnswerAfterTheInvalidationGoesToTheBlockForXpcToDrop) {
  HelperProtocol::CodeCompletion kept;
  object_.onCode = [&](const HelperProtocol::CodeCompletion& completion) { kept = completion; };
  client_.call([&](id<HelperProtocol> helper) { [helper uninstallScriptAt:@"" completion:replies_.code()]; });
  connection_->invalidate();
  frameworks::SerialQueue::waitUntilAllAreIdle();
  kept(0);
  EXPECT_THAT(replies_.all(), ElementsAre("0"));
}

TEST_F(ExportedObjectTest, ACallWithoutABlockIsServedAndItsAnswerDropped) {
  client_.call([&](id<HelperProtocol> helper) {
    void (^none)(int64_t) = nil;
    void (^noText)(NSString*) = nil;
    [helper uninstallScriptAt:@"x" completion:none];
    [helper getVersionWithCompletion:noText];
  });
  EXPECT_THAT(object_.events(), ElementsAre("uninstallScriptAt x", "getVersion"));
}

TEST_F(ExportedObjectTest, WhatACallThrowsCutsItsConnectionInsteadOfReachingXpc) {
  object_.onCode = [](const HelperProtocol::CodeCompletion&) { throw std::runtime_error("no memory"); };
  client_.call([&](id<HelperProtocol> helper) { [helper uninstallScriptAt:@"x" completion:replies_.code()]; });
  EXPECT_TRUE(isCut());
  EXPECT_THAT(replies_.all(), IsEmpty());
}

TEST_F(ExportedObjectTest, TheHelperDoesNotFinishWhileACallWaitsForItsAnswer) {
  HelperProtocol::CodeCompletion kept;
  object_.onCode = [&](const HelperProtocol::CodeCompletion& completion) { kept = completion; };
  client_.call([&](id<HelperProtocol> helper) { [helper uninstallScriptAt:@"x" completion:replies_.code()]; });
  std::thread answering([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    kept(4);
    kept = nullptr;
  });
  calls_->waitUntilQuiet();
  EXPECT_THAT(replies_.all(), ElementsAre("4"));
  answering.join();
}

TEST_F(ExportedObjectTest, TheAuditTokenIsThatOfTheConnectionAllOfIt) {
  const AuditTokenData token = connection_->auditToken();
  for (std::size_t i = 0; i < token.size(); ++i) EXPECT_EQ(std::to_integer<std::size_t>(token[i]), i);
  EXPECT_EQ(connection_->effectiveUserIdentifier(), 0x07060504U) << "the second of its words";
}

TEST_F(ExportedObjectTest, AnInstallationIsMadeOnBehalfOfTheUserOfItsConnection) {
  std::optional<macos_adapter::CallingUser> during;
  object_.onCode = [&](const auto& completion) {
    during = macos_adapter::CallingUser::current();
    completion(0);
  };
  client_.call(
      [&](id<HelperProtocol> helper) { [helper installScriptAt:@"/a,/b" authData:nil completion:replies_.code()]; });
  ASSERT_TRUE(during);
  EXPECT_EQ(during->user, 0x07060504U);
  EXPECT_EQ(during->group, 0x0B0A0908U);
  EXPECT_FALSE(macos_adapter::CallingUser::current());
}

TEST_F(ExportedObjectTest, TheInvalidationHandlerRunsOnceOnTheConnectionsQueueAndIsLetGoOf) {
  const auto held = std::make_shared<int>(0);
  const auto mainThread = std::this_thread::get_id();
  connection_->setInvalidationHandler([held, mainThread] {
    EXPECT_NE(std::this_thread::get_id(), mainThread);
    ++*held;
  });
  connection_->invalidate();
  connection_->invalidate();
  [client_.connection() wicketClose];
  frameworks::SerialQueue::waitUntilAllAreIdle();
  EXPECT_EQ(*held, 1);
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace wicket::suite
