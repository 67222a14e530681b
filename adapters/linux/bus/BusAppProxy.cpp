// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusAppProxy.h"

#include <exception>
#include <utility>

#include "adapters/linux/bus/BusConnection.h"
#include "wire/BusNames.h"

namespace wicket::linux_adapter {

BusAppProxy::BusAppProxy(std::weak_ptr<BusConnection> connection) : connection_(std::move(connection)) {}

void BusAppProxy::logWithStdOut(const std::string& text) {
  const auto connection = connection_.lock();
  if (!connection) return;
  try {
    connection->send(LogLine{wire::travellingText(text)});
  } catch (const std::exception&) {
    // No memory for the text: the client would miss a line in the middle, so it is given up.
    connection->invalidate();
  }
}

}  // namespace wicket::linux_adapter
