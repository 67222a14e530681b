// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <future>
#include <gtest/gtest.h>
#include <string_view>
#include <thread>

#include "tests/contract/RealListener.h"
#include "tests/support/Patience.h"

namespace wicket::contract {
namespace {

using namespace std::chrono_literals;
using namespace std::string_view_literals;
using support::DBusBytes;

/// A listener whose delegate takes its time.
class BusListenerDecisionTest : public RealListener {
 protected:
  void SetUp() override {
    delegate_.decide = [this](const std::shared_ptr<Connection>&) {
      isAsked_.set_value();
      released_.get_future().wait();
      std::this_thread::sleep_for(100ms);
      return true;
    };
    RealListener::SetUp();
  }

  std::promise<void> isAsked_;
  std::promise<void> released_;
};

TEST_F(BusListenerDecisionTest, TheEndWaitsForAClientThatHasBeenWaitingForTheDecisionForLong) {
  support::RawClient client(path());
  ASSERT_TRUE(client.send("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n"sv));
  ASSERT_TRUE(client.send(DBusBytes::methodCall(1, "getVersionWithCompletion_", "", "")));
  ASSERT_EQ(isAsked_.get_future().wait_for(support::patience), std::future_status::ready);
  std::this_thread::sleep_for(Listener::timeToAsk + 100ms);
  released_.set_value();
  const auto began = std::chrono::steady_clock::now();
  listener_->finish();
  const auto took = std::chrono::steady_clock::now() - began;
  listener_.reset();
  // All that it may wait is not enough on the busiest machine.
  const bool isAnswered = client.receive(support::patience).find("\x01\0\0\0001\0"sv) != std::string::npos;
  EXPECT_TRUE(isAnswered || took >= Listener::timeToFinish);
}

}  // namespace
}  // namespace wicket::contract
