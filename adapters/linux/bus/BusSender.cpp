// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusSender.h"

#include <cerrno>
#include <utility>

#include "protocol/AppProtocol.h"
#include "wire/BusNames.h"
#include "wire/ReplyBlock.h"

namespace wicket::linux_adapter {
namespace {

int appendValue(sd_bus_message* message, const ReplyValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    return sd_bus_message_append(message, "s", wire::travellingText(*text).c_str());
  }
  if (const auto* code = std::get_if<ReplyCode>(&value)) return sd_bus_message_append(message, "x", *code);
  return 0;
}

/// Text that is not UTF-8 cannot travel: that message is left out, the connection goes on.
bool isUnsendable(int result) { return result == -EINVAL; }

}  // namespace

RequestId BusSender::remember(sd_bus_message* request) {
  std::uint64_t serial = 0;
  sd_bus_message_get_cookie(request, &serial);
  const std::uint64_t number = ++lastNumber_;
  requests_.emplace(number, sd_bus_message_ref(request));
  return {number, static_cast<std::uint32_t>(serial)};
}

int BusSender::send(sd_bus* bus, const Outgoing& item) {
  const int result = std::visit([&](const auto& one) { return sendItem(bus, one); }, item);
  return isUnsendable(result) ? 0 : result;
}

SdHandle<sd_bus_message> BusSender::take(RequestId request) {
  // Whatever becomes of its reply, it is answered from here on.
  auto node = requests_.extract(request.number);
  return node ? std::move(node.mapped()) : nullptr;
}

int BusSender::sendItem(sd_bus* bus, const MethodReply& reply) {
  const auto request = take(reply.request);
  if (!request) return 0;
  sd_bus_message* created = nullptr;
  int result = sd_bus_message_new_method_return(request.get(), &created);
  if (result < 0) return result;
  const SdHandle<sd_bus_message> message(created);
  result = appendValue(message.get(), reply.value);
  if (isUnsendable(result)) {
    return sd_bus_reply_method_errorf(request.get(), SD_BUS_ERROR_FAILED, "The reply is not valid text.");
  }
  if (result < 0) return result;
  return sd_bus_send(bus, message.get(), nullptr);
}

int BusSender::sendItem(sd_bus* /*bus*/, const MissingReply& missing) {
  const auto request = take(missing.request);
  if (!request) return 0;
  return sd_bus_reply_method_errorf(request.get(), wire::noReplyError, "The call ended without a reply.");
}

int BusSender::sendItem(sd_bus* /*bus*/, const LimitReached& reached) {
  const auto request = take(reached.request);
  if (!request) return 0;
  return sd_bus_reply_method_errorf(request.get(), reached.limit->error, "%s", reached.limit->text);
}

int BusSender::sendItem(sd_bus* bus, const CalledAgain& again) {
  return sd_bus_emit_signal(bus, wire::objectPath, wire::replyBlockInterface, wire::replyBlockSignal,
                            wire::replyBlockSignature, again.request.serial, again.code);
}

int BusSender::sendItem(sd_bus* bus, const LogLine& line) {
  sd_bus_message* created = nullptr;
  int result = sd_bus_message_new_method_call(bus, &created, nullptr, wire::objectPath, wire::appInterface,
                                              wire::memberName(app_protocol::logWithStdOut).c_str());
  if (result < 0) return result;
  const SdHandle<sd_bus_message> message(created);
  result = sd_bus_message_append(message.get(), "s", line.text.c_str());
  if (result >= 0) result = sd_bus_message_set_expect_reply(message.get(), 0);
  if (result < 0) return result;
  return sd_bus_send(bus, message.get(), nullptr);
}

}  // namespace wicket::linux_adapter
