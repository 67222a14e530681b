// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "benchmarks/FirstCheck.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

#include "adapters/linux/peer/LinuxCodeSigningServices.h"
#include "tests/contract/InstalledCompanion.h"

namespace wicket::benchmarks {
namespace {

std::string hexadecimal(const AuditTokenData& token) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::byte byte : token) {
    text += digits[std::to_integer<std::size_t>(byte >> 4U)];
    text += digits[std::to_integer<std::size_t>(byte & std::byte{15})];
  }
  return text;
}

std::optional<AuditTokenData> tokenFrom(const std::string& text) {
  AuditTokenData token{};
  if (text.size() != 2 * token.size()) return std::nullopt;
  for (std::size_t i = 0; i < token.size(); ++i) {
    std::uint8_t byte = 0;
    const char* const digits = text.data() + 2 * i;
    if (std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) return std::nullopt;
    token[i] = std::byte{byte};
  }
  return token;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

struct ClosePipe {
  void operator()(std::FILE* pipe) const { ::pclose(pipe); }
};

}  // namespace

std::optional<Microseconds> FirstCheck::inNewProcess(const AuditTokenData& token, const std::string& anchorFile) {
  // The shell executes the program in its own place, so that /proc/self would be the shell's: hence the link's target.
  static const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command = "exec '" + program + "' " + option + " " + hexadecimal(token) + " '" + anchorFile + "'";
  const std::unique_ptr<std::FILE, ClosePipe> pipe(::popen(command.c_str(), "re"));
  if (!pipe) return std::nullopt;
  double microseconds = 0;
  if (std::fscanf(pipe.get(), "%lf", &microseconds) != 1) return std::nullopt;
  return Microseconds(microseconds);
}

int FirstCheck::run(const std::string& tokenText, const std::string& anchorFile) {
  const auto token = tokenFrom(tokenText);
  const std::string anchorText = contentOf(anchorFile);
  if (!token) return EXIT_FAILURE;
  doubles::RecordingConnection connection;
  connection.setAuditToken(*token);
  const auto before = std::chrono::steady_clock::now();
  auto anchor = codesign::Certificate::fromPem(anchorText);
  if (!anchor) return EXIT_FAILURE;
  linux_adapter::LinuxCodeSigningServices services(contract::InstalledCompanion::knownGroup(), *std::move(anchor));
  if (!CodesignCheck::isValid(services, connection)) return EXIT_FAILURE;
  const Microseconds duration = std::chrono::steady_clock::now() - before;
  std::printf("%.3f\n", duration.count());
  return EXIT_SUCCESS;
}

}  // namespace wicket::benchmarks
