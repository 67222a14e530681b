// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <functional>

#include "adapters/posix/ChildPipes.h"
#include "adapters/posix/OutputStream.h"
#include "adapters/posix/RunningChild.h"
#include "base/system/Descriptor.h"
#include "helper/platform/ChildProcess.h"

namespace wicket::posix {

/// Everything that one child's handlers are told, from its first byte to the end of both streams,
/// on one thread and in order. A handler that blocks stops the reading, and thereby the child.
class ChildDelivery {
 public:
  /// Takes over the handlers of @p task and this process's ends of the streams.
  ChildDelivery(ChildProcessTask& task, ChildPipes& pipes);

  /// Returns when the child is gone and both streams have ended.
  void run(RunningChild& child);

 private:
  void waitForNews();
  void deliverEnd(int status);

  OutputStream output_;
  OutputStream error_;
  std::function<void(int)> onTermination_;
  Descriptor ended_;
  bool outputHasNews_ = false;
  bool errorHasNews_ = false;
  bool childHasEnded_ = false;
};

}  // namespace wicket::posix
