// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// A client that does what its arguments say, step by step, and then nothing until its standard input ends.
// It has no library of the project in it and no sanitizer, so that it can be installed with the set-group bit.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <linux/memfd.h>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// The connection keeps this number across an exec.
constexpr int connection = 9;

void require(bool condition, const char* what) {
  if (condition) return;
  std::perror(what);
  std::_Exit(EXIT_FAILURE);
}

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

void connectTo(const char* path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  const auto* const generic = static_cast<const sockaddr*>(static_cast<const void*>(&address));
  require(::connect(socket, generic, sizeof address) == 0, "connect");
  require(::dup2(socket, connection) == connection && ::close(socket) == 0, "dup2");
}

/// Failures are not told: whoever is cut off finds nobody to send to.
void sendAll(const std::string& bytes) { (void)::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

void greet() {
  const std::string opening("\0AUTH EXTERNAL 30\r\n", 19);
  sendAll(opening);
  std::string answer;
  for (char c = 0; answer.find("\r\n") == std::string::npos && ::recv(connection, &c, 1, 0) == 1;) answer += c;
  require(answer.rfind("OK ", 0) == 0, "the handshake");
  sendAll("BEGIN\r\n");
}

void sendWithDescriptor(const std::string& bytes) {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  std::string copy = bytes;
  iovec data{copy.data(), copy.size()};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  const int passed = STDIN_FILENO;
  std::memcpy(CMSG_DATA(header), &passed, sizeof passed);
  require(::sendmsg(connection, &message, MSG_NOSIGNAL) > 0, "sendmsg");
}

/// The parent goes on with the next step; the child sends and stays.
void sendFromChild(const char* file) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child > 0) return;
  sendAll(contentOf(file));
  for (;;) ::pause();
}

/// The child goes on with the next step, without its parent.
void leaveToChild() {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child > 0) std::_Exit(EXIT_SUCCESS);
}

void become(const char* user, const char* group) {
  const auto uid = static_cast<uid_t>(std::strtoul(user, nullptr, 10));
  const auto gid = static_cast<gid_t>(std::strtoul(group, nullptr, 10));
  require(::setgroups(0, nullptr) == 0 && ::setresgid(gid, gid, gid) == 0 && ::setresuid(uid, uid, uid) == 0, "become");
}

void dropGroup() {
  const gid_t group = ::getgid();
  require(::setresgid(group, group, group) == 0, "drop-group");
}

[[noreturn]] void execute(char** arguments) {
  ::execv(arguments[0], arguments);
  require(false, arguments[0]);
  std::abort();
}

/// Runs a copy of the program that only memory holds.
[[noreturn]] void executeFromMemory(char** arguments) {
  const int copy = static_cast<int>(::syscall(SYS_memfd_create, "copy", MFD_CLOEXEC));
  const int file = ::open(arguments[0], O_RDONLY | O_CLOEXEC);
  struct stat status{};
  require(copy >= 0 && file >= 0 && ::fstat(file, &status) == 0, "memfd");
  require(::sendfile(copy, file, nullptr, static_cast<std::size_t>(status.st_size)) == status.st_size, "sendfile");
  require(::fchmod(copy, status.st_mode & 07777U) == 0, "fchmod");
  ::fexecve(copy, arguments, environ);
  require(false, "fexecve");
  std::abort();
}

/// Until somebody writes a byte; nobody does any more once the input has ended.
void waitForInput() {
  char byte = 0;
  if (::read(STDIN_FILENO, &byte, 1) != 1) std::_Exit(EXIT_SUCCESS);
}

}  // namespace

int main(int count, char** arguments) {
  char** next = arguments + 1;
  char** const end = arguments + count;
  const auto take = [&]() -> const char* {
    require(next < end, "an argument is missing");
    return *next++;
  };
  while (next < end) {
    const std::string step = take();
    if (step == "connect") {
      connectTo(take());
    } else if (step == "greet") {
      greet();
    } else if (step == "send") {
      sendAll(contentOf(take()));
    } else if (step == "send-from-child") {
      sendFromChild(take());
    } else if (step == "send-with-descriptor") {
      sendWithDescriptor(contentOf(take()));
    } else if (step == "leave-to-child") {
      leaveToChild();
    } else if (step == "become") {
      const char* const user = take();
      become(user, take());
    } else if (step == "drop-group") {
      dropGroup();
    } else if (step == "no-new-privileges") {
      require(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "no-new-privileges");
    } else if (step == "user-namespace") {
      require(::unshare(CLONE_NEWUSER) == 0, "user-namespace");
    } else if (step == "dumpable") {
      require(::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0) == 0, "dumpable");
    } else if (step == "execute") {
      execute(next);
    } else if (step == "execute-from-memory") {
      executeFromMemory(next);
    } else if (step == "say") {
      std::puts(take());
      std::fflush(stdout);
    } else if (step == "wait") {
      waitForInput();
    } else {
      require(false, step.c_str());
    }
  }
  for (;;) waitForInput();
}
