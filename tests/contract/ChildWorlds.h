// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/linux/LimitedSpawn.h"
#include "adapters/posix/PosixChildProcessLauncher.h"
#include "base/system/Descriptor.h"
#include "tests/doubles/ScriptedChildProcessLauncher.h"
#include "tests/support/ChildRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace wicket::contract {

/// A real shell that takes its orders from a named pipe, and a descendant that takes them from another.
class RealChildren {
 public:
  explicit RealChildren(posix::SpawnChild spawnChild = posix::spawnChild)
      : orders_(makePipe("orders")), descendantOrders_(makePipe("descendant")), launcher_(std::move(spawnChild)) {}

  ChildProcessLauncher& launcher() { return launcher_; }
  ChildProcessTask task(support::ChildRecorder& recorder) {
    return recorder.task("/bin/sh", {"-c", readingFrom("orders")});
  }
  ChildProcessTask taskThatCannotStart(support::ChildRecorder& recorder) {
    return recorder.task(folder_.path("no such tool"), {});
  }

  void writeOutput(const std::string& text) { order(orders_, "printf %s '" + text + "'"); }
  void writeError(const std::string& text) { order(orders_, "printf %s '" + text + "' >&2"); }
  void closeStreams() { order(orders_, "exec >&- 2>&-"); }
  void exit(int status) { order(orders_, "exit " + std::to_string(status)); }
  void die(int signal) { order(orders_, "kill -" + std::to_string(signal) + " $$"); }

  void startDescendant() { order(orders_, "{ " + readingFrom("descendant") + "; } &"); }
  void descendantWritesOutput(const std::string& text) { order(descendantOrders_, "printf %s '" + text + "'"); }
  void descendantExits() { order(descendantOrders_, "exit"); }

 private:
  Descriptor makePipe(const std::string& name) {
    const std::string path = folder_.path(name);
    if (::mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + path);
    return Descriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  }
  [[nodiscard]] std::string readingFrom(const std::string& name) const {
    return "exec 7<'" + folder_.path(name) + "'; while read -r line <&7; do eval \"$line\"; done";
  }
  static void order(const Descriptor& pipe, const std::string& line) {
    const std::string text = line + "\n";
    if (::write(pipe.get(), text.data(), text.size()) < 0) throw std::runtime_error("cannot write an order");
  }

  support::TemporaryFolder folder_;
  Descriptor orders_;
  Descriptor descendantOrders_;
  PosixChildProcessLauncher launcher_;
};

/// The same, started with a limit of descriptors of their own.
class LimitedChildren : public RealChildren {
 public:
  LimitedChildren() : RealChildren(spawnChild()) {}
  [[nodiscard]] static posix::SpawnChild spawnChild() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) throw std::runtime_error("no limit");
    return linux_adapter::LimitedSpawn{limit};
  }
};

/// The double. A child without a descendant closes its streams when it ends.
class ScriptedChildren {
 public:
  ChildProcessLauncher& launcher() { return launcher_; }
  ChildProcessTask task(support::ChildRecorder& recorder) { return recorder.task("/bin/tool", {"argument"}); }
  ChildProcessTask taskThatCannotStart(support::ChildRecorder& recorder) {
    launcher_.failWith(ENOENT);
    return recorder.task("/bin/missing", {});
  }

  void writeOutput(const std::string& text) { child().writeOutput(text); }
  void writeError(const std::string& text) { child().writeError(text); }
  void exit(int status) {
    child().end(status);
    if (!hasDescendant_) child().closeStreams();
  }
  void die(int signal) { exit(signal); }

  void startDescendant() { hasDescendant_ = true; }
  void descendantWritesOutput(const std::string& text) { child().writeOutput(text); }
  void descendantExits() { child().closeStreams(); }

 private:
  doubles::ScriptedChild& child() {
    child_ = launcher_.children().at(0);
    return *child_;
  }

  doubles::ScriptedChildProcessLauncher launcher_;
  std::shared_ptr<doubles::ScriptedChild> child_;
  bool hasDescendant_ = false;
};

}  // namespace wicket::contract
