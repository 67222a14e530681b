// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cerrno>
#include <gtest/gtest.h>
#include <optional>
#include <set>

#include "companion/command/Problems.h"

namespace wicket::companion::command {
namespace {

using enum PolkitTextAgent::Absence;

constexpr char denied[] = "Optional(The authorization was denied.)";
constexpr char canceled[] = "Optional(The authorization was canceled by the user.)";
constexpr char noInteraction[] = "Optional(The authorization was denied since no user interaction was possible.)";

TEST(ProblemsTest, EachWayNotToBeConnectedHasItsOwnNextStep) {
  const auto problem = [](ConnectionFailure failure) { return problemWith(ConnectionError{failure, EIO}, "/socket"); };
  EXPECT_EQ(problem(ConnectionFailure::notInstalled).nextStep,
            "Install it, or start net.orvane.Wicket.TlvPrivilegedHelper.socket with systemctl");
  EXPECT_EQ(problem(ConnectionFailure::notListening).nextStep,
            "Restart net.orvane.Wicket.TlvPrivilegedHelper.socket with systemctl");
  EXPECT_EQ(problem(ConnectionFailure::timedOut).nextStep,
            "See what it does with: systemctl status net.orvane.Wicket.TlvPrivilegedHelper.service. Then try again");
  EXPECT_EQ(problem(ConnectionFailure::failed).cause, "The helper at /socket cannot be reached: Input/output error");
  std::set<std::string> steps;
  for (const auto failure : {ConnectionFailure::notInstalled, ConnectionFailure::notPermitted,
                             ConnectionFailure::notListening, ConnectionFailure::timedOut, ConnectionFailure::failed}) {
    EXPECT_NE(problem(failure).cause.find("/socket"), std::string::npos) << problem(failure).cause;
    steps.insert(problem(failure).nextStep);
  }
  EXPECT_EQ(steps.size(), 5U);
}

TEST(ProblemsTest, EachLimitIsNamedWithItsNumber) {
  EXPECT_EQ(problemWith(CallError::tooManyConnections).cause,
            "You have 32 connections to the helper open, which is as many as a user may have");
  EXPECT_EQ(problemWith(CallError::tooManyQuestions).cause,
            "You have 8 installations waiting for their consent, which is as many as a user may have");
  EXPECT_EQ(problemWith(CallError::tooManyScripts).cause,
            "You have 64 scripts running, which is as many as a user may have");
}

TEST(ProblemsTest, EachCallThatWasNotAnsweredHasItsOwnCauseAndANextStep) {
  std::set<std::string> causes;
  for (const auto error : {CallError::connectionCut, CallError::rejected, CallError::invalidArgument,
                           CallError::timedOut, CallError::interrupted}) {
    causes.insert(problemWith(error).cause);
    EXPECT_FALSE(problemWith(error).nextStep.empty());
  }
  EXPECT_EQ(causes.size(), 5U);
  EXPECT_EQ(problemWith(CallError::connectionCut).nextStep, "See why it would refuse this command with: wicket doctor");
}

TEST(ProblemsTest, AnAnswerOfTheUserIsToldAsSuch) {
  EXPECT_EQ(problemWithConsent(denied, std::nullopt).cause,
            "Nothing was installed, because the authorization was denied (code 156)");
  EXPECT_EQ(problemWithConsent(canceled, std::nullopt).cause,
            "Nothing was installed, because the password prompt was dismissed (code 156)");
}

TEST(ProblemsTest, WhereNobodyCouldBeAskedTheReasonIsWhyThisCommandCouldNot) {
  const auto endOf = [](std::optional<PolkitTextAgent::Absence> absence) {
    const std::string cause = problemWithConsent(noInteraction, absence).cause;
    const std::string start = "Nothing was installed, because nobody could be asked for a password (code 156): ";
    return cause.starts_with(start) ? cause.substr(start.size()) : cause;
  };
  EXPECT_EQ(endOf(noTerminal), "standard input is no terminal and no polkit agent runs in this session");
  EXPECT_EQ(endOf(notInstalled), "/usr/bin/pkttyagent is missing and no polkit agent runs in this session");
  EXPECT_EQ(endOf(failed), "the polkit agent for this terminal could not be started");
  EXPECT_EQ(endOf(std::nullopt), "polkit does not use the agent that runs on this terminal");
}

TEST(ProblemsTest, AnyOtherMessageMeansThatTheAuthorizationCouldNotBeChecked) {
  for (const char* message : {"", "Optional(OSStatus -60034)", "Invalid Authorization External Form Data"}) {
    EXPECT_EQ(problemWithConsent(message, std::nullopt).cause,
              "Nothing was installed, because the authorization could not be checked (code 156)");
  }
}

}  // namespace
}  // namespace wicket::companion::command
