// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/certificate/SigningFailure.h"

namespace wicket::codesign {

std::string_view textOf(SigningFailure failure) {
  switch (failure) {
    case SigningFailure::cannotBeRead:
      return "The file cannot be read";
    case SigningFailure::notARegularFile:
      return "It is not a regular file";
    case SigningFailure::notSigned:
      return "The file does not end with a signature block: it was never signed, or it was stripped or truncated after";
    case SigningFailure::trailerMalformed:
      return "The trailer of the signature block is malformed or of an unknown version";
    case SigningFailure::blockOutOfBounds:
      return "The trailer names a length that no signature block in this file can have";
    case SigningFailure::severalBlocks:
      return "The file has more than one signature block";
    case SigningFailure::messageMalformed:
      return "The signature block holds no well-formed signed message";
    case SigningFailure::severalSigners:
      return "The signature block does not have exactly one signer";
    case SigningFailure::algorithmTooWeak:
      return "The signature or a certificate uses an algorithm or a key that is too weak";
    case SigningFailure::signatureWrong:
      return "The signature does not fit what it signs: the signature block was altered";
    case SigningFailure::anchorUnusable:
      return "The anchor is no certificate that can be used as a root";
    case SigningFailure::chainNotToAnchor:
      return "The certificate chain does not lead to the anchor";
    case SigningFailure::certificateNotYetValid:
      return "A certificate of the chain is not valid yet";
    case SigningFailure::intermediateIsNoAuthority:
      return "A certificate of the chain was issued by one that may not issue certificates";
    case SigningFailure::pathTooLong:
      return "The certificate chain is longer than one of its certificates allows";
    case SigningFailure::leafNotForCodeSigning:
      return "The signer's certificate is not meant for signing code";
    case SigningFailure::criticalExtensionUnknown:
      return "A certificate of the chain has a critical extension that is not understood";
    case SigningFailure::codeDirectoryMalformed:
      return "The code directory is malformed";
    case SigningFailure::digestAlgorithmUnknown:
      return "The code directory names an unknown digest algorithm";
    case SigningFailure::coveredLengthWrong:
      return "The code directory covers another number of bytes than lie before the signature block";
    case SigningFailure::fileTooLarge:
      return "The file is larger than files that are checked may be";
    case SigningFailure::fileAltered:
      return "The file was altered after it was signed";
  }
  return "The signature does not count";
}

}  // namespace wicket::codesign
