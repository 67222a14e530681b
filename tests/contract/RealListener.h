// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <condition_variable>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "tests/contract/ClientWorlds.h"
#include "tests/support/RawClient.h"

namespace wicket::contract {

/// What calls wait at until a test lets them go on.
class Gate {
 public:
  void open() {
    const std::scoped_lock lock(mutex_);
    isOpen_ = true;
    opened_.notify_all();
  }
  void pass() {
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [this] { return isOpen_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  bool isOpen_ = false;
};

/// A real listener with its delegate and its exported object, as a fixture.
class RealListener : public testing::Test {
 protected:
  using OnCode = std::function<void(const HelperProtocol::CodeCompletion&)>;

  void SetUp() override {
    listener_->setDelegate(delegate_);
    listener_->resume();
  }
  void TearDown() override { end(); }

  /// The end of a test whose calls use what the test owns: declared behind that and before every connection that the
  /// test keeps, it waits until no call runs any more and none can come.
  class Answers {
   public:
    Answers(RealListener& fixture, OnCode onCode) : fixture_(fixture) { fixture.object_.onCode = std::move(onCode); }
    Answers(const Answers&) = delete;
    Answers& operator=(const Answers&) = delete;
    ~Answers() { fixture_.end(); }

   private:
    RealListener& fixture_;
  };
  /// Has @p onCode, which uses the test's own variables, answer. What uses the fixture's alone is set in the object.
  [[nodiscard]] Answers answerBy(OnCode onCode) { return {*this, std::move(onCode)}; }

  [[nodiscard]] std::string path() const { return socket_.path(); }
  [[nodiscard]] std::unique_ptr<support::BusClient> connect() const { return support::BusClient::connect(path()); }
  /// Once all who came before have been offered to the delegate: a client that has said who it is and has been offered,
  /// too. What others had sent before has been read by then.
  [[nodiscard]] std::unique_ptr<support::BusClient> connectAndGreet() {
    const std::size_t index = delegate_.count();
    auto client = connect();
    EXPECT_TRUE(client->flush());
    EXPECT_NE(delegate_.await(index), nullptr);
    return client;
  }
  /// Whether another client is answered. What others had sent before has been read by then.
  [[nodiscard]] bool answersOthers() const {
    const auto client = connect();
    const auto reply = client->await(client->startVersion());
    return reply && reply->text == "1";
  }

  Gate gate_;  ///< open at the end
  doubles::RecordingHelperObject object_;
  TestDelegate delegate_{object_};
  ListeningSocket socket_;
  std::unique_ptr<linux_adapter::BusListener> listener_ = std::make_unique<linux_adapter::BusListener>(socket_.open());

 private:
  void end() {
    gate_.open();
    listener_.reset();
    delegate_.awaitEnds();
  }
};

}  // namespace wicket::contract
