// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "tests/contract/ClientWorlds.h"
#include "tests/support/RawClient.h"

namespace wicket::contract {

/// A real listener with its delegate and its exported object, as a fixture.
class RealListener : public testing::Test {
 protected:
  void SetUp() override {
    listener_->setDelegate(delegate_);
    listener_->resume();
  }
  [[nodiscard]] std::string path() const { return socket_.path(); }
  [[nodiscard]] std::unique_ptr<support::BusClient> connect() const { return support::BusClient::connect(path()); }
  /// Whether another client is answered within this time.
  [[nodiscard]] bool answersOthersWithin(std::chrono::milliseconds time) const {
    const auto client = connect();
    const auto reply = client->await(client->startVersion(), time);
    return reply && reply->text == "1";
  }

  doubles::RecordingHelperObject object_;
  TestDelegate delegate_{object_};
  ListeningSocket socket_;
  std::unique_ptr<linux_adapter::BusListener> listener_ = std::make_unique<linux_adapter::BusListener>(socket_.open());
};

}  // namespace wicket::contract
