// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/macos/MacSourceFiles.h"

#include <cerrno>
#include <cstdlib>
#include <sys/kauth.h>
#include <unistd.h>

#include "adapters/macos/CallingUser.h"
#include "adapters/posix/PosixSourceFile.h"

namespace wicket::macos_adapter {
namespace {

/// pthread_setugid_np(2). The system advises against it where code of others runs in between; here it is one open and
/// one reading, and the other way, a process of its own, would need a second program.
bool setIdentityOfThread(uid_t user, gid_t group) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  return ::pthread_setugid_np(user, group) == 0;
#pragma clang diagnostic pop
}

/// This thread's identity. All other threads stay root.
class Identity {
 public:
  explicit Identity(const CallingUser& user) : isTaken_(setIdentityOfThread(user.user, user.group)) {}
  Identity(const Identity&) = delete;
  Identity& operator=(const Identity&) = delete;
  /// A thread that stayed somebody else would fail at everything later.
  ~Identity() {
    if (isTaken_ && !setIdentityOfThread(KAUTH_UID_NONE, KAUTH_GID_NONE)) std::abort();
  }
  [[nodiscard]] bool isTaken() const { return isTaken_; }

 private:
  const bool isTaken_;
};

}  // namespace

std::expected<std::unique_ptr<SourceFile>, FileError> MacSourceFiles::open(const std::string& path) {
  const auto user = CallingUser::current();
  if (!user) return std::unexpected(FileError{EPERM});
  const Identity identity(*user);
  if (!identity.isTaken()) return std::unexpected(FileError{errno});
  return posix::PosixSourceFile::open(path);
}

}  // namespace wicket::macos_adapter
