// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/programs/Steps.h"

namespace wicket::stand_in {
namespace {

using namespace std::string_literals;

constexpr int connection = 9;

std::string contentOf(const char* path) {
  const int file = ::open(path, O_RDONLY | O_CLOEXEC);
  require(file >= 0, path);
  std::string content;
  std::array<char, 65536> buffer{};
  for (ssize_t count = 0; (count = ::read(file, buffer.data(), buffer.size())) > 0;) {
    content.append(buffer.data(), static_cast<std::size_t>(count));
  }
  ::close(file);
  return content;
}

sockaddr_un addressOf(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  return address;
}

/// Of bind() and connect().
template <typename Call>
int withAddress(Call call, int socket, const char* path) {
  const sockaddr_un address = addressOf(path);
  return call(socket, static_cast<const sockaddr*>(static_cast<const void*>(&address)), sizeof address);
}

/// Gives @p socket the connection's number.
void keep(int socket) {
  require(socket >= 0, "the connection");
  if (socket != connection) require(::dup2(socket, connection) == connection && ::close(socket) == 0, "dup2");
}

/// Failures are not told: whoever is cut off finds nobody to send to.
void sendAll(const std::string& bytes) { (void)::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

/// One control message with a descriptor.
struct Passage {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  std::string content;
  iovec data{};
  msghdr message{};

  explicit Passage(std::string itsContent) : content(std::move(itsContent)), data{content.data(), content.size()} {
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
  }
  void put(int descriptor) {
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  }
  [[nodiscard]] int taken() {
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    require(header != nullptr && header->cmsg_type == SCM_RIGHTS, "no descriptor");
    int descriptor = -1;
    std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
  }
};

/// Exactly so many bytes; fewer when the connection ends or nothing comes any more. Nothing is read ahead, so
/// that another program can go on with the connection.
std::string received(std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = ::recv(connection, bytes.data() + done, size - done, 0);
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

std::size_t numberAt(const std::string& bytes, std::size_t at) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data() + at, sizeof number);
  return number;
}

/// The type of the next D-Bus message, which is read to its end, and the lines of a handshake before it. 0
/// when there is none.
char nextMessageType() {
  constexpr std::size_t headSize = 16;
  std::string head = received(2);
  while (head == "DA" || head == "OK") {
    for (std::string line; !line.ends_with("\r\n");) {
      const std::string next = received(1);
      if (next.empty()) return 0;
      line += next;
    }
    head = received(2);
  }
  head += received(headSize - head.size());
  if (head.size() < headSize) return 0;
  const std::size_t fields = (numberAt(head, 12) + 7) / 8 * 8;
  (void)received(fields + numberAt(head, 4));
  return head[1];
}

/// Passes over lines for the log and the like, which may come before an answer.
std::string heard() {
  enum : char { nothing = 0, methodReturn = 2, error = 3 };
  const timeval patience{120, 0};
  ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  for (bool isFirst = true;; isFirst = false) {
    errno = 0;
    switch (nextMessageType()) {
      case methodReturn:
        return "served";
      case error:
        return "failed";
      case nothing:
        if (errno == EAGAIN) return "silent";
        return isFirst ? "refused" : "cut";
      default:
        break;
    }
  }
}

}  // namespace

void connectTo(char** arguments) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  const bool isConnected = withAddress(::connect, socket, arguments[0]) == 0;
  if (!isConnected && errno == EACCES) {
    say("unreachable");
    std::_Exit(EXIT_FAILURE);
  }
  require(isConnected, "connect");
  keep(socket);
}

void greet(char** /*arguments*/) {
  sendAll("\0AUTH EXTERNAL 30\r\n"s);
  std::string answer;
  for (char c = 0; answer.find("\r\n") == std::string::npos && ::recv(connection, &c, 1, 0) == 1;) answer += c;
  require(answer.rfind("OK ", 0) == 0, "the handshake");
  sendAll("BEGIN\r\n");
}

void send(char** arguments) { sendAll(contentOf(arguments[0])); }

void sendPart(char** arguments) { sendAll(contentOf(arguments[0]).substr(0, std::strtoul(arguments[1], nullptr, 10))); }

void sendWithDescriptor(char** arguments) {
  Passage passage(contentOf(arguments[0]));
  passage.put(STDIN_FILENO);
  require(::sendmsg(connection, &passage.message, MSG_NOSIGNAL) > 0, "sendmsg");
}

void sendFromChild(char** arguments) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child > 0) return;
  sendAll(contentOf(arguments[0]));
  for (;;) ::pause();
}

void request(char** arguments) { sendAll("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n"s + contentOf(arguments[0])); }

void hear(char** /*arguments*/) { say(heard()); }

void giveConnection(char** arguments) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  require(withAddress(::connect, socket, arguments[0]) == 0, "connect");
  Passage passage("x");
  passage.put(connection);
  require(::sendmsg(socket, &passage.message, MSG_NOSIGNAL) > 0, "sendmsg");
}

void takeConnection(char** arguments) {
  const int listening = ::socket(AF_UNIX, SOCK_STREAM, 0);
  require(withAddress(::bind, listening, arguments[0]) == 0 && ::listen(listening, 1) == 0, "listen");
  say("listening");
  const int giver = ::accept(listening, nullptr, nullptr);
  Passage passage("x");
  require(::recvmsg(giver, &passage.message, 0) > 0, "recvmsg");
  keep(passage.taken());
}

void flood(char** arguments) {
  long refused = 0;
  for (long left = std::strtol(arguments[1], nullptr, 10); left > 0; --left) {
    connectTo(arguments);
    request(arguments + 2);
    if (heard() == "refused") ++refused;
  }
  ::close(connection);
  say(std::to_string(refused) + " refused");
}

}  // namespace wicket::stand_in
