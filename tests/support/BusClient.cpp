// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/BusClient.h"

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "tests/support/FileGroup.h"
#include "wire/BusNames.h"
#include "wire/ReplyBlock.h"

namespace wicket::support {
namespace {

/// Longer than any test: only the connection's end ends a call.
constexpr std::uint64_t callTimeout = std::uint64_t{3600} * 1000000;
/// How often a condition is looked at of which no message tells.
constexpr std::chrono::microseconds::rep longestWait = 5000;

struct MessageRelease {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageRelease>;

int appendStrings(sd_bus_message* message, const std::vector<std::string>& strings) {
  int result = sd_bus_message_open_container(message, 'a', "s");
  for (const std::string& string : strings) {
    if (result >= 0) result = sd_bus_message_append_basic(message, 's', string.c_str());
  }
  return result < 0 ? result : sd_bus_message_close_container(message);
}

std::function<int(sd_bus_message*)> oneString(const std::string& text) {
  return [text](sd_bus_message* message) { return sd_bus_message_append_basic(message, 's', text.c_str()); };
}

}  // namespace

std::unique_ptr<BusClient> BusClient::connect(const std::string& socketPath) {
  std::unique_ptr<BusClient> client(new BusClient);
  const std::string address = "unix:path=" + socketPath;
  if (sd_bus_new(&client->bus_) < 0) return nullptr;
  const FileGroup group;  // the helper looks at the group at the moment of connecting
  const bool isStarted = sd_bus_set_address(client->bus_, address.c_str()) >= 0 &&
                         sd_bus_add_filter(client->bus_, nullptr, &BusClient::messageArrived, client.get()) >= 0 &&
                         sd_bus_start(client->bus_) >= 0;
  client->connectedAt_ = Clock::now();
  return isStarted ? std::move(client) : nullptr;
}

BusClient::~BusClient() {
  sd_bus_close(bus_);
  sd_bus_unref(bus_);
}

BusClient::Serial BusClient::start(const std::string& member, const std::function<int(sd_bus_message*)>& fill) {
  sd_bus_message* raw = nullptr;
  if (sd_bus_message_new_method_call(bus_, &raw, nullptr, wire::objectPath, wire::helperInterface, member.c_str()) <
      0) {
    return 0;
  }
  const Message message(raw);
  Serial serial = 0;
  if (fill(raw) < 0 || sd_bus_call_async(bus_, nullptr, raw, &BusClient::replyArrived, this, callTimeout) < 0 ||
      sd_bus_message_get_cookie(raw, &serial) < 0) {
    noticeEnd();
    return 0;
  }
  return serial;
}

BusClient::Serial BusClient::startVersion() {
  return start("getVersionWithCompletion_", [](sd_bus_message*) { return 0; });
}

BusClient::Serial BusClient::startRun(const std::string& name, const std::vector<std::string>& arguments) {
  return start("runCommandWithFilename_arguments_completion_", [&](sd_bus_message* message) {
    const int result = sd_bus_message_append_basic(message, 's', name.c_str());
    return result < 0 ? result : appendStrings(message, arguments);
  });
}

BusClient::Serial BusClient::startInstall(const std::string& paths, std::span<const std::byte> authorization) {
  return start("installScriptAt_authData_completion_", [&](sd_bus_message* message) {
    const int result = sd_bus_message_append_basic(message, 's', paths.c_str());
    return result < 0 ? result : sd_bus_message_append_array(message, 'y', authorization.data(), authorization.size());
  });
}

BusClient::Serial BusClient::startUninstallAt(const std::string& paths) {
  return start("uninstallScriptAt_completion_", oneString(paths));
}

BusClient::Serial BusClient::startUninstallNamed(const std::string& name) {
  return start("uninstallScriptWithFilename_completion_", oneString(name));
}

bool BusClient::uninstall(std::uint8_t all) {
  sd_bus_message* raw = nullptr;
  if (sd_bus_message_new_method_call(bus_, &raw, nullptr, wire::objectPath, wire::helperInterface,
                                     "uninstallWithAll_") < 0) {
    return false;
  }
  const Message message(raw);
  return sd_bus_message_set_expect_reply(raw, 0) >= 0 && sd_bus_message_append_basic(raw, 'y', &all) >= 0 &&
         sd_bus_send(bus_, raw, nullptr) >= 0;
}

std::optional<BusClient::Reply> BusClient::await(Serial serial, Duration timeout) {
  if (!pumpUntil([&] { return replies_.contains(serial); }, timeout)) return std::nullopt;
  return replies_.at(serial);
}

std::optional<std::int64_t> BusClient::awaitCode(Serial serial, Duration timeout) {
  const auto reply = await(serial, timeout);
  if (!reply || !reply->error.empty()) return std::nullopt;
  return reply->code;
}

std::optional<std::int64_t> BusClient::awaitExit(Serial serial, Duration timeout) {
  if (!pumpUntil([&] { return laterReports_.contains(serial); }, timeout)) return std::nullopt;
  return laterReports_.at(serial).front().value;
}

bool BusClient::awaitLog(std::string_view text, Duration timeout) {
  return pumpUntil([&] { return log().find(text) != std::string::npos; }, timeout);
}

bool BusClient::awaitClosed(Duration timeout) {
  return pumpUntil([&] { return closedAt_.has_value(); }, timeout);
}

bool BusClient::pumpUntil(const std::function<bool()>& condition, Duration timeout) {
  const auto deadline = Clock::now() + timeout;
  while (!condition()) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    const int processed = sd_bus_process(bus_, nullptr);
    if (processed < 0 || sd_bus_is_open(bus_) <= 0) noticeEnd();
    if (processed < 0) return condition();
    if (processed == 0) sd_bus_wait(bus_, static_cast<std::uint64_t>(std::min(left, longestWait)));
  }
  return true;
}

bool BusClient::flush(Duration timeout) {
  return pumpUntil(
      [this] {
        std::uint64_t unwritten = 0;
        return sd_bus_is_ready(bus_) > 0 && sd_bus_get_n_queued_write(bus_, &unwritten) >= 0 && unwritten == 0;
      },
      timeout);
}

void BusClient::pumpFor(Duration time) {
  pumpUntil([] { return false; }, time);
}

std::string BusClient::log() const {
  std::string text;
  for (const Chunk& chunk : chunks_) text += chunk.text;
  return text;
}

std::vector<BusClient::LaterReport> BusClient::laterReports(Serial serial) const {
  const auto found = laterReports_.find(serial);
  return found == laterReports_.end() ? std::vector<LaterReport>{} : found->second;
}

void BusClient::noticeEnd() {
  if (!closedAt_ && sd_bus_is_open(bus_) <= 0) closedAt_ = Clock::now();
}

int BusClient::messageArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  auto& client = *static_cast<BusClient*>(self);
  if (sd_bus_message_is_method_call(message, wire::appInterface, "logWithStdOut_") > 0) {
    client.keepLog(message);
    return 1;
  }
  if (sd_bus_message_is_signal(message, wire::replyBlockInterface, wire::replyBlockSignal) > 0) {
    client.keepLaterReport(message);
    return 1;
  }
  return 0;
}

void BusClient::keepLog(sd_bus_message* message) {
  const char* text = nullptr;
  if (sd_bus_message_read_basic(message, 's', static_cast<void*>(&text)) < 0) return;
  if (logSink_) {
    logSink_(text);
  } else {
    chunks_.push_back({text, Clock::now()});
  }
}

void BusClient::keepLaterReport(sd_bus_message* message) {
  Serial serial = 0;
  std::int64_t value = 0;
  if (sd_bus_message_read(message, wire::replyBlockSignature, &serial, &value) < 0) return;
  laterReports_[serial].push_back({value, Clock::now()});
}

int BusClient::replyArrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept {
  auto& client = *static_cast<BusClient*>(self);
  Serial serial = 0;
  if (sd_bus_message_get_reply_cookie(message, &serial) < 0) return 0;
  Reply reply;
  reply.at = Clock::now();
  const char* text = nullptr;
  if (const sd_bus_error* error = sd_bus_message_get_error(message)) {
    reply.error = error->name;
  } else if (sd_bus_message_has_signature(message, "x") > 0) {
    sd_bus_message_read_basic(message, 'x', &reply.code);
  } else if (sd_bus_message_has_signature(message, "s") > 0) {
    sd_bus_message_read_basic(message, 's', static_cast<void*>(&text));
    reply.text = text;
  } else {
    reply.error = std::string("unexpected reply: ") + sd_bus_message_get_signature(message, 1);
  }
  client.replies_[serial] = reply;
  return 1;
}

}  // namespace wicket::support
