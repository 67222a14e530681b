// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/signature/Signer.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>

#include "base/system/Descriptor.h"
#include "codesign/signature/CmsSignature.h"
#include "codesign/signature/CodeDirectory.h"
#include "codesign/signature/FileReplacement.h"
#include "codesign/signature/SignatureBlock.h"
#include "codesign/signature/SignatureTrailer.h"
#include "codesign/signature/SignatureVerifier.h"

namespace wicket::codesign {

namespace {

using Problem = std::unexpected<std::string>;

Problem systemFailure(const std::string& what, int error) {
  return Problem(what + ": " + std::generic_category().message(error));
}

/// How much of the file is the program: all of it, or what lies before its block.
std::expected<std::uint64_t, std::string> programLength(int descriptor, const struct stat& status) {
  if (!S_ISREG(status.st_mode)) return Problem(textOf(SigningFailure::notARegularFile));
  std::uint64_t length = static_cast<std::uint64_t>(status.st_size);
  const auto block = SignatureBlock::find(descriptor);
  if (block) {
    length = block->coveredLength;
  } else if (block.error() != SigningFailure::notSigned) {
    return Problem(textOf(block.error()));
  }
  if (length > SignatureVerifier::usualMaximumLength) return Problem(textOf(SigningFailure::fileTooLarge));
  return length;
}

std::expected<void, std::string> appendBlock(FileReplacement& file, std::uint64_t length, const SigningRequest& request,
                                             const SigningIdentity& identity) {
  // Of what was written and not of what was read: the original may be changing.
  const auto digest = FileDigest::compute(file.descriptor(), length, length);
  if (!digest) return Problem(textOf(digest.error()));
  const CodeDirectory directory{request.identifier, request.flags, request.entitlements, *digest, length};
  const auto content = directory.toPropertyList();
  if (!content) return Problem("The identifier is empty, too long or holds a NUL");
  const auto message = CmsSignature::sign(*content, identity, request.moment);
  if (!message) return Problem("The key did not sign");
  if (message->size() > SignatureBlock::maximumMessageLength || !CodeDirectory::fromPropertyList(*content)) {
    return Problem("The entitlements and the certificates are too much for a signature block");
  }
  auto written = file.append(*message);
  if (written) written = file.append(SignatureTrailer{message->size()}.encode());
  if (!written) return systemFailure("The signature cannot be written", written.error());
  return {};
}

}  // namespace

std::expected<void, std::string> Signer::sign(const std::string& path, const SigningRequest& request,
                                              const SigningIdentity& identity) {
  // Not blocking, because it may be a pipe, and no link, because it would be replaced by a file.
  const Descriptor original(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!original.isOpen() && errno == ELOOP) return Problem("It is a symbolic link");
  if (!original.isOpen()) return systemFailure("The file cannot be opened", errno);
  struct stat status{};
  if (::fstat(original.get(), &status) != 0) return systemFailure("The file cannot be read", errno);
  const auto length = programLength(original.get(), status);
  if (!length) return Problem(length.error());
  auto replacement = FileReplacement::create(path);
  if (!replacement) return systemFailure("No file can be made in the same folder", replacement.error());
  const auto copied = replacement->appendFrom(original.get(), *length);
  if (!copied) return systemFailure("The file cannot be copied", copied.error());
  const auto appended = appendBlock(*replacement, *length, request, identity);
  if (!appended) return appended;
  const auto replaced = replacement->takePlaceOf(status);
  if (!replaced) return systemFailure("The file cannot be replaced", replaced.error());
  return {};
}

}  // namespace wicket::codesign
