// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "adapters/posix/PosixSourceFile.h"
#include "base/system/Descriptor.h"

namespace wicket::linux_adapter {

/// What a process is given to stand in a client's place.
struct ClientPlace {
  uid_t user;
  gid_t group;                ///< the real one: the effective one is the companion's
  std::vector<gid_t> groups;  ///< the supplementary ones
  bool mayReadAll;            ///< root's right to read what others keep to themselves
  Descriptor mountNamespace;  ///< of /proc/PID/ns
  Descriptor root;            ///< the root directory
};

/// The two messages between the helper and the process that reads a client's file for it.
struct ReaderRequest {
  ClientPlace place;
  std::string path;

  [[nodiscard]] bool sendTo(const Descriptor& socket) const;
  [[nodiscard]] static std::optional<ReaderRequest> receiveFrom(const Descriptor& socket);
};

struct ReaderAnswer {
  Descriptor file;
  posix::Content content;

  /// The error is an errno.
  using Result = std::expected<ReaderAnswer, int>;
  [[nodiscard]] static bool send(const Result& result, const Descriptor& socket);
  /// EIO when the reader ended without an answer.
  [[nodiscard]] static Result receiveFrom(const Descriptor& socket);
};

}  // namespace wicket::linux_adapter
