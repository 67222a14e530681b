// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "adapters/linux/bus/ArgumentReader.h"
#include "tests/unit/adapters/linux/bus/BusPair.h"

namespace wicket::linux_adapter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

class ArgumentReaderTest : public testing::Test {
 protected:
  using Result = std::expected<std::vector<Argument>, int>;

  /// Reads what @p fill has put into a message as these types.
  Result read(const std::vector<ArgumentType>& types, const std::function<int(sd_bus_message*)>& fill) {
    const auto message = pair_.newCall("any");
    EXPECT_GE(fill(message.get()), 0);
    EXPECT_GE(sd_bus_message_seal(message.get(), 1, 0), 0);
    EXPECT_GE(sd_bus_message_rewind(message.get(), 1), 0);
    return readArguments(message.get(), types);
  }
  Result readByte(std::uint8_t value) {
    return read({ArgumentType::boolean},
                [value](sd_bus_message* message) { return sd_bus_message_append(message, "y", value); });
  }
  Result readData(const std::vector<std::byte>& data) {
    return read({ArgumentType::data}, [&](sd_bus_message* message) {
      return sd_bus_message_append_array(message, 'y', data.data(), data.size());
    });
  }

  BusPair pair_;
};

TEST_F(ArgumentReaderTest, ArgumentsComeInTheirOrder) {
  const auto arguments = read({ArgumentType::string, ArgumentType::stringArray}, [](sd_bus_message* message) {
    return sd_bus_message_append(message, "sas", "name", 3, "x", "", "y z");
  });
  ASSERT_TRUE(arguments);
  EXPECT_THAT(*arguments, ElementsAre(Argument("name"), Argument(Strings{"x", "", "y z"})));
}

TEST_F(ArgumentReaderTest, AnEmptyArrayOfStringsIsOneAndTheArgumentAfterItIsFound) {
  const auto arguments = read({ArgumentType::stringArray, ArgumentType::string}, [](sd_bus_message* message) {
    return sd_bus_message_append(message, "ass", 0, "after");
  });
  ASSERT_TRUE(arguments);
  EXPECT_THAT(*arguments, ElementsAre(Argument(Strings{}), Argument("after")));
}

TEST_F(ArgumentReaderTest, DataIsThoseBytesAndEmptyDataIsAbsent) {
  const std::vector<std::byte> bytes{std::byte{0}, std::byte{0xFF}, std::byte{0}};
  const auto some = readData(bytes);
  ASSERT_TRUE(some);
  EXPECT_THAT(*some, ElementsAre(Argument(HelperProtocol::AuthorizationData(bytes))));
  const auto none = readData({});
  ASSERT_TRUE(none);
  EXPECT_THAT(*none, ElementsAre(Argument(HelperProtocol::AuthorizationData())));
}

TEST_F(ArgumentReaderTest, AByteIsTrueUnlessItIsZero) {
  for (const int value : {0, 1, 2, 128, 255}) {
    const auto arguments = readByte(static_cast<std::uint8_t>(value));
    ASSERT_TRUE(arguments) << value;
    EXPECT_THAT(*arguments, ElementsAre(Argument(value != 0))) << value;
  }
}

TEST_F(ArgumentReaderTest, NoTypesAreNoArguments) {
  const auto arguments = read({}, [](sd_bus_message*) { return 0; });
  ASSERT_TRUE(arguments);
  EXPECT_THAT(*arguments, IsEmpty());
}

TEST_F(ArgumentReaderTest, AnotherTypeThanTheOneThatIsReadIsAnError) {
  const auto number = [](sd_bus_message* message) { return sd_bus_message_append(message, "x", std::int64_t{1}); };
  for (const auto type : {ArgumentType::string, ArgumentType::stringArray, ArgumentType::data, ArgumentType::boolean}) {
    const auto arguments = read({type}, number);
    ASSERT_FALSE(arguments);
    EXPECT_LT(arguments.error(), 0);
  }
}

TEST_F(ArgumentReaderTest, TooFewArgumentsAreAnError) {
  const auto one = [](sd_bus_message* message) { return sd_bus_message_append(message, "s", "only"); };
  for (const auto missing :
       {ArgumentType::string, ArgumentType::stringArray, ArgumentType::data, ArgumentType::boolean}) {
    const auto arguments = read({ArgumentType::string, missing}, one);
    ASSERT_FALSE(arguments);
    EXPECT_EQ(arguments.error(), -ENXIO);
  }
}

TEST_F(ArgumentReaderTest, WhatOnlyTravelsInRepliesIsNotReadAsAnArgument) {
  const auto arguments = read({ArgumentType::signedInteger}, [](sd_bus_message* message) {
    return sd_bus_message_append(message, "x", std::int64_t{1});
  });
  ASSERT_FALSE(arguments);
  EXPECT_EQ(arguments.error(), -EOPNOTSUPP);
}

}  // namespace
}  // namespace wicket::linux_adapter
