// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <charconv>
#include <optional>
#include <string>
#include <utility>

#include "base/text/JsonString.h"
#include "codesign/command/Commands.h"
#include "codesign/command/ExitStatus.h"
#include "codesign/command/Files.h"
#include "codesign/plist/WrittenValue.h"
#include "codesign/signature/CodeDirectory.h"
#include "codesign/signature/Signer.h"

namespace wicket::codesign::command {

namespace {

/// A signature holds what was read, not the text. A value that was read as something else is nothing to sign.
std::optional<Problem> differenceIn(const std::string& text, const PropertyValue& list) {
  const std::string result = list.toXml();
  for (const WrittenValue& value : WrittenValue::allIn(text)) {
    const std::string name(value.name);
    if (result.contains("<" + name + ">" + value.content() + "</" + name + ">")) continue;
    return Problem{"The entitlement " + jsonString(value.key) + " has the " + name + " " + jsonString(value.content()) +
                       ", which a signature cannot hold as it is written",
                   "Correct it: whole numbers in decimal from -2^63 to 2^64-1, dates such as 2026-01-31T12:00:00Z"};
  }
  return std::nullopt;
}

std::expected<PropertyDictionary, Problem> entitlementsFrom(const std::string& path) {
  const auto text = textOfFile(path);
  if (!text) return std::unexpected(text.error());
  const auto list = PropertyValue::fromXml(*text);
  const auto* dictionary = list ? list->as<PropertyDictionary>() : nullptr;
  if (dictionary != nullptr) {
    if (auto difference = differenceIn(*text, *list)) return std::unexpected(*std::move(difference));
    return *dictionary;
  }
  return std::unexpected(Problem{"The file " + jsonString(path) + " holds no dictionary: " +
                                     (list ? "the property list is something else" : list.error().message),
                                 "Pass a property list in XML with --entitlements"});
}

std::expected<SigningRequest, Problem> requestFrom(const SignOptions& options) {
  SigningRequest request{options.identifier, options.isRuntime ? CodeDirectory::runtimeFlag : 0, std::nullopt};
  if (!options.entitlementsFile) return request;
  auto entitlements = entitlementsFrom(*options.entitlementsFile);
  if (!entitlements) return std::unexpected(entitlements.error());
  request.entitlements = std::move(*entitlements);
  return request;
}

/// Until the end of 2049, which is as far as a certificate's short form of dates goes.
std::expected<std::optional<std::time_t>, Problem> momentFrom(const std::optional<std::string>& epoch) {
  constexpr std::time_t end = 2524608000;
  if (!epoch) return std::nullopt;
  std::time_t moment = -1;
  const char* const behind = epoch->data() + epoch->size();
  const auto [stop, error] = std::from_chars(epoch->data(), behind, moment);
  if (error == std::errc() && stop == behind && moment >= 0 && moment < end) return moment;
  return std::unexpected(Problem{"SOURCE_DATE_EPOCH is " + jsonString(*epoch) + ", which is no moment",
                                 "Set it to seconds since 1970, or unset it"});
}

std::expected<void, Problem> signFile(const Context& context, const SignOptions& options) {
  auto request = requestFrom(options);
  if (!request) return std::unexpected(request.error());
  const auto moment = momentFrom(context.sourceDateEpoch);
  if (!moment) return std::unexpected(moment.error());
  request->moment = *moment;
  const auto identity = SigningIdentity::load(options.key, options.certificateFile, context.askForSecret);
  if (!identity) return std::unexpected(Problem{identity.error(), "Check --key and --certificate"});
  if (const auto problem = identity->problemNow()) {
    return std::unexpected(Problem{*problem, "Sign with a certificate for code signing that is valid now"});
  }
  const auto isSigned = Signer::sign(options.file, *request, *identity);
  if (isSigned) return {};
  return std::unexpected(Problem{"The file " + jsonString(options.file) + " was not signed: " + isSigned.error(),
                                 "It is as it was; check the file and its folder"});
}

}  // namespace

int sign(Context& context, const SignOptions& options) {
  const auto isSigned = signFile(context, options);
  if (isSigned) return exit_status::success;
  context.output.printProblem(isSigned.error());
  return exit_status::failure;
}

}  // namespace wicket::codesign::command
