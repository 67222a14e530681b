// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <utility>
#include <vector>

#include "adapters/linux/bus/ClientInbox.h"
#include "adapters/linux/bus/ServerBus.h"
#include "base/system/Descriptor.h"
#include "base/system/linux/SdHandle.h"
#include "tests/support/Patience.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {

/// The helper's bus and that of a client, both on this thread and with nothing between them.
class BusPair {
 public:
  using Message = SdHandle<sd_bus_message>;

  /// @p handler looks at each message that reaches the helper's bus.
  explicit BusPair(sd_bus_message_handler_t handler = &ignore, void* userData = nullptr) {
    std::array<int, 2> pair{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair.data()) != 0) fail("no sockets");
    socket_.reset(pair[0]);
    startClient(pair[1]);
    auto feed = BusFeed::make();
    if (!feed) fail("no feed");
    feed_ = std::move(feed->entry);
    if (server_.start(socket_.get(), std::move(feed->busEnd), handler, userData) < 0) fail("no server");
  }

  [[nodiscard]] ServerBus& server() { return server_; }
  [[nodiscard]] sd_bus* client() const { return client_.get(); }
  void closeClient() { client_.reset(); }
  /// Whether the condition holds once both have done what there was to do.
  bool processUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + support::patience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      processClient();
      processServer();
    }
    return true;
  }
  /// Has the helper's bus take what the client has sent; false when it can carry nothing more.
  bool processServer() {
    std::array<std::byte, 4096> bytes{};
    const ssize_t count = recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count > 0 && send(feed_.get(), bytes.data(), static_cast<std::size_t>(count), MSG_NOSIGNAL) != count) {
      fail("the feed is full");
    }
    return server_.process();
  }
  void processClient() {
    while (sd_bus_process(client_.get(), nullptr) > 0) {
    }
  }

  /// A call of the client to the helper's object, whose arguments can be read once it is sealed.
  [[nodiscard]] Message newCall(const std::string& member, const std::string& interface = wire::helperInterface) const {
    sd_bus_message* created = nullptr;
    if (sd_bus_message_new_method_call(client_.get(), &created, nullptr, wire::objectPath, interface.c_str(),
                                       member.c_str()) < 0) {
      fail("no message");
    }
    return Message(created);
  }
  /// Sends it; the reply can be awaited.
  void start(const Message& call) {
    replies_.emplace_back();
    constexpr std::uint64_t longer = 3'600'000'000;
    if (sd_bus_call_async(client_.get(), nullptr, call.get(), &replyArrived, this, longer) < 0) fail("no call");
  }
  /// What the client has got as a reply to its calls, in the order in which it came.
  [[nodiscard]] const Message& awaitReply(std::size_t index = 0) {
    if (!processUntil([&] { return arrived_ > index; })) fail("no reply");
    return replies_.at(index);
  }
  [[nodiscard]] std::size_t replyCount() const { return arrived_; }
  /// The name of the error; empty for a reply that is none.
  [[nodiscard]] static std::string errorOf(const Message& reply) {
    const sd_bus_error* const error = sd_bus_message_get_error(reply.get());
    return error == nullptr ? "" : error->name;
  }

 private:
  static int ignore(sd_bus_message* /*message*/, void* /*userData*/, sd_bus_error* /*error*/) { return 0; }
  static int replyArrived(sd_bus_message* message, void* pair, sd_bus_error* /*error*/) {
    auto& self = *static_cast<BusPair*>(pair);
    self.replies_.at(self.arrived_++).reset(sd_bus_message_ref(message));
    return 1;
  }
  [[noreturn]] static void fail(const char* what) { throw std::runtime_error(what); }

  void startClient(int socket) {
    sd_bus* created = nullptr;
    if (sd_bus_new(&created) < 0) fail("no client");
    client_.reset(created);
    if (sd_bus_set_fd(client_.get(), socket, socket) < 0 || sd_bus_start(client_.get()) < 0) fail("no client");
  }

  Descriptor socket_;
  Descriptor feed_;
  ServerBus server_;
  SdHandle<sd_bus> client_;
  std::vector<Message> replies_;
  std::size_t arrived_ = 0;
};

}  // namespace wicket::linux_adapter
