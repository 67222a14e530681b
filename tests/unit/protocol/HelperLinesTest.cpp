// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "protocol/HelperLines.h"

namespace wicket {
namespace {

constexpr char path[] = "/var/orvane/job.sh";

/// Each line as it is sent, byte for byte.
const std::vector<std::string> everyLine{
    "Script at /var/orvane/job.sh was executed successfully.",
    "ERROR: Execution of the script at /var/orvane/job.sh failed with exit code 7.",
    "ERROR: Script at /var/orvane/job.sh was not executed, because a valid path to the tool could not be found. Please "
    "always include a valid shebang in your scripts.",
    "ERROR: The priviliged script \"job.sh\" was not executed, as it was not found. Please install it again.",
    "ERROR: Unable to read script at /var/orvane/job.sh.",
    "ERROR: Privileged script at /var/orvane/job.sh was not executed, as it could not be read.",
    "ERROR: Authentication failed with message(\"nil\")"};

TEST(HelperLinesTest, EachLineHasItsFixedWording) {
  EXPECT_EQ(everyLine, (std::vector<std::string>{
                           HelperLines::scriptSucceeded(path), HelperLines::scriptFailed(path, 7),
                           HelperLines::scriptHasNoTool(path), HelperLines::scriptNotFound("job.sh"),
                           HelperLines::scriptUnreadable(path), HelperLines::privilegedScriptUnreadable(path),
                           HelperLines::authenticationFailed("message(\"nil\")")}));
}

TEST(HelperLinesTest, TheTextsAboutAnAuthorizationAreTheSystemsOwn) {
  EXPECT_EQ(HelperLines::denied, "The authorization was denied.");
  EXPECT_EQ(HelperLines::canceled, "The authorization was canceled by the user.");
  EXPECT_EQ(HelperLines::interactionImpossible, "The authorization was denied since no user interaction was possible.");
}

TEST(HelperLinesTest, EachLineIsRecognisedAsAWholeAndOnlySo) {
  for (const std::string& line : everyLine) {
    EXPECT_TRUE(HelperLines::recognises(line)) << line;
    EXPECT_FALSE(HelperLines::recognises(line + "\n")) << line;
    EXPECT_FALSE(HelperLines::recognises("> " + line)) << line;
    EXPECT_FALSE(HelperLines::recognises(line.substr(0, line.size() - 1))) << line;
  }
}

TEST(HelperLinesTest, WhatDiffersInALineMayBeAnythingOrNothing) {
  EXPECT_TRUE(HelperLines::recognises(HelperLines::scriptSucceeded("")));
  EXPECT_TRUE(HelperLines::recognises(HelperLines::scriptNotFound("a\n\"b\"")));
  EXPECT_TRUE(HelperLines::recognises(HelperLines::scriptFailed("", -1)));
}

TEST(HelperLinesTest, AScriptsOutputIsRecognisedAsNoLine) {
  for (const char* text : {"", "Script at ", "Script at was executed successfully.", "ERROR: of the script",
                           "ERROR: Authentication failed with something else", "ERROR: Authentication failed with "}) {
    EXPECT_FALSE(HelperLines::recognises(text)) << text;
  }
}

TEST(HelperLinesTest, TheMessageOfAFailedAuthenticationStandsBetweenItsQuotationMarks) {
  const auto messageOf = HelperLines::authenticationMessage;
  EXPECT_EQ(messageOf("ERROR: Authentication failed with message(\"a \\\"b\\\"\")"), "a \\\"b\\\"");
  EXPECT_EQ(messageOf("ERROR: Authentication failed with message(\"\")"), "");
  EXPECT_EQ(messageOf("ERROR: Authentication failed with message(\")"), std::nullopt) << "one mark is not two";
  EXPECT_EQ(messageOf("ERROR: Authentication failed with nil"), std::nullopt);
  EXPECT_EQ(messageOf(everyLine.front()), std::nullopt);
}

}  // namespace
}  // namespace wicket
