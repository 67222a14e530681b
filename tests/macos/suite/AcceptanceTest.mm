// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <stdexcept>

#include "adapters/macos/XpcListener.h"
#include "tests/macos/frameworks/CodeSigning.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using AcceptanceTest = HelperTest;

TEST_F(AcceptanceTest, TheHelperListensForItsServiceAndIsTheDelegate) {
  EXPECT_THAT(recorded("listener"), ElementsAre("listener for net.orvane.Wicket.TlvPrivilegedHelper",
                                                "listener.delegate", "listener resumed"));
}

TEST_F(AcceptanceTest, ARefusedClientIsLeftUntouchedUnregisteredAndUnlogged) {
  frameworks::CodeSigning::answer({.guestStatus = -67065});
  const Client client;
  forget();
  EXPECT_FALSE(client.connect());
  frameworks::SerialQueue::waitUntilAllAreIdle();
  EXPECT_THAT(recorded(), ElementsAre(StartsWith("guest of no host with audit=")));
  EXPECT_EQ(client.connection().remoteObjectInterface, nil);
  EXPECT_EQ(client.connection().exportedInterface, nil);
  EXPECT_EQ(client.connection().exportedObject, nil);
  EXPECT_EQ(client.connection().invalidationHandler, nil);
  EXPECT_FALSE(helper().shouldQuit());
  EXPECT_THAT(client.lines(), IsEmpty());
}

TEST_F(AcceptanceTest, AnAcceptedClientIsConfiguredThenRegisteredWithItsTimerAndThenResumed) {
  const Client client;
  forget();
  EXPECT_TRUE(client.connect());
  EXPECT_THAT(recorded("connection"),
              ElementsAre("connection.remoteObjectInterface AppProtocol", "connection.exportedInterface HelperProtocol",
                          "connection.exportedObject", "connection.invalidationHandler", "connection resumed"));
  const auto events = recorded();
  const auto handler = std::ranges::find(events, "connection.invalidationHandler");
  EXPECT_THAT(std::vector(handler, events.end()),
              ElementsAre("connection.invalidationHandler", "timer source on the main queue",
                          "timer in 45 s, once, leeway 0", "timer handler", "timer resumed", "connection resumed"));
}

TEST_F(AcceptanceTest, NoInterruptionHandlerIsSet) {
  const Client client;
  EXPECT_TRUE(client.connect());
  EXPECT_THAT(recorded("connection.interruptionHandler"), IsEmpty());
}

TEST_F(AcceptanceTest, AClientThatComesAfterARefusedOneIsAcceptedAllTheSame) {
  frameworks::CodeSigning::answer({.guestStatus = -67065});
  const Client stranger;
  EXPECT_FALSE(stranger.connect());
  frameworks::CodeSigning::answer(frameworks::CodeSigning::genuine());
  const Client companion;
  EXPECT_TRUE(companion.connect());
}

TEST_F(AcceptanceTest, TheExportedObjectUnderstandsEverySelectorOfTheProtocol) {
  const Client client;
  ASSERT_TRUE(client.connect());
  id exported = client.connection().exportedObject;
  EXPECT_TRUE([exported conformsToProtocol:@protocol(HelperProtocol)]);
  for (const Selector& selector : helper_protocol::interface.selectors) {
    EXPECT_TRUE([exported respondsToSelector:sel_registerName(std::string(selector.text).c_str())]) << selector.text;
  }
}

class ThrowingDelegate : public ListenerDelegate {
 public:
  bool shouldAcceptNewConnection(const std::shared_ptr<Connection>& /*connection*/) override {
    throw std::runtime_error("no memory");
  }
};

using ListenerTest = FrameworkTest;

TEST_F(ListenerTest, AClientThatCannotBeLookedAtIsRefusedInsteadOfThrowingIntoXpc) {
  ThrowingDelegate delegate;
  macos_adapter::XpcListener listener("service");
  listener.setDelegate(delegate);
  listener.resume();
  EXPECT_FALSE(Client().connect());
}

TEST_F(ListenerTest, TheDelegateThatXpcHoldsOnlyWeaklyLivesAsLongAsTheListener) {
  ThrowingDelegate delegate;
  auto listener = std::make_unique<macos_adapter::XpcListener>("service");
  listener->setDelegate(delegate);
  NSXPCListener* framework = [NSXPCListener wicketNewest];
  @autoreleasepool {
    EXPECT_TRUE(framework.delegate != nil);
  }
  listener.reset();
  EXPECT_TRUE(framework.delegate == nil);
}

TEST_F(ListenerTest, FinishingSuspendsTheListenerSoThatLaterClientsWaitForTheNextProcess) {
  macos_adapter::XpcListener listener("service");
  listener.resume();
  forget();
  listener.finish();
  EXPECT_THAT(recorded(), ElementsAre("listener suspended"));
}

}  // namespace
}  // namespace wicket::suite
