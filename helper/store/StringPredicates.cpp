// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/store/StringPredicates.h"

#include "helper/store/FilePath.h"
#include "protocol/Extension.h"

namespace wicket {

// No other text is canonically equivalent to these lower-case letters, so comparing bytes is exact.

bool StringPredicates::isValidExtensionForApplescript(std::string_view extension) {
  return extension == Extension::script || extension == Extension::applescript ||
         extension == Extension::applescriptBundle;
}

bool StringPredicates::isValidExtensionForScript(std::string_view extension) {
  return isValidExtensionForApplescript(extension) || isValidExtensionForScriptAsRoot(extension);
}

bool StringPredicates::isValidExtensionForScriptAsRoot(std::string_view extension) {
  return extension == Extension::python || extension == Extension::shell;
}

bool StringPredicates::isValidPathForApplescript(FileManager& fileManager, const std::string& path) {
  return fileManager.fileExists(path) && isValidExtensionForApplescript(FilePath::pathExtension(path));
}

bool StringPredicates::isValidPathForScript(FileManager& fileManager, const std::string& path) {
  return fileManager.fileExists(path) && isValidExtensionForScript(FilePath::pathExtension(path));
}

bool StringPredicates::isValidPathForScriptAsRoot(FileManager& fileManager, const std::string& path) {
  return fileManager.fileExists(path) && isValidExtensionForScriptAsRoot(FilePath::pathExtension(path));
}

}  // namespace wicket
