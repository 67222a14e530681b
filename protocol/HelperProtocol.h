// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "protocol/ReplyCode.h"
#include "protocol/Selector.h"

namespace wicket {

/// What the helper exports on every accepted connection. The transport calls each operation on the
/// serial queue of the connection that sent it. Completions may be called from any thread. Every
/// completion is called exactly once, except that of a started run, which is called a second time
/// with the child's exit status when the child ends; the transport must accept that call.
class HelperProtocol {
 public:
  using VersionCompletion = std::function<void(const std::string& version)>;
  using CodeCompletion = std::function<void(ReplyCode code)>;
  /// Authorization data as the client sent it; absent when the client sent none.
  using AuthorizationData = std::optional<std::vector<std::byte>>;

  HelperProtocol() = default;
  HelperProtocol(const HelperProtocol&) = delete;
  HelperProtocol& operator=(const HelperProtocol&) = delete;
  virtual ~HelperProtocol() = default;

  virtual void getVersion(const VersionCompletion& completion) = 0;
  virtual void runCommand(const std::string& filename, const std::vector<std::string>& arguments,
                          const CodeCompletion& completion) = 0;
  virtual void installScript(const std::string& path, const AuthorizationData& authData,
                             const CodeCompletion& completion) = 0;
  /// One way: the client learns nothing of the outcome.
  virtual void uninstall(bool all) = 0;
  virtual void uninstallScriptAt(const std::string& path, const CodeCompletion& completion) = 0;
  virtual void uninstallScriptWithFilename(const std::string& filename, const CodeCompletion& completion) = 0;
};

namespace helper_protocol {

/// The helper cuts every connection so long after it accepted it, whatever is in progress.
inline constexpr std::chrono::seconds connectionLifetime{45};

namespace detail {
inline constexpr std::array string{ArgumentType::string};
inline constexpr std::array boolean{ArgumentType::boolean};
inline constexpr std::array code{ArgumentType::signedInteger};
inline constexpr std::array nameAndArguments{ArgumentType::string, ArgumentType::stringArray};
inline constexpr std::array pathAndData{ArgumentType::string, ArgumentType::data};
}  // namespace detail

inline constexpr Selector getVersion{"getVersionWithCompletion:", {}, detail::string};
inline constexpr Selector runCommand{"runCommandWithFilename:arguments:completion:", detail::nameAndArguments,
                                     detail::code};
inline constexpr Selector installScript{"installScriptAt:authData:completion:", detail::pathAndData, detail::code};
inline constexpr Selector uninstall{"uninstallWithAll:", detail::boolean, {}};
inline constexpr Selector uninstallScriptAt{"uninstallScriptAt:completion:", detail::string, detail::code};
inline constexpr Selector uninstallScriptWithFilename{"uninstallScriptWithFilename:completion:", detail::string,
                                                      detail::code};

namespace detail {
inline constexpr std::array all{getVersion, runCommand,        installScript,
                                uninstall,  uninstallScriptAt, uninstallScriptWithFilename};
}  // namespace detail

inline constexpr Interface interface{"HelperProtocol", detail::all};

}  // namespace helper_protocol
}  // namespace wicket
