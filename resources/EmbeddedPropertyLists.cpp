// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "resources/EmbeddedPropertyLists.h"

extern "C" {
extern const char wicket_info_plist_begin[];
extern const char wicket_info_plist_end[];
extern const char wicket_launchd_plist_begin[];
extern const char wicket_launchd_plist_end[];
}

namespace wicket::resources {

std::string_view EmbeddedPropertyLists::bundleInformation() { return {wicket_info_plist_begin, wicket_info_plist_end}; }

std::string_view EmbeddedPropertyLists::jobDescription() {
  return {wicket_launchd_plist_begin, wicket_launchd_plist_end};
}

}  // namespace wicket::resources
