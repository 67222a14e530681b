// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/sources/ClientSourceFiles.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <tuple>
#include <utility>

#include "adapters/linux/peer/CallingClient.h"
#include "adapters/linux/sources/ReaderMessages.h"
#include "adapters/linux/sources/SourceReader.h"
#include "adapters/posix/FileFailure.h"
#include "adapters/posix/PosixSourceFile.h"
#include "base/system/RegularFile.h"
#include "base/system/Uninterrupted.h"
#include "base/system/linux/PinnedProcess.h"

namespace wicket::linux_adapter {
namespace {

using posix::failure;

/// Only root is used to reading everything, and even root may have been denied it.
bool mayReadAll(uid_t user, std::string_view status) {
  constexpr std::uint64_t readAll = std::uint64_t{1} << CAP_DAC_READ_SEARCH;
  return user == 0 && (ProcessFiles::statusMask(status, "CapEff").value_or(0) & readAll) != 0;
}

/// The calling client's place, as the kernel describes it now.
std::expected<ClientPlace, int> placeOf(const CallingClient& client, const ProcessFiles& files) {
  const auto status = files.read("status");
  if (!status) return std::unexpected(errno);
  const auto group = ProcessFiles::statusNumber(*status, "Gid");
  // Should the client have ended, its number may be another user's by now, whose groups are not the client's.
  constexpr int effective = 1;
  if (!group || ProcessFiles::statusNumber(*status, "Uid", effective) != client.uid) {
    return std::unexpected(ESRCH);
  }
  ClientPlace place{client.uid,
                    *group,
                    ProcessFiles::statusNumbers(*status, "Groups"),
                    mayReadAll(client.uid, *status),
                    Descriptor(::open(files.path("ns/mnt").c_str(), O_RDONLY | O_CLOEXEC)),
                    Descriptor(::open(files.path("root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))};
  if (!place.mountNamespace.isOpen() || !place.root.isOpen()) return std::unexpected(errno);
  return place;
}

std::expected<ClientPlace, int> placeOf(const CallingClient& client) {
  const auto process = PinnedProcess::of(client.pid);
  if (!process) return std::unexpected(process.error());
  return process->ask([&client](const ProcessFiles& files) { return placeOf(client, files); });
}

/// A child that is gone when this is.
class ReaderProcess {
 public:
  explicit ReaderProcess(pid_t pid) : pid_(pid) {}
  ReaderProcess(const ReaderProcess&) = delete;
  ReaderProcess& operator=(const ReaderProcess&) = delete;
  ~ReaderProcess() {
    ::kill(pid_, SIGKILL);
    std::ignore = system::uninterrupted([this] { return ::waitpid(pid_, nullptr, 0); });
  }

 private:
  const pid_t pid_;
};

/// Started with root's rights and with nothing but its socket; 0 or an errno.
int spawnReader(const std::string& executable, const Descriptor& socket, pid_t& pid) {
  posix_spawn_file_actions_t actions{};
  if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return error;
  std::string name = executable;
  std::string argument = SourceReader::argument;
  const std::array<char*, 3> arguments{name.data(), argument.data(), nullptr};
  const std::array<char*, 1> environment{nullptr};
  int error = ::posix_spawn_file_actions_adddup2(&actions, socket.get(), SourceReader::socket);
  if (error == 0) error = ::posix_spawn_file_actions_addclosefrom_np(&actions, SourceReader::socket + 1);
  if (error == 0) {
    error = ::posix_spawn(&pid, executable.c_str(), &actions, nullptr, arguments.data(), environment.data());
  }
  ::posix_spawn_file_actions_destroy(&actions);
  return error;
}

/// Whether there is something to read before the time is up.
bool waitForAnswer(const Descriptor& socket, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (rest.count() <= 0) return false;
    pollfd answer{socket.get(), POLLIN, 0};
    const int result = ::poll(&answer, 1, static_cast<int>(rest.count()));
    if (result > 0) return true;
    if (result < 0 && errno != EINTR) return false;
  }
}

ReaderAnswer::Result readBy(const std::string& executable, const ReaderRequest& request,
                            std::chrono::milliseconds limit) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return std::unexpected(errno);
  const Descriptor ours(ends[0]);
  Descriptor theirs(ends[1]);
  pid_t pid = 0;
  if (const int error = spawnReader(executable, theirs, pid); error != 0) return std::unexpected(error);
  const ReaderProcess process(pid);
  theirs.reset();
  if (!request.sendTo(ours)) return std::unexpected(errno);
  if (!waitForAnswer(ours, limit)) return std::unexpected(ETIMEDOUT);
  return ReaderAnswer::receiveFrom(ours);
}

}  // namespace

std::expected<std::unique_ptr<SourceFile>, FileError> ClientSourceFiles::open(const std::string& path) {
  const auto client = CallingClient::current();
  if (!client) return failure(EPERM);
  if (!system::isRepresentable(path)) return failure(EINVAL);
  if (path.size() >= PATH_MAX) return failure(ENAMETOOLONG);
  auto place = placeOf(*client);
  if (!place) return failure(place.error());
  auto answer = readBy(executable_, {std::move(*place), path}, mostTime_);
  if (!answer) return failure(answer.error());
  return posix::PosixSourceFile::make(std::move(answer->file), answer->content);
}

}  // namespace wicket::linux_adapter
