// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <atomic>
#include <memory>

#include "adapters/linux/bus/OutgoingQueue.h"

namespace wicket::linux_adapter {

class BusConnection;

/// The completion of one call. Called the first time it becomes the reply of the request, called again
/// the signal about it; dropped uncalled it becomes an error reply. It does not keep the connection
/// alive, since a script may outlive its client by far. Any thread.
class ReplyBlock {
 public:
  ReplyBlock(std::weak_ptr<BusConnection> connection, RequestId request);
  ReplyBlock(const ReplyBlock&) = delete;
  ReplyBlock& operator=(const ReplyBlock&) = delete;
  ~ReplyBlock();

  void call(ReplyValue value);
  /// Instead of the first call.
  void refuse(const wire::UserLimit& limit);

 private:
  void send(Outgoing item) const;

  const std::weak_ptr<BusConnection> connection_;
  const RequestId request_;
  std::atomic<bool> wasCalled_ = false;
};

}  // namespace wicket::linux_adapter
