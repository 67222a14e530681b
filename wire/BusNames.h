// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "protocol/Identifier.h"
#include "protocol/Selector.h"

namespace wicket::wire {

namespace detail {
consteval auto socketPath() {
  constexpr std::string_view folder = "/run/";
  std::array<char, folder.size() + sizeof Identifier::privilegedHelper> path{};
  std::ranges::copy(Identifier::privilegedHelper, std::ranges::copy(folder, path.begin()).out);
  return path;
}
inline constexpr auto socketPathText = socketPath();
}  // namespace detail

/// The Unix stream socket on which systemd listens for the helper.
inline constexpr const char* socketPath = detail::socketPathText.data();
/// Both sides export their one object here, each on its own end of the peer-to-peer connection.
inline constexpr char objectPath[] = "/net/orvane/Wicket";
inline constexpr char helperInterface[] = "net.orvane.Wicket.HelperProtocol";
inline constexpr char appInterface[] = "net.orvane.Wicket.AppProtocol";
/// What a client may send in one message, header and all: room for a 1 MiB argument and to spare. The
/// helper closes a connection on which a longer one begins.
inline constexpr std::size_t messageSizeLimit = std::size_t{2} << 20U;

/// The D-Bus member for a selector: every ":" becomes "_", which no selector contains.
[[nodiscard]] std::string memberName(const Selector& selector);
/// The D-Bus signature of a list of types, e.g. "say" for a string and data. Data is a byte array,
/// empty when absent; a platform Boolean is a byte, any non-zero value being true.
[[nodiscard]] std::string signature(std::span<const ArgumentType> types);

/// @p text as it can travel in a D-Bus string: U+0000 becomes U+2400 and the Unicode noncharacters,
/// which libsystemd refuses, become U+FFFD. Bytes that
/// are not UTF-8 become U+FFFD, too.
[[nodiscard]] std::string travellingText(std::string_view text);

}  // namespace wicket::wire
