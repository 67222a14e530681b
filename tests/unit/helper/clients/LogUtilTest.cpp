// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "helper/clients/LogUtil.h"
#include "tests/doubles/RecordingConnection.h"
#include "tests/doubles/RecordingUnifiedLog.h"

namespace wicket {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LogUtilTest, AnEntryOfTheSystemsLogIsTheTextAndTheExplanationJoinedByADash) {
  doubles::RecordingUnifiedLog log;
  LogUtil::log(log, "text", "explanation");
  EXPECT_THAT(log.entries(), ElementsAre("text - explanation"));
}

TEST(LogUtilTest, AnEmptyExplanationLeavesTheDashAtTheEnd) {
  doubles::RecordingUnifiedLog log;
  LogUtil::log(log, "text", "");
  EXPECT_THAT(log.entries(), ElementsAre("text - "));
}

TEST(LogUtilTest, ASystemOlderThanTheUnifiedLogGetsNothing) {
  doubles::RecordingUnifiedLog log;
  log.setAvailable(false);
  LogUtil::log(log, "text", "explanation");
  EXPECT_THAT(log.entries(), IsEmpty());
}

TEST(LogUtilTest, NothingIsWrittenWhereFaultsAreDisabled) {
  doubles::RecordingUnifiedLog log;
  log.setFaultEnabled(false);
  LogUtil::log(log, "text", "explanation");
  EXPECT_THAT(log.entries(), IsEmpty());
}

TEST(LogUtilTest, ALineForAClientReachesItOnce) {
  const auto connection = std::make_shared<doubles::RecordingConnection>();
  LogUtil::log("line", connection);
  EXPECT_THAT(connection->lines(), ElementsAre("line"));
}

TEST(LogUtilTest, AnEmptyTextSendsNothingEvenWhenAClientIsConnected) {
  const auto connection = std::make_shared<doubles::RecordingConnection>();
  LogUtil::log("", connection);
  EXPECT_THAT(connection->lines(), IsEmpty());
}

TEST(LogUtilTest, WithoutAConnectionALineGoesNowhere) { EXPECT_NO_THROW(LogUtil::log("line", nullptr)); }

TEST(LogUtilTest, AClientWhoseObjectIsNotOfAppProtocolGetsNothing) {
  const auto connection = std::make_shared<doubles::RecordingConnection>();
  connection->exportNoAppProtocol();
  LogUtil::log("line", connection);
  EXPECT_THAT(connection->lines(), IsEmpty());
}

}  // namespace
}  // namespace wicket
