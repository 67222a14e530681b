// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace wicket::support {

/// Lets the process have at most so many more descriptors, for as long as it lives.
class DescriptorAllowance {
 public:
  explicit DescriptorAllowance(rlim_t more) {
    // The limit is one of numbers, and the lowest that is free is given out next.
    const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (next < 0 || ::getrlimit(RLIMIT_NOFILE, &before_) != 0) std::abort();
    ::close(next);
    rlimit allowed = before_;
    allowed.rlim_cur = static_cast<rlim_t>(next) + more;
    ::setrlimit(RLIMIT_NOFILE, &allowed);
  }
  DescriptorAllowance(const DescriptorAllowance&) = delete;
  DescriptorAllowance& operator=(const DescriptorAllowance&) = delete;
  ~DescriptorAllowance() { ::setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

}  // namespace wicket::support
