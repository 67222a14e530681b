// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <string>

#include "protocol/AppProtocol.h"

namespace wicket::linux_adapter {

class BusConnection;

/// The object that a client exports. What is said to a client that has gone is dropped.
class BusAppProxy final : public AppProtocol {
 public:
  explicit BusAppProxy(std::weak_ptr<BusConnection> connection);
  void logWithStdOut(const std::string& text) override;

 private:
  const std::weak_ptr<BusConnection> connection_;
};

}  // namespace wicket::linux_adapter
