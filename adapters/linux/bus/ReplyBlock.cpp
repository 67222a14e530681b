// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/ReplyBlock.h"

#include <utility>

#include "adapters/linux/bus/BusConnection.h"

namespace wicket::linux_adapter {

ReplyBlock::ReplyBlock(std::weak_ptr<BusConnection> connection, RequestId request)
    : connection_(std::move(connection)), request_(request) {}

ReplyBlock::~ReplyBlock() {
  if (!wasCalled_) send(MissingReply{request_});
}

void ReplyBlock::call(ReplyValue value) {
  if (!wasCalled_.exchange(true)) {
    send(MethodReply{request_, std::move(value)});
  } else if (const auto* code = std::get_if<ReplyCode>(&value)) {
    send(CalledAgain{request_, *code});
  }
}

void ReplyBlock::refuse(const wire::UserLimit& limit) {
  if (!wasCalled_.exchange(true)) send(LimitReached{request_, &limit});
}

void ReplyBlock::send(Outgoing item) const {
  if (const auto connection = connection_.lock()) connection->send(std::move(item));
}

}  // namespace wicket::linux_adapter
