// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/sources/ReaderMessages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <span>
#include <utility>

#include "adapters/linux/sources/DescriptorMessage.h"

namespace wicket::linux_adapter {
namespace {

/// Followed by the groups and the path.
struct RequestHeader {
  uid_t user;
  gid_t group;
  std::uint32_t groupCount;
  std::uint32_t mayReadAll;
};

struct AnswerHeader {
  std::int32_t error;
  std::uint64_t size;
  ContentDigest digest;
};

constexpr std::size_t mostGroups = NGROUPS_MAX;
constexpr std::size_t longestRequest = sizeof(RequestHeader) + mostGroups * sizeof(gid_t) + PATH_MAX;

template <typename Value>
void append(std::vector<std::byte>& bytes, std::span<const Value> values) {
  const auto added = std::as_bytes(values);
  bytes.insert(bytes.end(), added.begin(), added.end());
}

}  // namespace

bool ReaderRequest::sendTo(const Descriptor& socket) const {
  const std::array header{RequestHeader{place.user, place.group, static_cast<std::uint32_t>(place.groups.size()),
                                        place.mayReadAll ? 1U : 0U}};
  std::vector<std::byte> bytes;
  append(bytes, std::span<const RequestHeader>(header));
  append(bytes, std::span<const gid_t>(place.groups));
  append(bytes, std::span<const char>(path));
  return DescriptorMessage::send(socket.get(), bytes, std::array{place.mountNamespace.get(), place.root.get()});
}

std::optional<ReaderRequest> ReaderRequest::receiveFrom(const Descriptor& socket) {
  auto message = DescriptorMessage::receive(socket.get(), longestRequest);
  RequestHeader header{};
  if (!message || message->bytes.size() < sizeof header || message->descriptors.size() != 2) return std::nullopt;
  std::memcpy(&header, message->bytes.data(), sizeof header);
  const auto rest = std::span(message->bytes).subspan(sizeof header);
  const std::size_t groupBytes = header.groupCount * sizeof(gid_t);
  if (rest.size() < groupBytes) return std::nullopt;
  ReaderRequest request{{header.user, header.group, std::vector<gid_t>(header.groupCount), header.mayReadAll != 0,
                         std::move(message->descriptors[0]), std::move(message->descriptors[1])},
                        std::string(rest.size() - groupBytes, '\0')};
  // There may be nothing to copy, and no place for it, which memcpy() does not take.
  std::ranges::copy(rest.first(groupBytes), std::as_writable_bytes(std::span(request.place.groups)).begin());
  std::ranges::copy(rest.subspan(groupBytes), std::as_writable_bytes(std::span(request.path)).begin());
  return request;
}

bool ReaderAnswer::send(const Result& result, const Descriptor& socket) {
  std::array<AnswerHeader, 1> header{};
  if (!result) {
    header[0].error = result.error();
    return DescriptorMessage::send(socket.get(), std::as_bytes(std::span(header)), {});
  }
  header[0] = {0, result->content.size, result->content.digest};
  return DescriptorMessage::send(socket.get(), std::as_bytes(std::span(header)), std::array{result->file.get()});
}

ReaderAnswer::Result ReaderAnswer::receiveFrom(const Descriptor& socket) {
  auto message = DescriptorMessage::receive(socket.get(), sizeof(AnswerHeader));
  AnswerHeader header{};
  if (!message || message->bytes.size() != sizeof header) return std::unexpected(EIO);
  std::memcpy(&header, message->bytes.data(), sizeof header);
  if (header.error != 0) return std::unexpected(header.error);
  if (message->descriptors.size() != 1) return std::unexpected(EIO);
  return ReaderAnswer{std::move(message->descriptors[0]), {header.size, header.digest}};
}

}  // namespace wicket::linux_adapter
