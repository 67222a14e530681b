// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "protocol/Extension.h"
#include "protocol/HelperPath.h"
#include "protocol/Identifier.h"

namespace wicket {
namespace {

TEST(HelperPathTest, ThePrivilegedToolIsTheFolderAndTheIdentifierWithOneSlashBetweenThem) {
  EXPECT_EQ(HelperPath::privilegedTool(), "/Library/PrivilegedHelperTools/net.orvane.Wicket.TlvPrivilegedHelper");
  EXPECT_EQ(HelperPath::privilegedTool(), std::string(HelperPath::privilegedToolFolder) + Identifier::privilegedHelper);
  EXPECT_FALSE(HelperPath::privilegedTool().contains("//"));
}

TEST(HelperPathTest, ThePrivilegedToolIsJoinedOnceAndKept) {
  EXPECT_EQ(&HelperPath::privilegedTool(), &HelperPath::privilegedTool());
}

TEST(HelperPathTest, TheScriptFolderWithASlashAddedIsThePrefixOfFileNames) {
  EXPECT_STREQ(HelperPath::privilegedScriptFolder, "/var/orvane");
  EXPECT_EQ(std::string(HelperPath::privilegedScriptFolder) + "/" + "name.sh", "/var/orvane/name.sh");
  EXPECT_EQ(std::string(HelperPath::scriptFolderPrefix) + "name.sh", "/var/orvane/name.sh");
}

TEST(IdentifierTest, TheHelperAndItsOnlyClientHaveTheirIdentifiers) {
  EXPECT_STREQ(Identifier::privilegedHelper, "net.orvane.Wicket.TlvPrivilegedHelper");
  EXPECT_STREQ(Identifier::wicket, "net.orvane.Wicket");
}

TEST(ExtensionTest, ThePrivilegedHelpersExtensionIsItsProductNameWithoutADot) {
  EXPECT_STREQ(Extension::privilegedHelper, "TlvPrivilegedHelper");
  EXPECT_EQ(std::string(Identifier::privilegedHelper),
            std::string(Identifier::wicket) + "." + Extension::privilegedHelper);
}

TEST(ExtensionTest, EveryMemberHasItsValue) {
  const std::vector<std::pair<std::string, std::string>> members{{Extension::aiff, "aiff"},
                                                                 {Extension::alias, "alias"},
                                                                 {Extension::app, "app"},
                                                                 {Extension::applescript, "applescript"},
                                                                 {Extension::applescriptBundle, "scptd"},
                                                                 {Extension::amr, "amr"},
                                                                 {Extension::au, "au"},
                                                                 {Extension::coreAudio, "caf"},
                                                                 {Extension::movie, "mov"},
                                                                 {Extension::m4p, "m4p"},
                                                                 {Extension::mp3, "mp3"},
                                                                 {Extension::mp4, "mp4"},
                                                                 {Extension::mp4Audio, "m4a"},
                                                                 {Extension::privilegedHelper, "TlvPrivilegedHelper"},
                                                                 {Extension::python, "py"},
                                                                 {Extension::resource, "rsrc"},
                                                                 {Extension::script, "scpt"},
                                                                 {Extension::sd2, "sd2"},
                                                                 {Extension::shell, "sh"},
                                                                 {Extension::snd, "snd"},
                                                                 {Extension::xml, "xml"},
                                                                 {Extension::wav, "wav"}};
  EXPECT_EQ(members.size(), 22U);
  for (const auto& [member, value] : members) EXPECT_EQ(member, value);
}

}  // namespace
}  // namespace wicket
