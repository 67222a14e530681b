// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cstdint>

// What @available asks at run time. Apple's compiler brings it in its own support library, which a compiler on Linux
// has no copy of for macOS. Like that library it asks the system, in which the question is answered since 10.15.

namespace {

/// As the loader writes it: the version as 0xMMMMmmss.
struct BuildVersion {
  std::uint32_t platform;
  std::uint32_t version;
};

}  // namespace

extern "C" {

// The names are the compiler's and the system's.
// NOLINTBEGIN(bugprone-reserved-identifier)
bool _availability_version_check(std::uint32_t count, const BuildVersion* versions);

std::int32_t __isPlatformVersionAtLeast(std::uint32_t platform, std::uint32_t major, std::uint32_t minor,
                                        std::uint32_t subminor);

std::int32_t __isPlatformVersionAtLeast(std::uint32_t platform, std::uint32_t major, std::uint32_t minor,
                                        std::uint32_t subminor) {
  const std::array wanted{BuildVersion{platform, major << 16U | (minor & 0xFFU) << 8U | (subminor & 0xFFU)}};
  return _availability_version_check(wanted.size(), wanted.data()) ? 1 : 0;
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"
