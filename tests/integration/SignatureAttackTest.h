// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstdint>
#include <string>

#include "tests/integration/AttackTest.h"

namespace wicket::integration {

/// Somebody has installed a program in the companion's way, with its group and bit, and with whatever
/// signature he could get: all that stands between him and the helper is the signature.
class SignatureAttackTest : public AttackTest {
 protected:
  inline static const std::string copy = "/run/copy";

  /// A copy of the client with that signature.
  static void install(const Signing& signing) {
    ASSERT_TRUE(CompanionStage::installAsCompanion(CompanionStage::standIn(), copy, signing));
  }
  void expectCopyRefused() { expectRefused(startCompanion(copy)); }
  void expectCopyServed() { expectServed(startCompanion(copy)); }

  /// The copy with these bytes, which nobody who runs it notices.
  static void rewrite(const std::string& bytes) {
    // Nobody can write to a file that is being executed, so it becomes a new one.
    std::filesystem::remove(copy);
    writeFile(copy, bytes);
    ASSERT_TRUE(CompanionStage::giveGroup(copy));
  }
  void expectRefusedAs(const std::string& bytes) {
    rewrite(bytes);
    expectCopyRefused();
  }

  static constexpr std::size_t trailerSize = 24;
  static std::string number(std::uint64_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 64; shift += 8) bytes += static_cast<char>((value >> shift) & 0xFFU);
    return bytes;
  }
  /// Of the message and the trailer at the end of a signed program.
  static std::size_t blockSize(const std::string& program) {
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < sizeof length; ++i) {
      length |= std::uint64_t{static_cast<unsigned char>(program[program.size() - trailerSize + i])} << (8 * i);
    }
    return length + trailerSize;
  }
  static std::string withFlippedBit(std::string bytes, std::size_t at) {
    bytes.at(at) = static_cast<char>(bytes.at(at) ^ 1);
    return bytes;
  }
};

}  // namespace wicket::integration
