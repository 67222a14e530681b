// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <linux/memfd.h>
#include <linux/sched.h>
#include <sched.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/programs/Steps.h"

namespace wicket::stand_in {
namespace {

unsigned long numberIn(const char* text) { return std::strtoul(text, nullptr, 10); }

std::vector<gid_t> groupsIn(const std::string& text) {
  std::vector<gid_t> groups;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, ',');) groups.push_back(static_cast<gid_t>(numberIn(word.c_str())));
  return groups;
}

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

/// Where the arguments begin in its memory: field 48 of proc(5)'s "stat"; 0 where that is kept from us.
std::uintptr_t argumentsOf(pid_t process) {
  std::ifstream file(procFile(std::to_string(process).c_str(), "stat"));
  std::string text;
  std::getline(file, text);
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string field;
  for (int number = 3; number <= 48; ++number) fields >> field;
  return numberIn(field.c_str());
}

/// Whether it could be done.
bool alterArgument(pid_t process, const std::string& before, const std::string& after) {
  const int memory = ::open(procFile(std::to_string(process).c_str(), "mem").c_str(), O_RDWR | O_CLOEXEC);
  std::array<char, 512> bytes{};
  const auto begin = static_cast<off_t>(argumentsOf(process));
  const ssize_t count = ::pread(memory, bytes.data(), bytes.size(), begin);
  const std::string text(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  const std::size_t found = text.find(before);
  const bool isDone =
      found != std::string::npos && ::pwrite(memory, after.data(), after.size(), begin + static_cast<off_t>(found)) > 0;
  ::close(memory);
  return isDone;
}

}  // namespace

void become(char** arguments) {
  const auto uid = static_cast<uid_t>(numberIn(arguments[0]));
  const auto gid = static_cast<gid_t>(numberIn(arguments[1]));
  require(::setgroups(0, nullptr) == 0 && ::setresgid(gid, gid, gid) == 0 && ::setresuid(uid, uid, uid) == 0, "become");
}

void becomeWith(char** arguments) {
  const auto uid = static_cast<uid_t>(numberIn(arguments[0]));
  const auto real = static_cast<gid_t>(numberIn(arguments[1]));
  const auto effective = static_cast<gid_t>(numberIn(arguments[2]));
  const auto groups = groupsIn(arguments[3]);
  require(::setgroups(groups.size(), groups.data()) == 0 && ::setresgid(real, effective, effective) == 0 &&
              ::setresuid(uid, uid, uid) == 0,
          "become-with");
}

void exchangeGroups(char** /*arguments*/) {
  const gid_t real = ::getgid();
  require(::setregid(::getegid(), real) == 0 && ::getegid() == real, "exchange-groups");
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

void undumpable(char** /*arguments*/) { require(::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0, "undumpable"); }

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

void forkAltered(char** arguments) {
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child == 0) {
    require(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0, "ptrace");
    return;
  }
  int status = 0;
  require(::waitpid(child, &status, 0) == child && WIFSTOPPED(status), "the execution");
  static_cast<void>(alterArgument(child, arguments[0], arguments[1]));
  require(::ptrace(PTRACE_DETACH, child, nullptr, nullptr) == 0, "detach");
  stay();
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

void environment(char** arguments) { require(::putenv(arguments[0]) == 0, "environment"); }

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
