// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/ArgumentReader.h"

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>

namespace wicket::linux_adapter {
namespace {

using Read = std::expected<Argument, int>;

Read readString(sd_bus_message* message) {
  const char* text = nullptr;
  const int result = sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &text);
  if (result < 0) return std::unexpected(result);
  return std::string(text);
}

Read readStrings(sd_bus_message* message) {
  int result = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s");
  if (result < 0) return std::unexpected(result);
  std::vector<std::string> strings;
  const char* text = nullptr;
  while ((result = sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &text)) > 0) strings.emplace_back(text);
  if (result < 0) return std::unexpected(result);
  result = sd_bus_message_exit_container(message);
  if (result < 0) return std::unexpected(result);
  return strings;
}

Read readData(sd_bus_message* message) {
  const void* bytes = nullptr;
  std::size_t size = 0;
  const int result = sd_bus_message_read_array(message, SD_BUS_TYPE_BYTE, &bytes, &size);
  if (result < 0) return std::unexpected(result);
  if (size == 0) return HelperProtocol::AuthorizationData();
  const auto* const first = static_cast<const std::byte*>(bytes);
  return HelperProtocol::AuthorizationData(std::in_place, first, first + size);
}

Read readBoolean(sd_bus_message* message) {
  std::uint8_t value = 0;
  const int result = sd_bus_message_read_basic(message, SD_BUS_TYPE_BYTE, &value);
  if (result < 0) return std::unexpected(result);
  return value != 0;
}

Read readArgument(sd_bus_message* message, ArgumentType type) {
  switch (type) {
    case ArgumentType::string:
      return readString(message);
    case ArgumentType::stringArray:
      return readStrings(message);
    case ArgumentType::data:
      return readData(message);
    case ArgumentType::boolean:
      return readBoolean(message);
    case ArgumentType::signedInteger:
      break;  // only ever travels in replies
  }
  return std::unexpected(-EOPNOTSUPP);
}

}  // namespace

std::expected<std::vector<Argument>, int> readArguments(sd_bus_message* message, std::span<const ArgumentType> types) {
  std::vector<Argument> arguments;
  for (const ArgumentType type : types) {
    Read argument = readArgument(message, type);
    if (!argument) return std::unexpected(argument.error());
    arguments.push_back(std::move(*argument));
  }
  return arguments;
}

}  // namespace wicket::linux_adapter
