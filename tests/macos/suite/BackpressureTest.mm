// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <atomic>
#include <functional>
#include <thread>

#include "adapters/macos/XpcConnection.h"
#include "tests/macos/frameworks/SerialQueue.h"
#include "tests/macos/frameworks/Xpc.h"
#include "tests/macos/suite/Companion.h"
#include "tests/macos/suite/FrameworkTest.h"
#include "tests/support/ComesTrue.h"

namespace wicket::suite {
namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20U;

class BackpressureTest : public FrameworkTest {
 protected:
  BackpressureTest() {
    connection_->setRemoteObjectInterface(app_protocol::interface);
    connection_->resume();
  }
  void TearDown() override {
    connection_->invalidate();
    FrameworkTest::TearDown();
  }
  void send(std::size_t bytes) {
    const auto proxy = connection_->remoteObjectProxy();
    for (std::size_t sent = 0; sent < bytes; sent += 4096) proxy->logWithStdOut(std::string(4096, 'x'));
  }
  /// Somebody waits for capacity, and goes on after @p event and not before.
  void expectWaitUntil(const std::function<void()>& event) {
    std::atomic<bool> isOver = false;
    std::thread producer([&] {
      connection_->waitForCapacity();
      isOver = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(isOver);
    event();
    EXPECT_TRUE(support::comesTrue([&] { return isOver.load(); }));
    producer.join();
  }

  const Client client_;
  const std::shared_ptr<macos_adapter::XpcConnection> connection_ = std::make_shared<macos_adapter::XpcConnection>(
      client_.connection(), std::make_shared<macos_adapter::ServedCalls>());
};

TEST_F(BackpressureTest, NobodyWaitsForAClientThatReads) {
  for (int i = 0; i < 4; ++i) {
    send(megabyte);
    connection_->waitForCapacity();
    frameworks::SerialQueue::waitUntilAllAreIdle();
  }
  EXPECT_EQ(client_.lines().size(), 4 * megabyte / 4096);
}

TEST_F(BackpressureTest, NobodyWaitsForLittleText) {
  client_.connection().wicketClientReads = NO;
  send(megabyte / 2);
  connection_->waitForCapacity();
  EXPECT_EQ(client_.lines().size(), megabyte / 2 / 4096);
}

TEST_F(BackpressureTest, WhoeverSendsMuchWaitsUntilTheClientReadsAgain) {
  client_.connection().wicketClientReads = NO;
  send(2 * megabyte);
  expectWaitUntil([&] { client_.connection().wicketClientReads = YES; });
}

TEST_F(BackpressureTest, AnInvalidationFromThisSideEndsTheWait) {
  client_.connection().wicketClientReads = NO;
  send(2 * megabyte);
  expectWaitUntil([&] { connection_->invalidate(); });
}

TEST_F(BackpressureTest, TheClientsEndEndsTheWait) {
  connection_->setInvalidationHandler([] {});
  client_.connection().wicketClientReads = NO;
  send(2 * megabyte);
  expectWaitUntil([&] { [client_.connection() wicketClose]; });
}

}  // namespace
}  // namespace wicket::suite
