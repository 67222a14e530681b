// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/sources/DescriptorMessage.h"

#include <array>
#include <cstring>
#include <sys/socket.h>

#include "base/system/Uninterrupted.h"

namespace wicket::linux_adapter {
namespace {

constexpr std::size_t mostDescriptorBytes = DescriptorMessage::mostDescriptors * sizeof(int);
using Control = std::array<std::byte, CMSG_SPACE(mostDescriptorBytes)>;

std::vector<Descriptor> descriptorsIn(msghdr& message) {
  std::vector<Descriptor> descriptors;
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    std::array<int, DescriptorMessage::mostDescriptors> numbers{};
    const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    std::memcpy(numbers.data(), CMSG_DATA(part), count * sizeof(int));
    for (std::size_t i = 0; i < count; ++i) descriptors.emplace_back(numbers.at(i));
  }
  return descriptors;
}

}  // namespace

bool DescriptorMessage::send(int socket, std::span<const std::byte> bytes, std::span<const int> descriptors) {
  iovec data{const_cast<std::byte*>(bytes.data()), bytes.size()};
  alignas(cmsghdr) Control control{};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  if (!descriptors.empty()) {
    message.msg_control = control.data();
    message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
    cmsghdr* const part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(descriptors.size_bytes());
    std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size_bytes());
  }
  return system::uninterrupted([&] { return ::sendmsg(socket, &message, MSG_NOSIGNAL); }) >= 0;
}

std::optional<DescriptorMessage> DescriptorMessage::receive(int socket, std::size_t mostBytes) {
  DescriptorMessage received{std::vector<std::byte>(mostBytes), {}};
  iovec data{received.bytes.data(), received.bytes.size()};
  alignas(cmsghdr) Control control{};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t count = system::uninterrupted([&] { return ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
  if (count <= 0) return std::nullopt;
  received.descriptors = descriptorsIn(message);
  if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) return std::nullopt;
  received.bytes.resize(static_cast<std::size_t>(count));
  return received;
}

}  // namespace wicket::linux_adapter
