// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "helper/script/ScriptArguments.h"

#include <utility>

#include "base/text/CharacterSet.h"
#include "base/text/StringPieces.h"

namespace wicket {
namespace {

ScriptArguments::List appended(ScriptArguments::List list, const ScriptArguments::List& more) {
  list.insert(list.end(), more.begin(), more.end());
  return list;
}

}  // namespace

ScriptArguments::List ScriptArguments::userParameters(std::string_view parameters) {
  List pieces = StringPieces::separatedBy(",", parameters);
  StringPieces::dropEmpty(pieces);
  for (std::string& piece : pieces) {
    std::erase(piece, '"');
    piece = StringPieces::trimmed(piece, CharacterSet::whitespacesAndNewlines());
  }
  return pieces;
}

ScriptArguments::List ScriptArguments::withoutFile(List shebangArguments, const List& userParameters,
                                                   const List& arguments) {
  return appended(appended(std::move(shebangArguments), userParameters), arguments);
}

ScriptArguments::List ScriptArguments::pythonFile(List shebangArguments, const std::string& path,
                                                  const List& userParameters) {
  shebangArguments.push_back(path);
  return appended(std::move(shebangArguments), userParameters);
}

ScriptArguments::List ScriptArguments::otherFile(List shebangArguments, const List& userParameters,
                                                 const std::string& path) {
  List list = appended(std::move(shebangArguments), userParameters);
  list.push_back(path);
  return list;
}

}  // namespace wicket
