// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <array>
#include <ctime>
#include <string>
#include <vector>

#include "base/text/DisplayText.h"
#include "base/text/JsonString.h"
#include "base/text/Utf8.h"
#include "companion/ScriptFolder.h"
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"

namespace wicket::companion::command {

namespace {

using Text = std::array<char, 64>;

std::string localTime(std::time_t moment) {
  std::tm fields{};
  Text text{};
  if (::localtime_r(&moment, &fields) == nullptr) return "-";
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &fields)};
}

std::string universalTime(std::time_t moment) {
  std::tm fields{};
  Text text{};
  if (::gmtime_r(&moment, &fields) == nullptr) return "-";
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields)};
}

/// A name as the table shows it: in quotation marks only when it could not stand there as it is.
std::string shown(const std::string& name) {
  const std::string inQuotes = quotedText(name);
  return inQuotes == "\"" + name + "\"" ? name : inQuotes;
}

/// Terminal columns, taken as one per character.
std::size_t widthOf(std::string_view text) {
  std::size_t width = 0;
  while (Utf8::take(text)) ++width;
  return width;
}

std::string padded(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, widthOf(text)), ' ');
}

void printTable(Output& output, const std::vector<InstalledScript>& scripts) {
  std::size_t nameWidth = 4;
  std::size_t sizeWidth = 5;
  for (const InstalledScript& script : scripts) {
    nameWidth = std::max(nameWidth, widthOf(shown(script.name)));
    sizeWidth = std::max(sizeWidth, std::to_string(script.size).size());
  }
  output.printLine(padded("NAME", nameWidth) + "  " + padded("BYTES", sizeWidth) + "  INSTALLED");
  for (const InstalledScript& script : scripts) {
    output.printLine(padded(shown(script.name), nameWidth) + "  " + padded(std::to_string(script.size), sizeWidth) +
                     "  " + localTime(script.modifiedAt));
  }
}

void printJson(Output& output, const std::vector<InstalledScript>& scripts) {
  std::string text = "[";
  for (const InstalledScript& script : scripts) {
    text += text.size() > 1 ? ",\n " : "";
    text += "{\"name\": " + jsonString(script.name) + ", \"size\": " + std::to_string(script.size) +
            ", \"installedAt\": \"" + universalTime(script.modifiedAt) + "\"}";
  }
  output.printLine(text + "]");
}

}  // namespace

int list(Context& context, bool asJson) {
  const auto scripts = installedScripts(context.scriptFolder);
  if (!scripts) {
    context.output.printProblem(scripts.error());
    return exit_status::failure;
  }
  if (asJson) {
    printJson(context.output, *scripts);
  } else if (scripts->empty()) {
    context.output.printLine("No scripts are installed.");
  } else {
    printTable(context.output, *scripts);
  }
  return exit_status::success;
}

}  // namespace wicket::companion::command
