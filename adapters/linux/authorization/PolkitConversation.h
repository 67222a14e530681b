// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "adapters/linux/authorization/PolkitQuestion.h"
#include "base/system/Descriptor.h"
#include "base/system/linux/SdHandle.h"

namespace wicket::linux_adapter {

/// A connection to the system bus over which any number of questions are open at the same time, and the one thread that
/// serves it. Whoever asks holds the conversation, and with the last of them it ends, so that nothing stays behind.
class PolkitConversation {
 public:
  /// The bus lets one connection wait for 128 replies and refuses its further calls. So a question beyond these waits
  /// until one of them has ended.
  static constexpr std::size_t openLimit = 120;

  /// -60008 when there is no system bus, or not enough of something.
  [[nodiscard]] static std::expected<std::shared_ptr<PolkitConversation>, AuthorizationStatus> begin();
  PolkitConversation(const PolkitConversation&) = delete;
  PolkitConversation& operator=(const PolkitConversation&) = delete;
  ~PolkitConversation();

  /// Any thread. Blocks until there is an answer: -60008 when the connection breaks before.
  [[nodiscard]] AuthorizationStatus ask(PolkitTerms terms);
  /// Any thread. The connection has broken; who still has a question needs another conversation.
  [[nodiscard]] bool isOver() const;

 private:
  using Questions = std::list<std::shared_ptr<PolkitQuestion>>;

  PolkitConversation() = default;
  [[nodiscard]] bool connect();
  [[nodiscard]] bool prepareLoop();
  [[nodiscard]] bool startThread();
  void run() noexcept;
  [[nodiscard]] bool goesOn() const;
  void watchArrivals();
  void askWaiting();
  void tellAnswers();
  void answerAll();

  SdHandle<sd_event> event_;
  SdHandle<sd_bus> bus_;
  Descriptor bell_;
  SdHandle<sd_event_source> bellSource_;
  /// The thread alone knows these.
  Questions waiting_;
  Questions open_;
  std::uint64_t lastNumber_ = 0;

  mutable std::mutex mutex_;
  Questions arrivals_;
  bool isOver_ = false;
  std::thread thread_;
};

}  // namespace wicket::linux_adapter
