// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/ScriptName.h"

#include "base/text/ControlCharacter.h"
#include "base/text/DisplayText.h"
#include "base/text/Utf8.h"
#include "companion/CleanUp.h"

namespace wicket::companion {

namespace {

constexpr std::size_t longestName = 255;
constexpr char giveABareName[] = "Give the bare name of a script, as wicket list shows it";
constexpr char giveAnotherName[] = "Choose another name with --name";

std::optional<char32_t> firstControlCharacter(std::string_view text) {
  while (const auto scalar = Utf8::take(text)) {
    if (isControlCharacter(*scalar)) return scalar;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Problem> problemWithBareName(std::string_view name) {
  if (name.empty()) return Problem{"A script's name cannot be empty", giveABareName};
  const std::string start = "The name " + quotedText(name);
  if (name == "." || name == "..") return Problem{start + " means a folder, not a script", giveABareName};
  if (name.find('/') != std::string_view::npos) return Problem{start + " contains '/'", giveABareName};
  if (name.size() > longestName) {
    return Problem{
        "A name of " + std::to_string(name.size()) + " bytes is longer than the 255 that a file name can have",
        giveABareName};
  }
  if (!Utf8::isValid(name)) return Problem{start + " is not valid UTF-8", giveABareName};
  if (const auto control = firstControlCharacter(name)) {
    return Problem{start + " contains the control character " + characterName(*control), giveABareName};
  }
  return std::nullopt;
}

std::optional<Problem> problemWithNewName(std::string_view name) {
  if (auto problem = problemWithBareName(name)) {
    problem->nextStep = giveAnotherName;
    return problem;
  }
  if (const auto mangled = clean_up::firstMangledCharacter(name)) {
    return Problem{"The name " + quotedText(name) + " contains " + characterName(*mangled) +
                       ", which the helper does not keep in a name",
                   giveAnotherName};
  }
  if (clean_up::wouldBeTrimmed(name)) {
    return Problem{"The name " + quotedText(name) + " begins or ends with white space, which the helper trims away",
                   giveAnotherName};
  }
  return std::nullopt;
}

}  // namespace wicket::companion
