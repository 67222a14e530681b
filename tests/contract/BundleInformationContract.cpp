// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdint>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <plist/plist.h>
#include <string>
#include <string_view>
#include <type_traits>

#include "adapters/linux/EmbeddedBundleInformation.h"
#include "codesign/requirement/RequirementParser.h"
#include "resources/EmbeddedPropertyLists.h"
#include "tests/doubles/FixedBundleInformation.h"

namespace wicket::contract {
namespace {

using linux_adapter::EmbeddedBundleInformation;

template <typename Bundle>
class BundleInformationContract : public testing::Test {
 protected:
  Bundle bundle_;
};

struct BundleNames {
  template <typename Bundle>
  static std::string GetName(int) {
    return std::is_same_v<Bundle, EmbeddedBundleInformation> ? "Embedded" : "Double";
  }
};
using Bundles = testing::Types<doubles::FixedBundleInformation, EmbeddedBundleInformation>;
TYPED_TEST_SUITE(BundleInformationContract, Bundles, BundleNames);

TYPED_TEST(BundleInformationContract, TheVersionIsTheBuildNumber) {
  EXPECT_EQ(this->bundle_.stringValue("CFBundleVersion"), "9417");
}

TYPED_TEST(BundleInformationContract, AMissingKeyHasNoValue) {
  EXPECT_EQ(this->bundle_.stringValue("CFBundleShortVersionString"), std::nullopt);
  EXPECT_EQ(this->bundle_.stringValue(""), std::nullopt);
}

TYPED_TEST(BundleInformationContract, AValueThatIsNoStringIsNone) {
  EXPECT_EQ(this->bundle_.stringValue("SMAuthorizedClients"), std::nullopt);
}

std::string listWith(std::string_view content) {
  return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" + std::string(content) +
         "</dict></plist>";
}

TEST(EmbeddedBundleInformationTest, TheListNamesTheHelper) {
  EmbeddedBundleInformation bundle;
  EXPECT_EQ(bundle.stringValue("CFBundleIdentifier"), "net.orvane.Wicket.TlvPrivilegedHelper");
  EXPECT_EQ(bundle.stringValue("CFBundleInfoDictionaryVersion"), "6.0");
  EXPECT_EQ(bundle.stringValue("CFBundleName"), "SMJobBlessHelper");
}

TEST(EmbeddedBundleInformationTest, TheDisplayStringGoesFromTheMarketingVersionToTheBuildNumber) {
  const std::string text = EmbeddedBundleInformation().stringValue("CFBundleGetInfoString").value_or("");
  EXPECT_TRUE(text.starts_with("7.7.5, ")) << text;
  EXPECT_TRUE(text.ends_with(", Build 9417")) << text;
  EXPECT_GT(text.size(), std::string_view("7.7.5, , Build 9417").size()) << text;
}

TEST(EmbeddedBundleInformationTest, ANumberAndAnArrayAreNoStrings) {
  EmbeddedBundleInformation bundle(
      listWith("<key>a</key><integer>9417</integer><key>b</key><array><string>c</string></array>"
               "<key>d</key><string>e &amp; f</string>"));
  EXPECT_EQ(bundle.stringValue("a"), std::nullopt);
  EXPECT_EQ(bundle.stringValue("b"), std::nullopt);
  EXPECT_EQ(bundle.stringValue("d"), "e & f");
}

TEST(EmbeddedBundleInformationTest, AListThatCannotBeReadHasNoValues) {
  for (const std::string_view list : {"", "no list", "<plist><dict><key>CFBundleVersion</key>", "<plist/>",
                                      R"(<plist version="1.0"><string>CFBundleVersion</string></plist>)"}) {
    EXPECT_EQ(EmbeddedBundleInformation(list).stringValue("CFBundleVersion"), std::nullopt) << list;
  }
}

class PropertyList {
 public:
  explicit PropertyList(std::string_view xml) {
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root_);
  }
  PropertyList(const PropertyList&) = delete;
  PropertyList& operator=(const PropertyList&) = delete;
  ~PropertyList() { plist_free(root_); }

  [[nodiscard]] plist_t root() const { return root_; }
  [[nodiscard]] plist_t item(const char* key) const { return plist_dict_get_item(root_, key); }
  [[nodiscard]] static std::string text(plist_t node) {
    char* value = nullptr;
    plist_get_string_val(node, &value);
    const std::string copy = value == nullptr ? "" : value;
    std::free(value);
    return copy;
  }

 private:
  plist_t root_ = nullptr;
};

TEST(EmbeddedPropertyListsTest, TheBundleInformationHasTheseKeysAndNoOthers) {
  const PropertyList list(resources::EmbeddedPropertyLists::bundleInformation());
  EXPECT_EQ(plist_dict_get_size(list.root()), 6U);
  for (const char* key : {"CFBundleGetInfoString", "CFBundleIdentifier", "CFBundleInfoDictionaryVersion",
                          "CFBundleName", "CFBundleVersion", "SMAuthorizedClients"}) {
    EXPECT_NE(list.item(key), nullptr) << key;
  }
}

TEST(EmbeddedPropertyListsTest, OneRequirementDescribesTheClient) {
  const PropertyList list(resources::EmbeddedPropertyLists::bundleInformation());
  const plist_t clients = list.item("SMAuthorizedClients");
  ASSERT_EQ(plist_array_get_size(clients), 1U);
  const std::string requirement = PropertyList::text(plist_array_get_item(clients, 0));
  const std::string expected =
      "anchor apple generic and identifier \"net.orvane.Wicket\" and (certificate leaf[field.1.2.840.113635.100.6.1.9] "
      "/* exists */ or certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */ and certificate "
      "leaf[field.1.2.840.113635.100.6.1.13] /* exists */ and certificate leaf[subject.OU] = ";
  ASSERT_TRUE(requirement.starts_with(expected)) << requirement;
  // The language takes a text that begins with a digit in quotes only.
  EXPECT_THAT(requirement.substr(expected.size()), testing::MatchesRegex("([A-Z][A-Z0-9]*|\"[0-9][A-Z0-9]*\")\\)"));
  EXPECT_TRUE(codesign::RequirementParser::parse(requirement)) << requirement;
}

TEST(EmbeddedPropertyListsTest, TheJobDescriptionOffersOneService) {
  const PropertyList list(resources::EmbeddedPropertyLists::jobDescription());
  EXPECT_EQ(plist_dict_get_size(list.root()), 2U);
  EXPECT_EQ(PropertyList::text(list.item("Label")), "net.orvane.Wicket.TlvPrivilegedHelper");
  const plist_t services = list.item("MachServices");
  ASSERT_EQ(plist_dict_get_size(services), 1U);
  std::uint8_t isOffered = 0;
  plist_get_bool_val(plist_dict_get_item(services, "net.orvane.Wicket.TlvPrivilegedHelper"), &isOffered);
  EXPECT_EQ(isOffered, 1);
}

}  // namespace
}  // namespace wicket::contract
