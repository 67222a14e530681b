// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/PolkitMessages.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

namespace wicket::linux_adapter {
namespace {

constexpr char service[] = "org.freedesktop.PolicyKit1";
constexpr char object[] = "/org/freedesktop/PolicyKit1/Authority";
constexpr char authorityInterface[] = "org.freedesktop.PolicyKit1.Authority";
constexpr char propertiesInterface[] = "org.freedesktop.DBus.Properties";
constexpr std::uint32_t allowUserInteraction = 1;

struct PolkitAnswer {
  bool isAuthorized = false;
  bool needsAgent = false;
  bool wasDismissed = false;
};

/// (bba{ss}): authorized, challenge, details.
std::optional<PolkitAnswer> readAnswer(sd_bus_message* reply) {
  int isAuthorized = 0;
  int isChallenge = 0;
  if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_STRUCT, "bba{ss}") < 0 ||
      sd_bus_message_read(reply, "bb", &isAuthorized, &isChallenge) < 0 ||
      sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{ss}") < 0) {
    return std::nullopt;
  }
  PolkitAnswer answer{isAuthorized != 0, isChallenge != 0, false};
  const char* key = nullptr;
  const char* value = nullptr;
  int entry = 0;
  while ((entry = sd_bus_message_read(reply, "{ss}", &key, &value)) > 0) {
    if (std::string_view(key) == "polkit.dismissed") answer.wasDismissed = !std::string_view(value).empty();
  }
  if (entry < 0) return std::nullopt;
  return answer;
}

SdHandle<sd_bus_message> call(sd_bus* bus, const char* interface, const char* method) {
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_call(bus, &made, service, object, interface, method) < 0) return nullptr;
  return SdHandle<sd_bus_message>(made);
}

bool appendSubject(sd_bus_message* message, const ProcessIdentity& subject, bool withPidfd) {
  return sd_bus_message_open_container(message, SD_BUS_TYPE_STRUCT, "sa{sv}") >= 0 &&
         sd_bus_message_append(message, "s", "unix-process") >= 0 &&
         sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}") >= 0 &&
         sd_bus_message_append(message, "{sv}{sv}{sv}", "pid", "u", subject.pid(), "start-time", "t",
                               subject.startTime(), "uid", "i", static_cast<std::int32_t>(subject.uid())) >= 0 &&
         (!withPidfd || sd_bus_message_append(message, "{sv}", "pidfd", "h", subject.pidfd()) >= 0) &&
         sd_bus_message_close_container(message) >= 0 && sd_bus_message_close_container(message) >= 0;
}

bool appendDetails(sd_bus_message* message, const AuthorizationDetails& details) {
  if (sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{ss}") < 0) return false;
  for (const auto& [name, value] : details) {
    if (sd_bus_message_append(message, "{ss}", name.c_str(), value.c_str()) < 0) return false;
  }
  return sd_bus_message_close_container(message) >= 0;
}

}  // namespace

SdHandle<sd_bus_message> PolkitMessages::versionCall(sd_bus* bus) {
  auto message = call(bus, propertiesInterface, "Get");
  const bool isMade = message && sd_bus_message_append(message.get(), "ss", authorityInterface, "BackendVersion") >= 0;
  return isMade ? std::move(message) : nullptr;
}

bool PolkitMessages::knowsPidfds(sd_bus_message* versionReply) {
  constexpr int firstVersion = 124;
  const char* text = nullptr;
  if (sd_bus_message_read(versionReply, "v", "s", &text) < 0) return false;
  const std::string_view version(text);
  int major = 0;
  const auto parsed = std::from_chars(version.data(), version.data() + version.size(), major);
  return parsed.ec == std::errc() && major >= firstVersion;
}

SdHandle<sd_bus_message> PolkitMessages::checkCall(sd_bus* bus, const Check& check) {
  auto message = call(bus, authorityInterface, "CheckAuthorization");
  const bool isMade =
      message && appendSubject(message.get(), check.subject, check.withPidfd) &&
      sd_bus_message_append(message.get(), "s", check.action.c_str()) >= 0 &&
      appendDetails(message.get(), check.details) &&
      sd_bus_message_append(message.get(), "us", allowUserInteraction, check.cancellationId.c_str()) >= 0;
  return isMade ? std::move(message) : nullptr;
}

AuthorizationStatus PolkitMessages::statusOf(sd_bus_message* checkReply) {
  const auto answer = readAnswer(checkReply);
  if (!answer) return authorization_status::internal;
  if (answer->isAuthorized) return authorization_status::success;
  if (answer->wasDismissed) return authorization_status::canceled;
  return answer->needsAgent ? authorization_status::interactionNotAllowed : authorization_status::denied;
}

AuthorizationStatus PolkitMessages::statusOf(const sd_bus_error& error) {
  if (sd_bus_error_has_name(&error, "org.freedesktop.PolicyKit1.Error.Cancelled") != 0) {
    return authorization_status::canceled;
  }
  if (sd_bus_error_has_name(&error, "org.freedesktop.PolicyKit1.Error.NotAuthorized") != 0) {
    return authorization_status::denied;
  }
  return authorization_status::internal;
}

SdHandle<sd_bus_message> PolkitMessages::cancelCall(sd_bus* bus, const std::string& cancellationId) {
  auto message = call(bus, authorityInterface, "CancelCheckAuthorization");
  const bool isMade = message && sd_bus_message_append(message.get(), "s", cancellationId.c_str()) >= 0 &&
                      sd_bus_message_set_expect_reply(message.get(), 0) >= 0;
  return isMade ? std::move(message) : nullptr;
}

}  // namespace wicket::linux_adapter
