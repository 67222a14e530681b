// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <linux/memfd.h>
#include <linux/sched.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/programs/Steps.h"

namespace wicket::stand_in {
namespace {

std::string procFile(const char* pid, const char* name) { return std::string("/proc/") + pid + "/" + name; }

bool opens(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file >= 0) ::close(file);
  return file >= 0;
}

/// For one of those that a process has for sure.
bool canTakeDescriptor(pid_t pid) {
  const int process = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  require(process >= 0, "pidfd_open");
  bool isTaken = false;
  for (int descriptor = 0; descriptor < 16; ++descriptor) {
    isTaken = ::syscall(SYS_pidfd_getfd, process, descriptor, 0) >= 0 || isTaken;
  }
  return isTaken;
}

bool canTrace(pid_t pid) {
  if (::ptrace(PTRACE_SEIZE, pid, nullptr, nullptr) == 0) return true;
  return ::ptrace(PTRACE_ATTACH, pid, nullptr, nullptr) == 0;
}

/// Its permission is looked at before the address is.
bool canReadMemory(pid_t pid) {
  char byte = 0;
  const iovec here{&byte, 1};
  const iovec there{&byte, 1};
  return ::process_vm_readv(pid, &here, 1, &there, 1, 0) >= 0 || errno != EPERM;
}

[[noreturn]] void stay() {
  for (;;) ::pause();
}

/// Lets a traced child go on until it ends.
[[noreturn]] void follow(pid_t child) {
  for (int status = 0; ::waitpid(child, &status, 0) == child && WIFSTOPPED(status);) {
    ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
  }
  std::_Exit(EXIT_SUCCESS);
}

}  // namespace

void become(char** arguments) {
  const auto uid = static_cast<uid_t>(std::strtoul(arguments[0], nullptr, 10));
  const auto gid = static_cast<gid_t>(std::strtoul(arguments[1], nullptr, 10));
  require(::setgroups(0, nullptr) == 0 && ::setresgid(gid, gid, gid) == 0 && ::setresuid(uid, uid, uid) == 0, "become");
}

void dropGroup(char** /*arguments*/) {
  const gid_t group = ::getgid();
  require(::setresgid(group, group, group) == 0, "drop-group");
}

void noNewPrivileges(char** /*arguments*/) {
  require(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "no-new-privileges");
}

void userNamespace(char** /*arguments*/) { require(::unshare(CLONE_NEWUSER) == 0, "user-namespace"); }

void dumpable(char** /*arguments*/) { require(::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0) == 0, "dumpable"); }

void leaveToChild(char** /*arguments*/) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child > 0) std::_Exit(EXIT_SUCCESS);
}

void fork(char** /*arguments*/) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child > 0) stay();
}

void leaveGroup(char** /*arguments*/) { require(::setsid() >= 0, "setsid"); }

void forkWithNumber(char** arguments) {
  pid_t wanted = static_cast<pid_t>(std::strtol(arguments[0], nullptr, 10));
  clone_args how{};
  how.exit_signal = SIGCHLD;
  how.set_tid = reinterpret_cast<std::uintptr_t>(&wanted);
  how.set_tid_size = 1;
  const long child = ::syscall(SYS_clone3, &how, sizeof how);
  require(child >= 0, "clone3");
  if (child > 0) stay();
}

void forkTraced(char** /*arguments*/) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child > 0) follow(child);
  require(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0, "ptrace");
}

void intrude(char** arguments) {
  const char* const text = arguments[0];
  const auto pid = static_cast<pid_t>(std::strtol(text, nullptr, 10));
  require(::kill(pid, 0) == 0 || errno == EPERM, "no such process");
  bool isIn = false;
  for (const char* name : {"mem", "environ", "maps", "auxv", "fd", "fd/0", "exe", "cwd", "root"}) {
    isIn = opens(procFile(text, name)) || isIn;
  }
  isIn = canTakeDescriptor(pid) || isIn;
  isIn = canReadMemory(pid) || isIn;
  isIn = canTrace(pid) || isIn;
  say(isIn ? "entered" : "kept out");
}

void execute(char** arguments) {
  ::execv(arguments[0], arguments);
  require(false, arguments[0]);
}

void executeFromMemory(char** arguments) {
  const int copy = static_cast<int>(::syscall(SYS_memfd_create, "copy", MFD_CLOEXEC));
  const int file = ::open(arguments[0], O_RDONLY | O_CLOEXEC);
  struct stat status{};
  require(copy >= 0 && file >= 0 && ::fstat(file, &status) == 0, "memfd");
  require(::sendfile(copy, file, nullptr, static_cast<std::size_t>(status.st_size)) == status.st_size, "sendfile");
  require(::fchmod(copy, status.st_mode & 07777U) == 0, "fchmod");
  ::fexecve(copy, arguments, environ);
  require(false, "fexecve");
}

void waitForInput(char** /*arguments*/) {
  char byte = 0;
  if (::read(STDIN_FILENO, &byte, 1) != 1) std::_Exit(EXIT_SUCCESS);
}

}  // namespace wicket::stand_in
