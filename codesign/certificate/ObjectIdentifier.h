// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <memory>
#include <openssl/objects.h>
#include <string_view>

namespace wicket::codesign {

struct ObjectIdentifierRelease {
  void operator()(ASN1_OBJECT* object) const { ASN1_OBJECT_free(object); }
};
using ObjectIdentifier = std::unique_ptr<ASN1_OBJECT, ObjectIdentifierRelease>;

/// The object identifier that @p dotted writes in decimal numbers with dots between them, at most 255
/// bytes of them. Null if it writes none: names are none.
[[nodiscard]] ObjectIdentifier objectIdentifier(std::string_view dotted);

}  // namespace wicket::codesign
