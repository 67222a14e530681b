// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/JournalSocket.h"

#include <array>
#include <filesystem>
#include <poll.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace wicket::support {

JournalSocket::JournalSocket(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
  if (::bind(socket_, generic, sizeof address) != 0) {
    std::perror(path.c_str());
    std::abort();
  }
}

JournalSocket::~JournalSocket() { ::close(socket_); }

std::vector<std::string> JournalSocket::next(std::chrono::milliseconds timeout) const {
  std::vector<std::string> lines;
  pollfd polled{socket_, POLLIN, 0};
  if (::poll(&polled, 1, static_cast<int>(timeout.count())) <= 0) return lines;
  std::array<char, 65536> buffer{};
  const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
  std::istringstream text(std::string(buffer.data(), static_cast<std::size_t>(count < 0 ? 0 : count)));
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

}  // namespace wicket::support
