// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/requirement/NumericOrder.h"

#include <algorithm>

namespace wicket::codesign {
namespace {

bool beginsWithDigit(std::string_view text) { return !text.empty() && text.front() >= '0' && text.front() <= '9'; }

// Without the zeros in front, which leaves nothing of the number 0.
std::string_view takeNumber(std::string_view& rest) {
  const std::size_t length = std::min(rest.find_first_not_of("0123456789"), rest.size());
  std::string_view digits = rest.substr(0, length);
  rest.remove_prefix(length);
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

std::weak_ordering numberOrder(std::string_view left, std::string_view right) {
  return left.size() != right.size() ? std::weak_ordering(left.size() <=> right.size())
                                     : std::weak_ordering(left <=> right);
}

std::weak_ordering takeAndCompare(std::string_view& left, std::string_view& right) {
  if (beginsWithDigit(left) && beginsWithDigit(right)) {
    return numberOrder(takeNumber(left), takeNumber(right));
  }
  const auto order = static_cast<unsigned char>(left.front()) <=> static_cast<unsigned char>(right.front());
  left.remove_prefix(1);
  right.remove_prefix(1);
  return order;
}

}  // namespace

std::weak_ordering numericOrder(std::string_view left, std::string_view right) {
  while (!left.empty() && !right.empty()) {
    if (const auto order = takeAndCompare(left, right); order != 0) {
      return order;
    }
  }
  return left.size() <=> right.size();
}

}  // namespace wicket::codesign
