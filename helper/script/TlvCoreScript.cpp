// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/script/TlvCoreScript.h"

#include "base/text/CharacterSet.h"
#include "base/text/StringPieces.h"
#include "base/text/Utf8.h"
#include "helper/clients/FatalError.h"
#include "helper/script/ShebangLine.h"
#include "helper/store/FilePath.h"
#include "helper/store/StringPredicates.h"
#include "protocol/HelperLines.h"

namespace wicket {
namespace {

[[noreturn]] void writeToLogIsAbstract() { fatalError("TlvCoreScript", "writeToLog was not overriden."); }

}  // namespace

bool TlvCoreScript::init(std::optional<std::string> path, std::string parameters, bool doDisplayError) {
  path_ = std::move(path);
  doDisplayError_ = doDisplayError;
  parameters_ = std::move(parameters);
  if (!path_) return true;
  return fileManager_.fileExists(*path_) && readFile();
}

bool TlvCoreScript::readFile() {
  const auto file = path();
  if (!file) return false;
  auto text = fileManager_.readFile(*file);
  if (!text || !Utf8::isValid(*text)) {
    writeToLog(HelperLines::scriptUnreadable(*file));
    return false;
  }
  // A byte-order mark stays: the first line then begins with it and not with "#!".
  setShebang(StringPieces::firstSeparatedBy(CharacterSet::newlines(), *text));
  setScript(std::move(*text));
  return true;
}

std::optional<std::string> TlvCoreScript::scriptExtension() const {
  return path().transform([](const std::string& file) { return std::string(FilePath::pathExtension(file)); });
}

std::optional<TlvCoreScript::StringList> TlvCoreScript::shebangComponents() const {
  return ShebangLine::components(shebang());
}

std::optional<std::string> TlvCoreScript::toolPath() const {
  const auto components = shebangComponents();
  if (!components || components->empty()) return std::nullopt;
  return components->front();
}

std::optional<TlvCoreScript::StringList> TlvCoreScript::argumentsInShebang() const {
  auto components = shebangComponents();
  if (components && !components->empty()) components->erase(components->begin());
  return components;
}

bool TlvCoreScript::areParametersValid() const {
  const auto file = path();
  if (file && !StringPredicates::isValidPathForScriptAsRoot(fileManager_, *file)) return false;
  const auto tool = toolPath();
  return tool && fileManager_.fileExists(*tool);
}

void TlvCoreScript::writeToLog(std::span<const std::byte> /*data*/) { writeToLogIsAbstract(); }

void TlvCoreScript::writeToLog(std::string_view /*text*/) { writeToLogIsAbstract(); }

}  // namespace wicket
