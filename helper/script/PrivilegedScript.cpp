// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/script/PrivilegedScript.h"

#include "base/text/Utf8.h"
#include "helper/clients/FatalError.h"
#include "helper/clients/LogUtil.h"

namespace wicket {

std::shared_ptr<PrivilegedScript> PrivilegedScript::create(FileManager& fileManager, ChildProcessLauncher& launcher,
                                                           std::optional<std::string> path, StringList arguments,
                                                           std::optional<std::string> shebang,
                                                           std::shared_ptr<Connection> connection) {
  std::shared_ptr<PrivilegedScript> script(new PrivilegedScript(fileManager, launcher, std::move(connection)));
  if (!script->TlvCoreScript::init(std::move(path), "", false)) return nullptr;
  script->setArguments(std::move(arguments));
  if (shebang) script->setShebang(std::move(shebang));
  return script;
}

PrivilegedScript::PrivilegedScript(FileManager& fileManager, ChildProcessLauncher& launcher,
                                   std::shared_ptr<Connection> connection)
    : TlvCoreScript(fileManager, launcher), connection_(std::move(connection)) {}

bool PrivilegedScript::init(std::optional<std::string> /*path*/, std::string /*parameters*/, bool /*doDisplayError*/) {
  fatalError("PrivilegedScript",
             "Use of unimplemented initializer 'init(path:parameters:doDisplayError:)' for class 'PrivilegedScript'");
}

void PrivilegedScript::writeToLog(std::span<const std::byte> data) {
  const std::string text(reinterpret_cast<const char*>(data.data()), data.size());
  if (text.empty() || connection_ == nullptr || !Utf8::isValid(text)) return;
  connection_->waitForCapacity();
  LogUtil::log(text, connection_);
}

void PrivilegedScript::writeToLog(std::string_view text) { LogUtil::log(std::string(text), connection_); }

}  // namespace wicket
