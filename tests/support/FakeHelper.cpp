// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/FakeHelper.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace wicket {

namespace {

constexpr char path[] = "/net/orvane/Wicket";

void check(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

void sendLine(sd_bus* bus, const std::string& text) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(bus, &message, nullptr, path, "net.orvane.Wicket.AppProtocol", "logWithStdOut_");
  sd_bus_message_append_basic(message, 's', text.c_str());
  sd_bus_message_set_expect_reply(message, 0);
  sd_bus_send(bus, message, nullptr);
  sd_bus_message_unref(message);
}

void sendLaterReport(sd_bus* bus, std::uint64_t serial, std::int64_t value) {
  sd_bus_emit_signal(bus, path, "net.orvane.Wicket.ReplyBlock", "CalledAgain", "ux", static_cast<std::uint32_t>(serial),
                     value);
}

std::string argumentsOf(sd_bus_message* call) {
  std::string text;
  char type = 0;
  const char* contents = nullptr;
  while (sd_bus_message_peek_type(call, &type, &contents) > 0) {
    if (!text.empty()) text += ", ";
    const char* word = nullptr;
    std::uint8_t byte = 0;
    const void* data = nullptr;
    std::size_t length = 0;
    if (type == 's' && sd_bus_message_read_basic(call, 's', &word) > 0) {
      text += word;
    } else if (type == 'y' && sd_bus_message_read_basic(call, 'y', &byte) > 0) {
      text += std::to_string(byte);
    } else if (contents != nullptr && *contents == 'y' && sd_bus_message_read_array(call, 'y', &data, &length) >= 0) {
      text += std::to_string(length) + " bytes";
    } else if (sd_bus_message_enter_container(call, 'a', "s") > 0) {
      text += "[";
      while (sd_bus_message_read_basic(call, 's', &word) > 0) text += std::string(word) + ";";
      text += "]";
      sd_bus_message_exit_container(call);
    } else {
      return text + "?";
    }
  }
  return text;
}

}  // namespace

FakeHelper::FakeHelper(Behaviour behaviour) : behaviour_(std::move(behaviour)) {
  std::string folder = "/tmp/wicket-fake-helper-XXXXXX";
  check(::mkdtemp(folder.data()) != nullptr, "mkdtemp");
  folder_ = folder;
  socketPath_ = folder + "/socket";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socketPath_.c_str(), socketPath_.size());
  listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  check(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
  check(::listen(listener_, 8) == 0, "listen");
  stop_ = ::eventfd(0, EFD_CLOEXEC);
  thread_ = std::thread([this] { serve(); });
}

FakeHelper::~FakeHelper() {
  ::eventfd_write(stop_, 1);
  thread_.join();
  ::close(listener_);
  ::close(stop_);
  ::unlink(socketPath_.c_str());
  ::rmdir(folder_.c_str());
}

std::vector<std::string> FakeHelper::requests() {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void FakeHelper::note(const std::string& request) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(request);
}

void FakeHelper::serve() {
  while (true) {
    std::array<pollfd, 2> watched{pollfd{listener_, POLLIN, 0}, pollfd{stop_, POLLIN, 0}};
    ::poll(watched.data(), watched.size(), -1);
    if (watched[1].revents != 0) return;
    const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor >= 0) serveConnection(descriptor);
  }
}

void FakeHelper::serveConnection(int descriptor) {
  sd_bus* bus = nullptr;
  sd_id128_t identifier{};
  sd_id128_randomize(&identifier);
  sd_bus_new(&bus);
  sd_bus_set_fd(bus, descriptor, descriptor);
  sd_bus_set_server(bus, 1, identifier);
  sd_bus_add_filter(bus, nullptr, &FakeHelper::callArrived, this);
  sd_bus_start(bus);
  isCut_ = false;
  while (!isCut_) {
    const int processed = sd_bus_process(bus, nullptr);
    if (processed < 0) break;
    if (processed > 0) continue;
    std::array<pollfd, 2> watched{pollfd{descriptor, static_cast<short>(sd_bus_get_events(bus)), 0},
                                  pollfd{stop_, POLLIN, 0}};
    ::poll(watched.data(), watched.size(), -1);
    if (watched[1].revents != 0) break;
  }
  sd_bus_flush_close_unref(bus);
}

int FakeHelper::callArrived(sd_bus_message* call, void* self, sd_bus_error* /*error*/) noexcept {
  if (sd_bus_message_is_method_call(call, "net.orvane.Wicket.HelperProtocol", nullptr) <= 0) return 0;
  return static_cast<FakeHelper*>(self)->answer(call);
}

int FakeHelper::answer(sd_bus_message* call) {
  sd_bus* bus = sd_bus_message_get_bus(call);
  const std::string member = sd_bus_message_get_member(call);
  std::uint64_t serial = 0;
  sd_bus_message_get_cookie(call, &serial);
  note(member + "(" + argumentsOf(call) + ")");
  for (const std::string& line : behaviour_.linesBeforeReply) sendLine(bus, line);
  if (behaviour_.cutsBeforeReply) {
    isCut_ = true;
    return 1;
  }
  if (sd_bus_message_get_expect_reply(call) == 0) return 1;
  if (behaviour_.laterReportComesFirst && behaviour_.laterReport) sendLaterReport(bus, serial, *behaviour_.laterReport);
  if (behaviour_.error != nullptr) {
    sd_bus_reply_method_errorf(call, behaviour_.error, "no");
  } else if (member == "getVersionWithCompletion_") {
    sd_bus_reply_method_return(call, "s", "9417");
  } else {
    sd_bus_reply_method_return(call, "x", behaviour_.code);
  }
  for (const std::string& line : behaviour_.linesAfterReply) sendLine(bus, line);
  if (!behaviour_.laterReportComesFirst && behaviour_.laterReport)
    sendLaterReport(bus, serial, *behaviour_.laterReport);
  if (behaviour_.laterReport) ++*behaviour_.laterReport;
  isCut_ = behaviour_.cutsAfterReply;
  return 1;
}

}  // namespace wicket
