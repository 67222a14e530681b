// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "base/text/JsonString.h"
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"
#include "companion/doctor/Diagnosis.h"
#include "companion/doctor/HelperAnswer.h"
#include "companion/hardening/GroupPrivilege.h"

namespace wicket::companion::command {

namespace {

using doctor::Finding;
using doctor::HelperAnswer;

Finding askHelper(const ConnectOptions& options) {
  auto helper = HelperConnection::connect(options);
  if (!helper) return doctor::diagnose(HelperAnswer::unreachable, helper.error().systemError);
  const auto version = helper->getVersion();
  if (version) return doctor::diagnose(HelperAnswer::answered);
  if (version.error() == CallError::timedOut) return doctor::diagnose(HelperAnswer::silent);
  const bool isOverLimit = version.error() == CallError::tooManyConnections;
  return doctor::diagnose(isOverLimit ? HelperAnswer::overLimit : HelperAnswer::refused);
}

std::string jsonOf(const Finding& finding) {
  return "{\"check\": " + jsonString(finding.check) + ", \"ok\": " + (finding.isWell ? "true" : "false") +
         ", \"statement\": " + jsonString(finding.statement) + ", \"nextStep\": " + jsonString(finding.nextStep) + "}";
}

void printJson(Output& output, const std::vector<Finding>& findings, bool isWell) {
  std::string text = std::string("{\"ok\": ") + (isWell ? "true" : "false") + ", \"checks\": [";
  for (const Finding& finding : findings) text += (&finding == findings.data() ? "\n " : ",\n ") + jsonOf(finding);
  output.printLine(text + "]}");
}

void printFindings(Output& output, const std::vector<Finding>& findings) {
  for (const Finding& finding : findings) output.printCheck(finding.isWell, finding.statement, finding.nextStep);
}

}  // namespace

int examine(Context& context, bool asJson) {
  const GroupPrivilege* const privilege = context.connection.privilege;
  const gid_t group = privilege != nullptr ? privilege->group() : ::getegid();
  const auto facts = doctor::SystemFacts::gather(group, context.connection.socketPath);
  auto findings = doctor::diagnose(facts);
  if (S_ISSOCK(facts.socket.mode)) findings.push_back(askHelper(context.connection));
  const bool isWell = std::ranges::all_of(findings, &Finding::isWell);
  if (asJson) {
    printJson(context.output, findings, isWell);
  } else {
    printFindings(context.output, findings);
  }
  return isWell ? exit_status::success : exit_status::failure;
}

}  // namespace wicket::companion::command
