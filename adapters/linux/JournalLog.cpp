// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/JournalLog.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <array>
#include <string>
#include <systemd/sd-journal.h>

namespace wicket::linux_adapter {
namespace {

constexpr std::string_view priority = "PRIORITY=2";         // critical
constexpr std::string_view facility = "SYSLOG_FACILITY=3";  // daemon

iovec field(std::string_view text) { return {const_cast<char*>(text.data()), text.size()}; }

}  // namespace

void JournalLog::fault(std::string_view text, std::string_view explanation) {
  std::string message = "MESSAGE=";
  message.append(text).append(" - ").append(explanation);
  const std::array fields{field(message), field(priority), field(facility)};
  // Where nobody listens the entry is lost, as it is everywhere else that logging cannot fail.
  static_cast<void>(sd_journal_sendv(fields.data(), static_cast<int>(fields.size())));
}

}  // namespace wicket::linux_adapter
