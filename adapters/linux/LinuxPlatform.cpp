// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/LinuxPlatform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <system_error>
#include <utility>

#include "adapters/linux/DescriptorLimit.h"
#include "adapters/linux/bus/BusListener.h"
#include "adapters/linux/bus/SocketActivation.h"
#include "adapters/linux/peer/CompanionGroup.h"
#include "adapters/linux/sources/SourceReader.h"
#include "codesign/plist/PropertyListLibrary.h"
#include "protocol/Identifier.h"
#include "resources/BuildValues.h"
#include "resources/TrustedAnchor.h"

namespace wicket {
namespace linux_adapter {
namespace {

void say(const std::string& line) { std::cerr << std::string(Identifier::privilegedHelper) + ": " + line + "\n"; }

[[noreturn]] void endBecause(const std::string& reason) {
  say(reason);
  std::exit(EXIT_FAILURE);
}

CompanionGroup companionGroup() {
  const std::string name(resources::BuildValues::companionGroup());
  CompanionGroup group([name] { return groupNamed(name); });
  if (!group.number()) say("there is no group \"" + name + "\", so every client is refused until there is one.");
  return group;
}

codesign::Certificate trustAnchor() {
  auto anchor = codesign::Certificate::fromDer(resources::TrustedAnchor::der());
  if (!anchor) endBecause("the trusted certificate of this build cannot be read: " + anchor.error().message);
  return *std::move(anchor);
}

LinuxPlatform* makePlatform() {
  if (const auto missing = codesign::PropertyListLibrary::missing(); !missing.empty()) endBecause(missing + ".");
  auto listening = takeActivationSocket();
  if (!listening) {
    endBecause("no listening socket was handed over; it is started by its systemd socket unit, not by hand.");
  }
  // A client or a child that has gone is an error of the write, not the end of the process.
  if (std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) std::abort();
  return new LinuxPlatform(std::move(*listening), companionGroup(), trustAnchor());
}

}  // namespace

LinuxPlatform::LinuxPlatform(Descriptor listening, CompanionGroup group, codesign::Certificate anchor)
    : listening_(std::move(listening)),
      childProcessLauncher_(DescriptorLimit::raise()),
      codeSigningServices_(std::move(group), std::move(anchor)) {}

std::unique_ptr<Listener> LinuxPlatform::makeListener(std::string_view /*machServiceName*/) {
  // The name is in the socket's path: the service manager has chosen the socket by it.
  Descriptor copy(fcntl(listening_.get(), F_DUPFD_CLOEXEC, 0));
  if (!copy.isOpen()) throw std::system_error(errno, std::generic_category(), "the listening socket");
  return std::make_unique<BusListener>(std::move(copy), shares_);
}

}  // namespace linux_adapter

// Never destroyed: threads of the platform may still run while the process ends.
Platform& Platform::current() {
  static auto& platform = *linux_adapter::makePlatform();
  return platform;
}

void Platform::runAuxiliaryProcess(std::span<char* const> arguments) {
  using linux_adapter::SourceReader;
  if (SourceReader::isAskedForBy(arguments)) SourceReader::run();
}

}  // namespace wicket
