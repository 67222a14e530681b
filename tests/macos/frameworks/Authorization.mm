// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/Authorization.h"

#import <Foundation/Foundation.h>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "tests/macos/frameworks/Recording.h"

using wicket::frameworks::Authorization;
using wicket::frameworks::Recording;

struct AuthorizationOpaqueRef {};

namespace {

constexpr AuthorizationOpaqueRef theReference;

Authorization& answers() {
  static auto& result = *new Authorization;
  return result;
}

const std::map<OSStatus, const char*>& texts() {
  static const auto& result = *new std::map<OSStatus, const char*>{
      {0, "No error."},
      {-60001, "The authorization rights are invalid."},
      {-60002, "The authorization reference is invalid."},
      {-60003, "The authorization tag is invalid."},
      {-60004, "The returned authorization is invalid."},
      {-60005, "The authorization was denied."},
      {-60006, "The authorization was canceled by the user."},
      {-60007, "The authorization was denied since no user interaction was possible."},
      {-60008, "Unable to obtain authorization for this operation."},
      {-60009, "The authorization is not allowed to be converted to an external format."},
      {-60010, "The authorization is not allowed to be created from an external format."},
      {-60011, "The provided option flag(s) are invalid for this authorization operation."},
      {-60031, "The specified program could not be executed."},
      {-60032, "An invalid status was returned during execution of a privileged tool."},
      {-60033, "The requested socket address is invalid (must be 0-1023 inclusive)."},
  };
  return result;
}

std::string itemsText(const AuthorizationItemSet* set) {
  if (set == nullptr) return "nothing";
  std::string text;
  for (std::uint32_t i = 0; i < set->count; ++i) {
    const AuthorizationItem& item = set->items[i];
    text += std::string("[") + item.name + "]";
    if (item.valueLength != 0 || item.value != nullptr || item.flags != 0) text += " with a value or flags";
  }
  return text;
}

}  // namespace

namespace wicket::frameworks {

void Authorization::answer(Authorization given) { ::answers() = std::move(given); }

}  // namespace wicket::frameworks

extern "C" {

OSStatus AuthorizationCreateFromExternalForm(const AuthorizationExternalForm* form, AuthorizationRef* authorization) {
  Recording::add("authorization from " + std::string(form->bytes, sizeof form->bytes));
  if (answers().hasReference && answers().createStatus == 0) *authorization = &theReference;
  return answers().createStatus;
}

OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                                 AuthorizationRights** granted) {
  Recording::add(std::string("rights ") + itemsText(rights) + " of " +
                 (authorization == &theReference ? "that authorization" : "another authorization") + ", environment " +
                 itemsText(environment) + ", flags " + std::to_string(flags) + ", " +
                 (granted == nullptr ? "granted ones not asked for" : "granted ones asked for"));
  answers().dialog();
  return answers().copyRightsStatus;
}

OSStatus AuthorizationFree(AuthorizationRef /*authorization*/, AuthorizationFlags /*flags*/) {
  Recording::add("authorization freed");
  return 0;
}

CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved) {
  Recording::add(std::string("text of ") + std::to_string(status) +
                 (reserved == nullptr ? "" : " with a reserved argument"));
  if (!answers().hasTexts) return nullptr;
  const auto known = texts().find(status);
  const std::string text = known == texts().end() ? "OSStatus " + std::to_string(status) : known->second;
  return (__bridge_retained CFStringRef)[NSString stringWithUTF8String:text.c_str()];
}
}
