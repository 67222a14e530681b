// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <vector>

#include "adapters/linux/bus/BusListener.h"
#include "base/system/Descriptor.h"
#include "tests/doubles/ManualListener.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/RecordingHelperObject.h"
#include "tests/support/BusClient.h"
#include "tests/support/Patience.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::contract {

using support::patience;

/// Keeps the connections that were offered; what it decides is set by the test.
class TestDelegate : public ListenerDelegate {
 public:
  explicit TestDelegate(doubles::RecordingHelperObject& object) : object_(object) {}
  TestDelegate(const TestDelegate&) = delete;
  TestDelegate& operator=(const TestDelegate&) = delete;
  ~TestDelegate() override { awaitEnds(); }

  /// Waits for the end of all connections, whose threads use the object and the delegate. Nobody else may keep one,
  /// and the listener has to be gone.
  void awaitEnds() {
    const std::vector<std::weak_ptr<Connection>> all(connections_.begin(), connections_.end());
    connections_.clear();
    const auto isGone = [](const std::weak_ptr<Connection>& connection) { return connection.expired(); };
    while (!std::ranges::all_of(all, isGone)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    // The threads are done, but only their lock tells this one so.
    (void)object_.events();
  }

  bool shouldAcceptNewConnection(const std::shared_ptr<Connection>& connection) override {
    configure(*connection);
    const bool accepts = decide ? decide(connection) : true;
    if (accepts && resumes) connection->resume();
    const std::scoped_lock lock(mutex_);
    connections_.push_back(connection);
    changed_.notify_all();
    return accepts;
  }
  /// The connection that was offered as the one of this number; null if none comes.
  std::shared_ptr<Connection> await(std::size_t index) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, patience, [&] { return connections_.size() > index; });
    return connections_.size() > index ? connections_[index] : nullptr;
  }
  [[nodiscard]] std::size_t count() const {
    const std::scoped_lock lock(mutex_);
    return connections_.size();
  }

  std::function<bool(const std::shared_ptr<Connection>&)> decide;
  bool resumes = true;
  bool namesRemoteInterface = true;

 private:
  void configure(Connection& connection) {
    if (namesRemoteInterface) connection.setRemoteObjectInterface(app_protocol::interface);
    connection.setExportedInterface(helper_protocol::interface);
    connection.setExportedObject(object_.unowned());
    connection.setInvalidationHandler([this] { object_.record("invalidated"); });
  }

  doubles::RecordingHelperObject& object_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::shared_ptr<Connection>> connections_;
};

/// A listening socket in a folder of its own.
class ListeningSocket {
 public:
  [[nodiscard]] std::string path() const { return folder_.path("socket"); }
  [[nodiscard]] Descriptor open() const {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path(), static_cast<char*>(address.sun_path));
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
    if (::bind(socket.get(), generic, sizeof address) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
      throw std::runtime_error("cannot listen on " + path());
    }
    return socket;
  }

 private:
  support::TemporaryFolder folder_;
};

/// Clients that reach the real listener through a socket.
class RealClients {
 public:
  class Client {
   public:
    explicit Client(std::unique_ptr<support::BusClient> bus) : bus_(std::move(bus)) {}
    /// Says who it is, and sends nothing.
    void greet() { (void)bus_->flush(); }
    /// The same where nobody listens to it.
    void greetInVain() { (void)bus_->flush(std::chrono::milliseconds(100)); }
    void removeScript(const std::string& name) {
      (void)bus_->startUninstallNamed(name);
      (void)bus_->flush();
    }
    void close() { bus_.reset(); }
    [[nodiscard]] std::vector<std::string> awaitLines(std::size_t count) {
      bus_->pumpUntil([&] { return bus_->chunks().size() >= count; });
      std::vector<std::string> lines;
      for (const auto& chunk : bus_->chunks()) lines.push_back(chunk.text);
      return lines;
    }
    [[nodiscard]] bool isCut() { return bus_->awaitClosed(); }

   private:
    std::unique_ptr<support::BusClient> bus_;
  };

  Listener& listener() { return listener_; }
  Client connect() { return Client(support::BusClient::connect(socket_.path())); }
  /// Gives what must not happen, on threads of the platform, the time to happen.
  void settle() { std::this_thread::sleep_for(std::chrono::milliseconds(100)); }

 private:
  ListeningSocket socket_;
  linux_adapter::BusListener listener_{socket_.open()};
};

/// Clients that exist only in the test.
class DoubledClients {
 public:
  class Client {
   public:
    explicit Client(std::shared_ptr<doubles::RecordingConnection> connection, doubles::ManualListener& listener)
        : connection_(std::move(connection)), listener_(listener) {}
    void greet() {
      if (!std::exchange(hasGreeted_, true)) wasRefused_ = listener_.offer(connection_) == false;
    }
    void greetInVain() { greet(); }
    void removeScript(const std::string& name) {
      greet();
      connection_->send([name](HelperProtocol& object) { object.uninstallScriptWithFilename(name, [](ReplyCode) {}); });
    }
    void close() { connection_->close(); }
    [[nodiscard]] std::vector<std::string> awaitLines(std::size_t /*count*/) { return connection_->lines(); }
    [[nodiscard]] bool isCut() { return wasRefused_ || connection_->isInvalidated(); }

   private:
    std::shared_ptr<doubles::RecordingConnection> connection_;
    doubles::ManualListener& listener_;
    bool hasGreeted_ = false;
    bool wasRefused_ = false;
  };

  Listener& listener() { return listener_; }
  Client connect() { return Client(std::make_shared<doubles::RecordingConnection>(), listener_); }
  void settle() {}

 private:
  doubles::ManualListener listener_;
};

struct ClientWorldNames {
  template <typename World>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<World, RealClients> ? "Real" : "Double";
  }
};

}  // namespace wicket::contract
