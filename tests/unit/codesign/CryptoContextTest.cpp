// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

#include "codesign/certificate/Certificate.h"
#include "resources/TrustedAnchor.h"

namespace wicket::codesign {
namespace {

/// A certificate and what is known of it, for a process that ends.
struct Known {
  Certificate certificate;
  Sha256Digest digest;
};

Known*& known() {
  static Known* one = nullptr;
  return one;
}

/// What was registered first is called last: whatever a library does at the end of a process has been done by then.
[[noreturn]] void useACertificateAtTheVeryEnd() {
  std::atexit([] { ::_exit(known() != nullptr && known()->certificate.sha256() == known()->digest ? 0 : 1); });
  const auto anchor = Certificate::fromDer(resources::TrustedAnchor::der());
  if (anchor) known() = new Known{*anchor, anchor->sha256()};
  std::exit(2);
}

TEST(CryptoContextTest, ACertificateCanStillBeUsedWhileTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(useACertificateAtTheVeryEnd(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace wicket::codesign
