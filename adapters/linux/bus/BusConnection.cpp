// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusConnection.h"

#include <exception>
#include <string>
#include <utility>

#include "protocol/AppProtocol.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {
namespace {

/// The object that a client exports. What is said to a client that has gone is dropped.
class BusAppProxy final : public AppProtocol {
 public:
  explicit BusAppProxy(std::weak_ptr<OutgoingSink> client) : client_(std::move(client)) {}

  void logWithStdOut(const std::string& text) override {
    const auto client = client_.lock();
    if (!client) return;
    try {
      client->send(LogLine{wire::travellingText(text)});
    } catch (const std::exception&) {
      // No memory for the text: the client would miss a line in the middle, so it is given up.
      client->cut();
    }
  }

 private:
  const std::weak_ptr<OutgoingSink> client_;
};

}  // namespace

void BusConnection::setRemoteObjectInterface(const Interface& interface) {
  const std::scoped_lock lock(mutex_);
  remoteInterface_ = interface;
}

std::shared_ptr<AppProtocol> BusConnection::remoteObjectProxy() {
  const std::scoped_lock lock(mutex_);
  if (!remoteInterface_ || remoteInterface_->name != app_protocol::interface.name) return nullptr;
  return std::make_shared<BusAppProxy>(weak_from_this());
}

}  // namespace wicket::linux_adapter
