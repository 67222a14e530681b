// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/PolkitAuthority.h"

#include <charconv>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>

namespace wicket::linux_adapter {
namespace {

constexpr char systemBus[] = "unix:path=/run/dbus/system_bus_socket";
constexpr char service[] = "org.freedesktop.PolicyKit1";
constexpr char object[] = "/org/freedesktop/PolicyKit1/Authority";
constexpr char interface[] = "org.freedesktop.PolicyKit1.Authority";
constexpr std::uint32_t allowUserInteraction = 1;
/// A time limit of zero would be the library's default of 25 seconds.
constexpr std::uint64_t noTimeLimit = std::numeric_limits<std::uint64_t>::max();

struct BusError : sd_bus_error {
  BusError() : sd_bus_error{nullptr, nullptr, 0} {}
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;
  ~BusError() { sd_bus_error_free(this); }
};

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

AuthorizationStatus statusOf(const PolkitAnswer& answer) {
  if (answer.isAuthorized) return authorization_status::success;
  if (answer.wasDismissed) return authorization_status::canceled;
  return answer.needsAgent ? authorization_status::interactionNotAllowed : authorization_status::denied;
}

AuthorizationStatus statusOf(const sd_bus_error& error) {
  if (sd_bus_error_has_name(&error, "org.freedesktop.PolicyKit1.Error.Cancelled") != 0) {
    return authorization_status::canceled;
  }
  if (sd_bus_error_has_name(&error, "org.freedesktop.PolicyKit1.Error.NotAuthorized") != 0) {
    return authorization_status::denied;
  }
  return authorization_status::internal;
}

int appendSubjectDetails(sd_bus_message* request, const ProcessIdentity& subject, bool withPidfd) {
  int result = sd_bus_message_append(request, "{sv}{sv}{sv}", "pid", "u", subject.pid(), "start-time", "t",
                                     subject.startTime(), "uid", "i", static_cast<std::int32_t>(subject.uid()));
  if (result >= 0 && withPidfd) result = sd_bus_message_append(request, "{sv}", "pidfd", "h", subject.pidfd());
  return result;
}

bool appendArguments(sd_bus_message* request, const ProcessIdentity& subject, const std::string& action,
                     bool withPidfd) {
  return sd_bus_message_open_container(request, SD_BUS_TYPE_STRUCT, "sa{sv}") >= 0 &&
         sd_bus_message_append(request, "s", "unix-process") >= 0 &&
         sd_bus_message_open_container(request, SD_BUS_TYPE_ARRAY, "{sv}") >= 0 &&
         appendSubjectDetails(request, subject, withPidfd) >= 0 && sd_bus_message_close_container(request) >= 0 &&
         sd_bus_message_close_container(request) >= 0 &&
         sd_bus_message_append(request, "sa{ss}us", action.c_str(), 0, allowUserInteraction, "") >= 0;
}

}  // namespace

std::expected<PolkitAuthority, AuthorizationStatus> PolkitAuthority::connect() {
  sd_bus* made = nullptr;
  if (sd_bus_new(&made) < 0) return std::unexpected(authorization_status::internal);
  SdHandle<sd_bus> bus(made);
  // The address is fixed: no variable of the environment leads to another authority.
  if (sd_bus_set_description(made, "polkit") < 0 || sd_bus_set_address(made, systemBus) < 0 ||
      sd_bus_set_bus_client(made, 1) < 0 || sd_bus_negotiate_fds(made, 1) < 0 || sd_bus_start(made) < 0) {
    return std::unexpected(authorization_status::internal);
  }
  return PolkitAuthority(std::move(bus));
}

AuthorizationStatus PolkitAuthority::checkAuthorization(const ProcessIdentity& subject, const std::string& action) {
  const auto request = makeRequest(subject, action);
  if (!request) return authorization_status::internal;
  BusError error;
  sd_bus_message* received = nullptr;
  if (sd_bus_call(bus_.get(), request.get(), noTimeLimit, &error, &received) < 0) return statusOf(error);
  const SdHandle<sd_bus_message> reply(received);
  const auto answer = readAnswer(received);
  return answer ? statusOf(*answer) : authorization_status::internal;
}

/// Older versions look a process up by its number and start time alone.
bool PolkitAuthority::knowsPidfds() {
  constexpr int firstVersion = 124;
  BusError error;
  char* text = nullptr;
  if (sd_bus_get_property_string(bus_.get(), service, object, interface, "BackendVersion", &error, &text) < 0) {
    return false;
  }
  const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
  const std::string_view version(text);
  int major = 0;
  const auto parsed = std::from_chars(version.data(), version.data() + version.size(), major);
  return parsed.ec == std::errc() && major >= firstVersion;
}

SdHandle<sd_bus_message> PolkitAuthority::makeRequest(const ProcessIdentity& subject, const std::string& action) {
  const bool withPidfd = knowsPidfds();
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_call(bus_.get(), &made, service, object, interface, "CheckAuthorization") < 0) {
    return nullptr;
  }
  SdHandle<sd_bus_message> request(made);
  return appendArguments(made, subject, action, withPidfd) ? std::move(request) : nullptr;
}

}  // namespace wicket::linux_adapter
