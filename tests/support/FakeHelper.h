// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>
#include <vector>

namespace wicket {

/// The other end of a companion's connection, on a socket in a temporary folder: it answers every call as
/// it was told beforehand and notes what it was asked. It spells the wire's names out on its own, so a
/// companion that speaks with it speaks the documented wire.
class FakeHelper {
 public:
  struct Behaviour {
    std::vector<std::string> linesBeforeReply{};
    std::int64_t code = 0;
    std::vector<std::string> linesAfterReply{};
    std::optional<std::int64_t> laterReport{};  ///< of the first request; that of each further one is 1 higher
    bool laterReportComesFirst = false;
    bool cutsBeforeReply = false;
    bool cutsAfterReply = false;
    const char* error = nullptr;  ///< the name of a D-Bus error, instead of each reply
  };

  explicit FakeHelper(Behaviour behaviour);
  ~FakeHelper();
  FakeHelper(const FakeHelper&) = delete;
  FakeHelper& operator=(const FakeHelper&) = delete;

  [[nodiscard]] const std::string& socketPath() const { return socketPath_; }
  /// Each as "member(argument, argument)"; data appears as its length in bytes.
  [[nodiscard]] std::vector<std::string> requests();

 private:
  void serve();
  void serveConnection(int descriptor);
  int answer(sd_bus_message* call);
  void note(const std::string& request);
  static int callArrived(sd_bus_message* call, void* self, sd_bus_error* error) noexcept;

  Behaviour behaviour_;
  std::string folder_;
  std::string socketPath_;
  int listener_ = -1;
  int stop_ = -1;
  bool isCut_ = false;
  std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace wicket
