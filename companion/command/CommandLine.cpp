// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "companion/command/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "base/text/DisplayText.h"
#include "companion/command/Commands.h"
#include "companion/command/ExitStatus.h"
#include "protocol/HelperProtocol.h"

namespace wicket::companion::command {

namespace {

/// The grammar of the command line and what it filled in.
class Grammar {
 public:
  Grammar() {
    app_.set_version_flag("--version", "wicket " WICKET_VERSION, "Print the version of this command and exit");
    app_.set_help_flag("-h,--help", "Print this help and exit");
    app_.require_subcommand(1);
    app_.footer("Run 'wicket SUBCOMMAND --help' for the options of one of them.");
    addInstall();
    addRun();
    addOthers();
  }

  void parse(std::vector<std::string> words) {
    std::ranges::reverse(words);
    app_.parse(std::move(words));
  }

  [[nodiscard]] int execute(Context& context) const {
    if (version_->parsed()) return showVersion(context);
    if (install_->parsed()) {
      return install(context, {file_, installName_->count() > 0 ? std::optional(newName_) : std::nullopt});
    }
    if (run_->parsed()) return run(context, {name_, !noWait_});
    if (list_->parsed()) return list(context, asJson_);
    if (remove_->parsed()) return remove(context, name_);
    if (doctor_->parsed()) return examine(context, asJson_);
    return uninstall(context, uninstallOptions_);
  }

  [[nodiscard]] const CLI::App& app() const { return app_; }
  [[nodiscard]] bool knows(const std::string& subcommand) const {
    return !app_.get_subcommands([&](const CLI::App* known) { return known->get_name() == subcommand; }).empty();
  }

 private:
  void addInstall() {
    install_ = app_.add_subcommand("install", "Install a script, after an administrator has agreed");
    install_->add_option("FILE", file_, "A script whose first line names its tool, such as #!/bin/bash")
        ->required()
        ->type_name("");
    installName_ = install_->add_option("--name", newName_, "The name to install it under (default: the file's own)");
    installName_->type_name("NAME");
    install_->footer("An installed script of the same name is replaced. The copy belongs to root: mode 0500.");
  }
  void addRun() {
    run_ = app_.add_subcommand("run", "Run an installed script as root and show its output");
    run_->add_option("NAME", name_, "The script's name, as wicket list shows it")->required()->type_name("");
    run_->add_flag("--no-wait", noWait_, "Return as soon as the script has started");
    run_->footer(
        std::string("Ends with the script's own exit status (the signal's number if a signal ended it), or with\n") +
        "  124  the connection was cut, after " + std::to_string(helper_protocol::connectionLifetime.count()) +
        " seconds at the latest; the script keeps running\n"
        "  125  the helper failed or could not be reached\n"
        "  126  the script's tool could not be started\n"
        "  127  no such script is installed\n"
        "  130  interrupted with Ctrl-C; the script keeps running\n"
        "The newest connection of a user gets all output of what that user runs.");
  }
  void addOthers() {
    version_ = app_.add_subcommand("version", "Print the version of the helper");
    list_ = app_.add_subcommand("list", "List the installed scripts");
    list_->add_flag("--json", asJson_, "Print a JSON array of objects with name, size and installedAt");
    remove_ = app_.add_subcommand("remove", "Remove an installed script");
    remove_->add_option("NAME", name_, "The script's name, as wicket list shows it")->required()->type_name("");
    uninstall_ = app_.add_subcommand("uninstall", "Remove the helper from this machine");
    uninstall_->add_flag("--all", uninstallOptions_.all, "Remove all installed scripts as well");
    uninstall_->add_flag("--yes", uninstallOptions_.assumeYes, "Do not ask");
    doctor_ = app_.add_subcommand("doctor", "Explain why the helper would refuse this command, and what to do");
    doctor_->add_flag("--json", asJson_, "Print a JSON object with ok and checks: check, ok, statement, nextStep");
    doctor_->footer("Ends with 0 only when all is well. Asks the helper for its version, which starts it.");
  }

  CLI::App app_{"Install scripts and run them as root through the Wicket helper", "wicket"};
  CLI::App* version_ = nullptr;
  CLI::App* install_ = nullptr;
  CLI::App* run_ = nullptr;
  CLI::App* list_ = nullptr;
  CLI::App* remove_ = nullptr;
  CLI::App* uninstall_ = nullptr;
  CLI::App* doctor_ = nullptr;
  CLI::Option* installName_ = nullptr;
  std::string file_;
  std::string newName_;
  std::string name_;
  bool noWait_ = false;
  bool asJson_ = false;
  UninstallOptions uninstallOptions_;
};

/// The library's message as one sentence without its full stop.
std::string sentence(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
  return text;
}

}  // namespace

int runCommandLine(std::vector<std::string> words, Context& context) {
  Grammar grammar;
  const std::string first = words.empty() ? "" : words.front();
  try {
    grammar.parse(std::move(words));
  } catch (const CLI::Success& request) {  // --help or --version
    std::ostringstream text;
    static_cast<void>(grammar.app().exit(request, text, text));
    context.output.printBytes(text.str());
    return exit_status::success;
  } catch (const CLI::ParseError& error) {
    const bool unknown = !first.empty() && !first.starts_with('-') && !grammar.knows(first);
    const std::string cause = unknown ? "There is no subcommand " + quotedText(first) : sentence(error.what());
    context.output.printProblem({cause, "See: wicket --help"});
    return exit_status::usage;
  }
  return grammar.execute(context);
}

}  // namespace wicket::companion::command
