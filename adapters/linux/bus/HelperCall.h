// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "adapters/linux/bus/Outgoing.h"
#include "protocol/HelperProtocol.h"
#include "protocol/Selector.h"
#include "wire/UserLimits.h"

namespace wicket::linux_adapter {

using Argument = std::variant<std::string, std::vector<std::string>, HelperProtocol::AuthorizationData, bool>;

/// The completion of one call. Called the first time it becomes the reply of the request, called again
/// the signal about it; dropped uncalled it becomes an error reply. It does not keep the client's
/// connection alive, since a script may outlive its client by far. Any thread.
class ReplyBlock {
 public:
  ReplyBlock(std::weak_ptr<OutgoingSink> client, RequestId request);
  ReplyBlock(const ReplyBlock&) = delete;
  ReplyBlock& operator=(const ReplyBlock&) = delete;
  ~ReplyBlock();

  void call(ReplyValue value);
  /// Instead of the first call.
  void refuse(const wire::UserLimit& limit);

 private:
  void send(Outgoing item) const;

  const std::weak_ptr<OutgoingSink> client_;
  const RequestId request_;
  std::atomic<bool> wasCalled_ = false;
};

/// One call of a client as it waits for its turn: the selector and its arguments in order.
struct HelperCall {
  Selector selector;
  std::vector<Argument> arguments;

  /// The memory that the arguments take, roughly.
  [[nodiscard]] std::size_t size() const;
  /// What of its user's shares the call takes; null for none.
  [[nodiscard]] const wire::UserLimit* limit() const;
  /// Calls the operation of @p object. The block is null when the client wants no reply. A one-way
  /// operation calls the block itself, once it has returned.
  void perform(HelperProtocol& object, const std::shared_ptr<ReplyBlock>& block) const;
};

}  // namespace wicket::linux_adapter
