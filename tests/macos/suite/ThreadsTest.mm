// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <thread>

#include "tests/macos/frameworks/Authorization.h"
#include "tests/macos/frameworks/VirtualTime.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using namespace std::chrono_literals;
using frameworks::VirtualTime;

/// Everything at once, for the sanitizers to watch.
using ThreadsTest = HelperTest;

TEST_F(ThreadsTest, ManyClientsComeCallAndGoWhileTimersFire) {
  constexpr int threadCount = 4;
  constexpr int clientsOfEach = 25;
  frameworks::Authorization::answer({.copyRightsStatus = -60005});
  Replies versions;
  Replies codes;
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < clientsOfEach; ++round) {
        @autoreleasepool {
          const Client client;
          EXPECT_TRUE(client.connect());
          client.send([&](id<HelperProtocol> helper) {
            [helper getVersionWithCompletion:versions.text()];
            NSData* form = [NSData dataWithBytes:"0123456789abcdef0123456789abcdef" length:32];
            [helper installScriptAt:@"/a,/b" authData:form completion:codes.code()];
            [helper uninstallScriptWithFilename:@"x" completion:codes.code()];
          });
          if ((round + i) % 3 == 0) [client.connection() wicketClose];
        }
      }
    });
  }
  for (int pass = 0; pass < 20; ++pass) VirtualTime::runUntil(VirtualTime::now() + 10 * NSEC_PER_SEC);
  for (auto& thread : threads) thread.join();
  // Those that left early are only struck off the list when another one's time is over.
  const Client last;
  EXPECT_TRUE(last.connect());
  VirtualTime::runUntil(VirtualTime::now() + 45 * NSEC_PER_SEC);
  EXPECT_TRUE(helper().shouldQuit());
  // A client that goes at once may be gone before its message is served.
  EXPECT_GE(versions.all().size(), 1U);
  EXPECT_LE(versions.all().size(), static_cast<std::size_t>(threadCount * clientsOfEach));
  EXPECT_EQ(codes.all().size(), 2 * versions.all().size());
}

}  // namespace
}  // namespace wicket::suite
