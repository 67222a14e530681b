// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/doctor/Shortage.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <span>

#include "base/system/Descriptor.h"
#include "base/system/linux/Shortage.h"

namespace wicket::companion::doctor {

std::string Shortage::nextStep(int error) {
  switch (error) {
    case EMFILE:
      return "Raise the limit of open files (ulimit -n), then run the command again";
    case ENFILE:
      return "Close other programs, or as root raise the system's limit: sysctl fs.file-max. Then run the command "
             "again";
    default:
      return "Close other programs, or raise the limit of memory (ulimit -v). Then run the command again";
  }
}

int Shortage::behind(int error, int descriptors) {
  if (linux_adapter::isShortage(error)) return error;
  std::array<Descriptor, mostDescriptors> spares;
  for (Descriptor& spare : std::span(spares).first(static_cast<std::size_t>(descriptors))) {
    spare.reset(::open("/", O_PATH | O_CLOEXEC));
    if (!spare.isOpen()) return linux_adapter::isShortage(errno) ? errno : 0;
  }
  return 0;
}

}  // namespace wicket::companion::doctor
