// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "helper/platform/ChildProcess.h"
#include "helper/platform/FileManager.h"
#include "protocol/ReplyCode.h"

namespace wicket {

/// One script: where it lies, its text, the interpreter that its first line names, and its runs. It
/// is created and configured on one thread; from a run on it is only read, by the threads of the
/// child process too, and the child's handlers keep it alive.
///
/// A subclass says where the script's lines go. It is created in two steps, as a constructor can
/// neither fail nor reach what a subclass overrides: construct, then init(); an object whose init()
/// failed is dropped.
class TlvCoreScript : public std::enable_shared_from_this<TlvCoreScript> {
 public:
  enum class ScriptError { invalid };
  using Completion = std::function<void(ReplyCode code)>;
  using StringList = std::vector<std::string>;

  TlvCoreScript(const TlvCoreScript&) = delete;
  TlvCoreScript& operator=(const TlvCoreScript&) = delete;
  virtual ~TlvCoreScript() = default;

  /// @name Stored properties
  /// @{
  /// Absent for a script that is given only as arguments of its interpreter.
  [[nodiscard]] virtual std::optional<std::string> path() const { return path_; }
  virtual void setPath(std::optional<std::string> path) { path_ = std::move(path); }
  /// The user's parameters, separated by commas; taken apart for each run.
  [[nodiscard]] virtual std::string parameters() const { return parameters_; }
  virtual void setParameters(std::string parameters) { parameters_ = std::move(parameters); }
  /// The whole text of the file.
  [[nodiscard]] virtual std::optional<std::string> script() const { return script_; }
  virtual void setScript(std::optional<std::string> script) { script_ = std::move(script); }
  /// The first line of the file as it was read, unless a caller has set another.
  [[nodiscard]] virtual std::optional<std::string> shebang() const { return shebang_; }
  virtual void setShebang(std::optional<std::string> shebang) { shebang_ = std::move(shebang); }
  /// What the interpreter gets when there is no path; otherwise they reach no child.
  [[nodiscard]] virtual std::optional<StringList> arguments() const { return arguments_; }
  virtual void setArguments(std::optional<StringList> arguments) { arguments_ = std::move(arguments); }
  [[nodiscard]] virtual bool doDisplayError() const { return doDisplayError_; }
  virtual void setDoDisplayError(bool value) { doDisplayError_ = value; }
  /// Whether a run blocks its caller until the child has ended.
  [[nodiscard]] virtual bool waitForCompletion() const { return waitForCompletion_; }
  virtual void setWaitForCompletion(bool value) { waitForCompletion_ = value; }
  /// @}

  /// @name Derived from the path and the shebang as they are now
  /// @{
  [[nodiscard]] virtual std::optional<std::string> scriptExtension() const;
  [[nodiscard]] virtual std::optional<StringList> shebangComponents() const;
  [[nodiscard]] virtual std::optional<std::string> toolPath() const;
  [[nodiscard]] virtual std::optional<StringList> argumentsInShebang() const;
  /// @}

  /// Whether a run could find its interpreter, and the script, if it has a path, is one that root may
  /// run. The user's parameters are not looked at.
  [[nodiscard]] virtual bool areParametersValid() const;

  /// Runs with a completion that only remembers. Whether the synchronous report was 0.
  virtual bool execute();
  /// Reports once before it returns, on the calling thread, and if a child was started once more
  /// when it has ended, on a thread of the child's. That second report always comes second.
  virtual void execute(const Completion& completion);

  /// Sets the script and the shebang from the file, which must be strict UTF-8. Otherwise reports the
  /// failure and leaves both as they were.
  [[nodiscard]] virtual bool readFile();

  /// The sink of everything that the script reports and that its child writes; called from several
  /// threads at once. Must be overridden: here both end the process.
  virtual void writeToLog(std::span<const std::byte> data);
  virtual void writeToLog(std::string_view text);

 protected:
  TlvCoreScript(FileManager& fileManager, ChildProcessLauncher& launcher)
      : fileManager_(fileManager), launcher_(launcher) {}

  /// False, and the object is then of no use, when no file is at @p path or it cannot be read.
  [[nodiscard]] virtual bool init(std::optional<std::string> path, std::string parameters, bool doDisplayError);

 private:
  struct Run;

  [[nodiscard]] std::optional<StringList> argumentVector() const;
  [[nodiscard]] ChildProcessTask makeTask(const std::string& tool, StringList arguments,
                                          const std::shared_ptr<Run>& run);
  void report(int status, const Completion& completion);
  void log(int status);
  [[nodiscard]] std::string pathOrEmpty() const { return path().value_or(std::string()); }

  FileManager& fileManager_;
  ChildProcessLauncher& launcher_;
  std::optional<std::string> path_;
  std::string parameters_;
  std::optional<std::string> script_;
  std::optional<std::string> shebang_;
  std::optional<StringList> arguments_;
  bool doDisplayError_ = false;
  bool waitForCompletion_ = false;
};

}  // namespace wicket
