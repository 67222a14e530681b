// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <vector>

#include "tests/support/Patience.h"

namespace wicket::support {

/// A client of the helper that speaks the wire format by itself. It reads from its connection only
/// inside the functions that wait, so a client that nobody waits for is a client that does not read.
class BusClient {
 public:
  using Clock = std::chrono::steady_clock;
  using Duration = std::chrono::milliseconds;
  using Serial = std::uint64_t;
  using LogSink = std::function<void(std::string_view)>;

  struct Chunk {
    std::string text;
    Clock::time_point at;
  };
  /// The method's reply: an error's name, or the code or the text.
  struct Reply {
    std::string error;
    std::int64_t code = -1;
    std::string text;
    Clock::time_point at;
  };
  struct LaterReport {
    std::int64_t value;
    Clock::time_point at;
  };

  /// None when nobody listens there.
  [[nodiscard]] static std::unique_ptr<BusClient> connect(const std::string& socketPath);
  BusClient(const BusClient&) = delete;
  BusClient& operator=(const BusClient&) = delete;
  /// Closes the connection.
  ~BusClient();

  /// Called for each piece of text instead of keeping it.
  void setLogSink(LogSink sink) { logSink_ = std::move(sink); }

  // Each sends one call and returns its serial, 0 if it could not be sent.
  Serial startVersion();
  Serial startRun(const std::string& name, const std::vector<std::string>& arguments = {});
  Serial startInstall(const std::string& paths, std::span<const std::byte> authorization);
  Serial startUninstallAt(const std::string& paths);
  Serial startUninstallNamed(const std::string& name);
  /// Any member of the helper's interface; @p fill appends the arguments. Answers -1 from it give up.
  Serial start(const std::string& member, const std::function<int(sd_bus_message*)>& fill);
  /// One way. Whether it was sent.
  bool uninstall(std::uint8_t all);

  /// None when no reply came in time; a cut connection is a reply with an error.
  [[nodiscard]] std::optional<Reply> await(Serial serial, Duration timeout = patience);
  /// The code of the reply; none without one or for an error.
  [[nodiscard]] std::optional<std::int64_t> awaitCode(Serial serial, Duration timeout = patience);
  [[nodiscard]] std::optional<std::int64_t> awaitExit(Serial serial, Duration timeout = patience);
  /// Whether the text of all pieces together contains @p text by then.
  [[nodiscard]] bool awaitLog(std::string_view text, Duration timeout = patience);
  [[nodiscard]] bool awaitClosed(Duration timeout = patience);
  /// Processes what comes until the condition, about whatever, holds or the time is over. Whether it holds.
  bool pumpUntil(const std::function<bool()>& condition, Duration timeout = patience);
  /// Says who it is, if it has not, and passes on all that it was told to send: the kernel has it then, and what the
  /// other side has sent stays unread if it came later. Whether that was possible.
  bool flush(Duration timeout = patience);
  void pumpFor(Duration time);

  [[nodiscard]] const std::vector<Chunk>& chunks() const { return chunks_; }
  [[nodiscard]] std::string log() const;
  [[nodiscard]] bool hasReply(Serial serial) const { return replies_.contains(serial); }
  [[nodiscard]] std::vector<LaterReport> laterReports(Serial serial) const;
  [[nodiscard]] Clock::time_point connectedAt() const { return connectedAt_; }
  /// When this side noticed the end of the connection.
  [[nodiscard]] std::optional<Clock::time_point> closedAt() const { return closedAt_; }

 private:
  BusClient() = default;

  static int messageArrived(sd_bus_message* message, void* self, sd_bus_error* error) noexcept;
  static int replyArrived(sd_bus_message* message, void* self, sd_bus_error* error) noexcept;
  void keepLog(sd_bus_message* message);
  void keepLaterReport(sd_bus_message* message);
  void noticeEnd();

  sd_bus* bus_ = nullptr;
  Clock::time_point connectedAt_;
  std::optional<Clock::time_point> closedAt_;
  LogSink logSink_;
  std::vector<Chunk> chunks_;
  std::map<Serial, Reply> replies_;
  std::map<Serial, std::vector<LaterReport>> laterReports_;
};

}  // namespace wicket::support
