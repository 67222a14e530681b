// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "admission/Requirement.h"

namespace wicket::admission {

std::string requirementText(std::string_view identifier, std::string_view commonName) {
  std::string text = "anchor apple generic and identifier \"";
  text += identifier;
  text += "\" and certificate leaf[subject.CN] = \"";
  text += commonName;
  text += "\"";
  return text;
}

}  // namespace wicket::admission
