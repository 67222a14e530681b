// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helper/platform/Listener.h"
#include "tests/doubles/RecordingConnection.h"

namespace wicket::doubles {

/// A listener whose clients arrive when the test says so. Use it from one thread.
class ManualListener : public Listener {
 public:
  explicit ManualListener(std::shared_ptr<CallLog> log = std::make_shared<CallLog>()) : log_(std::move(log)) {}

  void setDelegate(ListenerDelegate& delegate) override {
    log_->emplace_back("delegate");
    delegate_ = &delegate;
  }
  void resume() override {
    log_->emplace_back("resumeListener");
    resumed_ = true;
    for (const auto& connection : std::exchange(waiting_, {})) (void)decide(connection);
  }

  void finish() override {
    log_->emplace_back("finishListener");
    resumed_ = false;
  }

  /// A client arrives. What the delegate decided; none while the listener does not take any, the client
  /// then waits for resume().
  std::optional<bool> offer(const std::shared_ptr<Connection>& connection) {
    if (resumed_) return decide(connection);
    waiting_.push_back(connection);
    return std::nullopt;
  }

  [[nodiscard]] bool isResumed() const { return resumed_; }
  [[nodiscard]] ListenerDelegate* delegate() const { return delegate_; }
  [[nodiscard]] std::shared_ptr<CallLog> log() const { return log_; }

 private:
  std::optional<bool> decide(const std::shared_ptr<Connection>& connection) {
    if (delegate_ == nullptr) return std::nullopt;
    return delegate_->shouldAcceptNewConnection(connection);
  }

  const std::shared_ptr<CallLog> log_;
  ListenerDelegate* delegate_ = nullptr;
  bool resumed_ = false;
  std::vector<std::shared_ptr<Connection>> waiting_;
};

}  // namespace wicket::doubles
