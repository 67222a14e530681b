// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/text/CharacterSet.h"

#include <algorithm>
#include <utility>

namespace wicket {
namespace {

constexpr char32_t lastScalar = 0x10FFFF;

std::vector<CharacterSet::Range> merged(std::vector<CharacterSet::Range> ranges) {
  std::ranges::sort(ranges, {}, &CharacterSet::Range::first);
  std::vector<CharacterSet::Range> result;
  for (const auto& range : ranges) {
    if (result.empty() || range.first > result.back().last + 1) {
      result.push_back(range);
    } else {
      result.back().last = std::max(result.back().last, range.last);
    }
  }
  return result;
}

}  // namespace

CharacterSet::CharacterSet(std::vector<Range> ranges) : ranges_(merged(std::move(ranges))) {}

bool CharacterSet::contains(char32_t scalar) const {
  const auto range = std::ranges::lower_bound(ranges_, scalar, {}, &Range::last);
  return range != ranges_.end() && range->first <= scalar;
}

CharacterSet CharacterSet::united(const CharacterSet& other) const {
  std::vector<Range> all = ranges_;
  all.insert(all.end(), other.ranges_.begin(), other.ranges_.end());
  return CharacterSet(std::move(all));
}

CharacterSet CharacterSet::inverted() const {
  std::vector<Range> gaps;
  char32_t next = 0;
  for (const auto& range : ranges_) {
    if (range.first > next) gaps.push_back({next, range.first - 1});
    next = range.last + 1;
  }
  if (next <= lastScalar) gaps.push_back({next, lastScalar});
  return CharacterSet(std::move(gaps));
}

const CharacterSet& CharacterSet::urlPathAllowed() {
  // In the order of ASCII: ! $ &-/ 0-: = @-Z _ a-z ~
  static const CharacterSet set{{U'!', U'!'}, {U'$', U'$'}, {U'&', U'/'}, {U'0', U':'}, {U'=', U'='},
                                {U'@', U'Z'}, {U'_', U'_'}, {U'a', U'z'}, {U'~', U'~'}};
  return set;
}

const CharacterSet& CharacterSet::whitespaces() {
  static const CharacterSet set = tabAndSpaceSeparators().united({{0x200B, 0x200B}});
  return set;
}

const CharacterSet& CharacterSet::newlines() {
  static const CharacterSet set{{0x000A, 0x000D}, {0x0085, 0x0085}, {0x2028, 0x2029}};
  return set;
}

const CharacterSet& CharacterSet::whitespacesAndNewlines() {
  static const CharacterSet set = whitespaces().united(newlines());
  return set;
}

const CharacterSet& CharacterSet::tabAndSpaceSeparators() {
  static const CharacterSet set{{0x0009, 0x0009}, {0x0020, 0x0020}, {0x00A0, 0x00A0}, {0x1680, 0x1680},
                                {0x2000, 0x200A}, {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000}};
  return set;
}

}  // namespace wicket
