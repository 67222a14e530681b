// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cstdio>

#include "base/text/JsonString.h"
#include "codesign/command/Commands.h"
#include "codesign/command/ExitStatus.h"
#include "codesign/command/Files.h"
#include "codesign/command/PropertyJson.h"
#include "codesign/signature/SignatureVerifier.h"

namespace wicket::codesign::command {

namespace {

std::string hexadecimalFlags(std::uint32_t flags) {
  std::array<char, 16> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "0x%x", flags);
  return buffer.data();
}

std::string entitlementLines(const std::optional<PropertyDictionary>& entitlements) {
  if (!entitlements) return "Entitlements: none\n";
  if (entitlements->empty()) return "Entitlements: an empty dictionary\n";
  std::string lines = "Entitlements:\n";
  for (const auto& [name, value] : *entitlements) lines += "  " + jsonString(name) + ": " + jsonOf(value) + "\n";
  return lines;
}

std::string forPeople(const FileSignature& signature, bool isVerified) {
  const CodeDirectory& directory = signature.directory;
  const bool isRuntime = (directory.flags & CodeDirectory::runtimeFlag) != 0;
  std::string text = "Identifier: " + jsonString(directory.identifier) + "\n";
  text += "Flags: " + hexadecimalFlags(directory.flags) + (isRuntime ? " (runtime)\n" : "\n");
  text += "Digest: sha256 " + inHexadecimal(directory.digest) + "\n";
  text += "Covers: " + std::to_string(directory.coveredLength) + " bytes\n";
  text += entitlementLines(directory.entitlements);
  text += "Certificates:\n";
  for (const Certificate& certificate : signature.chain.certificates()) {
    text += "  " + jsonString(certificate.subjectText()) + "\n";
  }
  return text + (isVerified ? "Verified: the signature is valid.\n"
                            : "Nothing of this was verified; to verify it, use --anchor.\n");
}

std::string asJson(const FileSignature& signature, bool isVerified) {
  const CodeDirectory& directory = signature.directory;
  std::string subjects;
  for (const Certificate& certificate : signature.chain.certificates()) {
    subjects += (subjects.empty() ? "" : ", ") + jsonString(certificate.subjectText());
  }
  return "{\"identifier\": " + jsonString(directory.identifier) + ", \"flags\": " + std::to_string(directory.flags) +
         ", \"entitlements\": " +
         (directory.entitlements ? jsonOf(PropertyValue(*directory.entitlements)) : std::string("null")) +
         ", \"digestAlgorithm\": \"sha256\", \"digest\": \"" + inHexadecimal(directory.digest) +
         "\", \"coveredLength\": " + std::to_string(directory.coveredLength) + ", \"certificates\": [" + subjects +
         "], \"verified\": " + (isVerified ? "true" : "false") + "}\n";
}

std::expected<FileSignature, Problem> signatureFrom(const DisplayOptions& options) {
  const auto file = openedFile(options.file);
  if (!file) return std::unexpected(file.error());
  auto signature = SignatureVerifier::readUnverified(file->get());
  if (options.anchorFile) {
    const auto anchor = anchorFromFile(*options.anchorFile);
    if (!anchor) return std::unexpected(anchor.error());
    signature = SignatureVerifier::verify(file->get(), *anchor);
  }
  if (!signature) return std::unexpected(problemWith(options.file, signature.error()));
  return std::move(*signature);
}

}  // namespace

int display(Context& context, const DisplayOptions& options) {
  const auto signature = signatureFrom(options);
  if (!signature) {
    context.output.printProblem(signature.error());
    return exit_status::failure;
  }
  const bool isVerified = options.anchorFile.has_value();
  context.output.print(options.asJson ? asJson(*signature, isVerified) : forPeople(*signature, isVerified));
  return exit_status::success;
}

}  // namespace wicket::codesign::command
