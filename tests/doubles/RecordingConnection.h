// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "helper/platform/Connection.h"

namespace wicket::doubles {

/// What happened, in order; several doubles may write to the same one.
using CallLog = std::vector<std::string>;

/// A client that only exists in a test. Everything done to the connection is written to a log, lines
/// for the client are collected, and the client's own doings are the operations at the end. Its
/// serial queue runs either on the thread that gave it work or when the test says so. The operations
/// of the seam may be called from any thread; read the log only when those threads are done.
class RecordingConnection : public Connection, public std::enable_shared_from_this<RecordingConnection> {
 public:
  enum class Queue {
    runsAtOnce,     ///< on the thread that adds a job, after the job that is running
    runsWhenAsked,  ///< only in drain()
  };

  explicit RecordingConnection(std::shared_ptr<CallLog> log = std::make_shared<CallLog>(),
                               Queue queue = Queue::runsAtOnce)
      : log_(std::move(log)), queue_(queue) {}

  [[nodiscard]] AuditTokenData auditToken() const override { return auditToken_; }
  [[nodiscard]] UserIdentifier effectiveUserIdentifier() const override { return user_; }
  void setRemoteObjectInterface(const Interface& interface) override {
    record("remoteObjectInterface " + std::string(interface.name));
  }
  void setExportedInterface(const Interface& interface) override {
    record("exportedInterface " + std::string(interface.name));
  }
  void setExportedObject(std::shared_ptr<HelperProtocol> object) override {
    record("exportedObject");
    const std::scoped_lock lock(mutex_);
    exportedObject_.swap(object);
  }
  void setInvalidationHandler(std::function<void()> handler) override {
    record("invalidationHandler");
    const std::scoped_lock lock(mutex_);
    handler_ = std::move(handler);
  }
  void resume() override {
    record("resume");
    {
      const std::scoped_lock lock(mutex_);
      resumed_ = true;
      for (auto& call : held_) jobs_.push_back(std::move(call));
      held_.clear();
    }
    if (hasClientGone()) end();
    runIfAtOnce();
  }
  void invalidate() override {
    record("invalidate");
    {
      const std::scoped_lock lock(mutex_);
      if (!invalidated_) isCut_ = true;
      held_.clear();
    }
    end();
  }
  std::shared_ptr<AppProtocol> remoteObjectProxy() override {
    if (!exportsAppProtocol_) return nullptr;
    return std::make_shared<Proxy>(weak_from_this());
  }
  void waitForCapacity() override {
    const std::scoped_lock lock(mutex_);
    ++capacityWaits_;
  }

  /// @name What the test arranges and looks at
  /// @{
  /// The process that the client is; nobody unless set. Before the connection is offered.
  void setAuditToken(const AuditTokenData& token) { auditToken_ = token; }
  /// Somebody's; that of most clients unless set. Before the connection is offered.
  void setEffectiveUser(UserIdentifier user) { user_ = user; }
  /// Makes the client one whose object is not of AppProtocol.
  void exportNoAppProtocol() { exportsAppProtocol_ = false; }
  /// Runs the jobs that wait on the serial queue.
  void drain() {
    std::unique_lock lock(mutex_);
    if (draining_) return;
    draining_ = true;
    while (!jobs_.empty()) {
      const std::function<void()> job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      job();
      lock.lock();
    }
    draining_ = false;
  }
  [[nodiscard]] std::vector<std::string> lines() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }
  [[nodiscard]] bool isInvalidated() const {
    const std::scoped_lock lock(mutex_);
    return invalidated_;
  }
  [[nodiscard]] bool isResumed() const {
    const std::scoped_lock lock(mutex_);
    return resumed_;
  }
  [[nodiscard]] bool hasInvalidationHandler() const {
    const std::scoped_lock lock(mutex_);
    return handler_ != nullptr;
  }
  [[nodiscard]] int capacityWaits() const {
    const std::scoped_lock lock(mutex_);
    return capacityWaits_;
  }
  [[nodiscard]] std::shared_ptr<CallLog> log() const { return log_; }
  /// @}

  /// @name What the client does
  /// @{
  /// A call of the client: waits for resume(), and is lost unless it has started when invalidate() is
  /// called.
  void send(std::function<void(HelperProtocol&)> call) {
    {
      const std::scoped_lock lock(mutex_);
      if (invalidated_ || isClientGone_) return;
      auto job = [this, action = std::move(call)] {
        if (const auto object = exportedObject(); object != nullptr && !isCut()) action(*object);
      };
      (resumed_ ? jobs_ : held_).emplace_back(std::move(job));
    }
    runIfAtOnce();
  }
  /// The client closes its end. What it sent before still reaches the exported object.
  void close() {
    {
      const std::scoped_lock lock(mutex_);
      isClientGone_ = true;
      if (!resumed_) return;
    }
    end();
  }
  /// @}

 private:
  class Proxy : public AppProtocol {
   public:
    explicit Proxy(std::weak_ptr<RecordingConnection> connection) : connection_(std::move(connection)) {}
    void logWithStdOut(const std::string& text) override {
      if (const auto connection = connection_.lock()) connection->receive(text);
    }

   private:
    std::weak_ptr<RecordingConnection> connection_;
  };

  void record(std::string entry) {
    const std::scoped_lock lock(mutex_);
    log_->push_back(std::move(entry));
  }
  void receive(const std::string& text) {
    const std::scoped_lock lock(mutex_);
    if (!invalidated_) lines_.push_back(text);
  }
  std::shared_ptr<HelperProtocol> exportedObject() const {
    const std::scoped_lock lock(mutex_);
    return exportedObject_;
  }
  bool hasClientGone() const {
    const std::scoped_lock lock(mutex_);
    return isClientGone_;
  }
  bool isCut() const {
    const std::scoped_lock lock(mutex_);
    return isCut_;
  }
  void end() {
    {
      const std::scoped_lock lock(mutex_);
      if (std::exchange(invalidated_, true)) return;
      jobs_.emplace_back([this] { runHandler(); });
    }
    runIfAtOnce();
  }
  void runHandler() {
    std::function<void()> handler;
    {
      const std::scoped_lock lock(mutex_);
      handler = std::exchange(handler_, nullptr);
    }
    if (handler) handler();
  }
  void runIfAtOnce() {
    if (queue_ == Queue::runsAtOnce) drain();
  }

  mutable std::mutex mutex_;
  const std::shared_ptr<CallLog> log_;
  const Queue queue_;
  AuditTokenData auditToken_{};
  UserIdentifier user_ = 501;
  bool exportsAppProtocol_ = true;
  bool resumed_ = false;
  bool invalidated_ = false;
  bool isCut_ = false;
  bool isClientGone_ = false;
  bool draining_ = false;
  int capacityWaits_ = 0;
  std::shared_ptr<HelperProtocol> exportedObject_;
  std::function<void()> handler_;
  std::deque<std::function<void()>> jobs_;
  std::deque<std::function<void()>> held_;
  std::vector<std::string> lines_;
};

}  // namespace wicket::doubles
