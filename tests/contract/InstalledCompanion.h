// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "adapters/linux/peer/LinuxCodeSigningServices.h"
#include "adapters/linux/peer/PeerProcess.h"
#include "codesign/signature/Signer.h"
#include "helper/security/CodesignCheck.h"
#include "helper/security/SigningCertificate.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/support/StandIn.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TinyFileSystem.h"

namespace wicket::contract {

/// A signed companion with the set-group bit in a file system of its own, a socket to connect to, and the
/// platform's code signing with the signer's root as its anchor. For the thread that has the file system.
class InstalledCompanion {
 public:
  /// A group that no account here has.
  static constexpr gid_t group = 64999;
  static constexpr char user[] = "65534";
  [[nodiscard]] static linux_adapter::CompanionGroup knownGroup() {
    return linux_adapter::CompanionGroup([] { return std::optional(group); });
  }
  using Steps = std::vector<std::string>;

  explicit InstalledCompanion(std::string folder) : folder_(std::move(folder)), listening_(listen()) {
    // Reachable for any user.
    ::chmod(folder_.c_str(), 0755);
    ::chmod(socketPath().c_str(), 0777);
    install(path());
  }

  [[nodiscard]] std::string path() const { return folder_ + "/wicket"; }
  [[nodiscard]] std::string path(const std::string& name) const { return folder_ + "/" + name; }
  [[nodiscard]] std::string socketPath() const { return folder_ + "/socket"; }
  [[nodiscard]] linux_adapter::LinuxCodeSigningServices& services() { return services_; }

  [[nodiscard]] static codesign::SigningRequest genuineRequest() {
    return {"net.orvane.Wicket", codesign::CodeDirectory::runtimeFlag, codesign::PropertyDictionary{}};
  }
  /// The program at @p path, signed, of root and the group, with the set-group bit.
  void install(const std::string& path, const codesign::SigningRequest& request = genuineRequest()) const {
    install(path, request, chain_);
  }
  static void install(const std::string& path, const codesign::SigningRequest& request,
                      const support::TestChain& chain) {
    copy(path);
    sign(path, request, chain);
  }
  static void sign(const std::string& path, const codesign::SigningRequest& request, const support::TestChain& chain) {
    const auto result = codesign::Signer::sign(path, request, identityOf(chain));
    if (!result) throw std::runtime_error(result.error());
    own(path);
  }
  /// The same without a signature.
  static void copy(const std::string& path) {
    std::filesystem::copy_file(WICKET_STAND_IN, path, std::filesystem::copy_options::overwrite_existing);
    own(path);
  }
  static void own(const std::string& path, gid_t itsGroup = group, mode_t mode = 02755) {
    // A change of the owner clears the bit, so the mode comes last.
    if (::chown(path.c_str(), 0, itsGroup) != 0 || ::chmod(path.c_str(), mode) != 0) throw std::runtime_error(path);
  }
  [[nodiscard]] const support::TestChain& chain() const { return chain_; }
  [[nodiscard]] static support::TestChain chainNamed(const std::string& commonName) {
    return support::TestChain::make(support::authorityRecipe("Root"), support::authorityRecipe("Intermediate"),
                                    support::leafRecipe(commonName));
  }

  /// A process, its token and the accepted connection to it.
  struct Client {
    std::unique_ptr<support::StandIn> process;
    AuditTokenData token;
    Descriptor connection;
  };
  /// @p program, started by an ordinary user, connects; then it does @p afterwards. @p before is what the
  /// user's process does before it executes the program.
  Client connect(const std::string& program, const Steps& afterwards = {}, const Steps& before = {}) {
    Steps steps{"become", user, user};
    steps.insert(steps.end(), before.begin(), before.end());
    steps.insert(steps.end(), {"execute", program});
    return start(steps, afterwards);
  }
  Client connect() { return connect(path()); }
  /// A process of root, which has the group in effect by other means than the file that it runs.
  Client connectWithGroup(const std::string& program, const Steps& afterwards = {}) {
    return start({"become-with", "0", "0", std::to_string(group), "", "execute", program}, afterwards);
  }

  /// What the helper decides about the process of that token.
  bool letsIn(const AuditTokenData& token) {
    doubles::RecordingConnection connection;
    connection.setAuditToken(token);
    return CodesignCheck::isValid(services_, connection);
  }

 private:
  Client start(Steps steps, const Steps& afterwards) {
    steps.insert(steps.end(), {"connect", socketPath(), "say", "connected"});
    steps.insert(steps.end(), afterwards.begin(), afterwards.end());
    steps.insert(steps.end(), {"say", "done"});
    auto process = std::make_unique<support::StandIn>(WICKET_STAND_IN, steps);
    if (!process->awaitSaid("connected")) throw std::runtime_error("the client does not connect");
    Descriptor accepted(::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    const auto peer = linux_adapter::PeerProcess::ofSocket(accepted.get());
    if (!peer) throw std::runtime_error("the client cannot be told");
    if (!process->awaitSaid("done")) throw std::runtime_error("the client does not come to an end");
    return {std::move(process), peer->auditToken(), std::move(accepted)};
  }
  [[nodiscard]] Descriptor listen() const {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath().copy(address.sun_path, sizeof address.sun_path - 1);
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
    if (::bind(socket.get(), generic, sizeof address) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
      throw std::runtime_error("cannot listen on " + socketPath());
    }
    return socket;
  }
  static codesign::SigningIdentity identityOf(const support::TestChain& chain) {
    EVP_PKEY_up_ref(chain.leaf.key());
    std::vector<codesign::Certificate> certificates;
    for (const auto* const one : {&chain.leaf, &chain.intermediate}) {
      certificates.push_back(codesign::Certificate::retaining(one->x509()));
    }
    auto identity = codesign::SigningIdentity::fromParts(codesign::KeyObject(chain.leaf.key()), certificates);
    if (!identity) throw std::runtime_error(identity.error());
    return *std::move(identity);
  }

  const std::string folder_;
  const Descriptor listening_;
  const support::TestChain chain_ = chainNamed(std::string(SigningCertificate::commonName()));
  linux_adapter::LinuxCodeSigningServices services_{knownGroup(), codesign::Certificate::retaining(chain_.root.x509())};
};

/// Runs @p body with an installed companion that nobody else sees. False where the system does not allow
/// file systems of one's own.
[[nodiscard]] inline bool withInstalledCompanion(const std::function<void(InstalledCompanion&)>& body) {
  constexpr std::size_t space = std::size_t{64} << 20U;
  return support::withTinyFileSystem(space, [&](const std::string& folder) {
    InstalledCompanion companion(folder);
    body(companion);
  });
}

}  // namespace wicket::contract
