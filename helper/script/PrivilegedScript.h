// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "helper/platform/Connection.h"
#include "helper/script/TlvCoreScript.h"

namespace wicket {

/// A script that runs as root and whose lines go to a client.
class PrivilegedScript : public TlvCoreScript {
 public:
  /// Null when no file is at @p path or it cannot be read; the client has been told of the latter.
  /// A given @p shebang takes the place of the file's first line.
  [[nodiscard]] static std::shared_ptr<PrivilegedScript> create(FileManager& fileManager,
                                                                ChildProcessLauncher& launcher,
                                                                std::optional<std::string> path, StringList arguments,
                                                                std::optional<std::string> shebang,
                                                                std::shared_ptr<Connection> connection);

  /// Where the lines go; they go nowhere when it is null.
  [[nodiscard]] const std::shared_ptr<Connection>& connection() const { return connection_; }

  /// What the child writes. Bytes that are not UTF-8 are dropped. Waits until the client has room, so
  /// that a child that writes without end waits for its reader and not this process's memory.
  void writeToLog(std::span<const std::byte> data) override;
  /// The script's own lines; never waits.
  void writeToLog(std::string_view text) override;

 protected:
  PrivilegedScript(FileManager& fileManager, ChildProcessLauncher& launcher, std::shared_ptr<Connection> connection);

  /// Unsupported, as it knows no connection: ends the process.
  [[nodiscard]] bool init(std::optional<std::string> path, std::string parameters, bool doDisplayError) override;

 private:
  const std::shared_ptr<Connection> connection_;
};

}  // namespace wicket
