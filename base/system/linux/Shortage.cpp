// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "base/system/linux/Shortage.h"

#include <utility>

namespace wicket::linux_adapter {
namespace {

thread_local bool wasSeen = false;

}  // namespace

ShortageWatch::ShortageWatch() : before_(std::exchange(wasSeen, false)) {}

ShortageWatch::~ShortageWatch() { wasSeen = wasSeen || before_; }

bool ShortageWatch::hasSeenOne() { return wasSeen; }

int ShortageWatch::note() {
  const int error = errno;
  if (isShortage(error)) wasSeen = true;
  return error;
}

}  // namespace wicket::linux_adapter
