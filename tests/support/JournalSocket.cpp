// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/JournalSocket.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace wicket::support {
namespace {

constexpr std::string_view journalPath = "/run/systemd/journal/socket";

/// Datagrams that are too large travel as a sealed file.
std::string contentOf(int file) {
  struct stat status{};
  if (::fstat(file, &status) != 0) return {};
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t count = ::pread(file, content.data() + done, content.size() - done, static_cast<off_t>(done));
    if (count <= 0) return {};
    done += static_cast<std::size_t>(count);
  }
  return content;
}

/// "KEY=VALUE\n", or "KEY\n", the length in 8 bytes with the lowest first, the value and "\n".
JournalSocket::Entry parse(std::string_view text) {
  JournalSocket::Entry entry;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) {
      entry.emplace(line.substr(0, equals), line.substr(equals + 1));
      continue;
    }
    std::uint64_t length = 0;
    if (text.size() < sizeof length) break;
    for (std::size_t i = 0; i < sizeof length; ++i) {
      length |= std::uint64_t{static_cast<unsigned char>(text[i])} << (8 * i);
    }
    text.remove_prefix(sizeof length);
    if (text.size() < length) break;
    entry.emplace(line, text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return entry;
}

/// The file that came with a message, or -1.
int fileIn(msghdr& message) {
  const cmsghdr* const control = CMSG_FIRSTHDR(&message);
  if (control == nullptr || control->cmsg_type != SCM_RIGHTS) return -1;
  int file = -1;
  std::memcpy(&file, CMSG_DATA(control), sizeof file);
  return file;
}

}  // namespace

JournalSocket::JournalSocket() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  std::filesystem::create_directories(std::filesystem::path(journalPath).parent_path());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  journalPath.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
  const void* const generic = &address;
  if (::bind(socket_, static_cast<const sockaddr*>(generic), sizeof address) != 0) {
    throw std::runtime_error("the journal's socket cannot be made");
  }
}

JournalSocket::~JournalSocket() {
  ::close(socket_);
  ::unlink(journalPath.data());
}

std::optional<JournalSocket::Entry> JournalSocket::receive() {
  const ssize_t size = ::recv(socket_, nullptr, 0, MSG_PEEK | MSG_TRUNC);
  if (size < 0) return std::nullopt;
  std::vector<char> buffer(static_cast<std::size_t>(size) + 1);
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  iovec part{buffer.data(), buffer.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t count = ::recvmsg(socket_, &message, MSG_CMSG_CLOEXEC);
  if (count < 0) return std::nullopt;
  const int file = fileIn(message);
  if (file < 0) return parse({buffer.data(), static_cast<std::size_t>(count)});
  const std::string content = contentOf(file);
  ::close(file);
  return parse(content);
}

}  // namespace wicket::support
