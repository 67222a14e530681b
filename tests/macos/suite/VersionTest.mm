// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/macos/frameworks/MainBundle.h"
#include "tests/macos/suite/HelperTest.h"

namespace wicket::suite {
namespace {

using testing::ElementsAre;

class VersionTest : public HelperTest {
 protected:
  std::vector<std::string> version() {
    Replies replies;
    const Client client;
    EXPECT_TRUE(client.connect());
    client.call([&](id<HelperProtocol> helper) { [helper getVersionWithCompletion:replies.text()]; });
    return replies.all();
  }
};

TEST_F(VersionTest, TheVersionIsThatOfTheBundle) { EXPECT_THAT(version(), ElementsAre("9417")); }

TEST_F(VersionTest, ABundleWithoutAVersionGivesZero) {
  frameworks::setInformationDictionary(@{@"CFBundleName" : @"9417"});
  EXPECT_THAT(version(), ElementsAre("0"));
}

TEST_F(VersionTest, AProgramWithoutABundleGivesZero) {
  frameworks::setInformationDictionary(nil);
  EXPECT_THAT(version(), ElementsAre("0"));
}

TEST_F(VersionTest, AVersionThatIsNoStringGivesZero) {
  frameworks::setInformationDictionary(@{@"CFBundleVersion" : @9417});
  EXPECT_THAT(version(), ElementsAre("0"));
}

TEST_F(VersionTest, AnEmptyVersionIsAVersion) {
  frameworks::setInformationDictionary(@{@"CFBundleVersion" : @""});
  EXPECT_THAT(version(), ElementsAre(""));
}

}  // namespace
}  // namespace wicket::suite
