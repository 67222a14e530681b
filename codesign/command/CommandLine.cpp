// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "codesign/command/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "base/text/JsonString.h"
#include "codesign/command/ExitStatus.h"

namespace wicket::codesign::command {

namespace {

/// The grammar of the command line and what it filled in.
class Grammar {
 public:
  Grammar() {
    app_.set_version_flag("--version", "wicket-codesign " WICKET_VERSION, "Print the version of this command and exit");
    app_.set_help_flag("-h,--help", "Print this help and exit");
    app_.require_subcommand(1);
    app_.footer("Run 'wicket-codesign SUBCOMMAND --help' for the options of one of them.");
    addSign();
    addVerify();
    addDisplay();
  }

  void parse(std::vector<std::string> words) {
    std::ranges::reverse(words);
    app_.parse(std::move(words));
  }

  [[nodiscard]] int execute(Context& context) const {
    if (sign_->parsed()) {
      SignOptions options = signOptions_;
      options.isRuntime = signingOption_ == "runtime";
      return sign(context, options);
    }
    if (verify_->parsed()) return verify(context, verifyOptions_);
    return display(context, displayOptions_);
  }

  [[nodiscard]] const CLI::App& app() const { return app_; }
  [[nodiscard]] bool knows(const std::string& subcommand) const {
    return !app_.get_subcommands([&](const CLI::App* known) { return known->get_name() == subcommand; }).empty();
  }

 private:
  void addSign() {
    sign_ = app_.add_subcommand("sign", "Sign a program, replacing the signature that it may have");
    sign_->add_option("--key", signOptions_.key, "The private key: a PEM file, or a PKCS#11 URI (pkcs11:...)")
        ->required()
        ->type_name("FILE|URI");
    sign_
        ->add_option("--certificate", signOptions_.certificateFile,
                     "A PEM file with the signer's certificate first and those above it after")
        ->required()
        ->type_name("FILE");
    sign_->add_option("--identifier", signOptions_.identifier, "The program's identifier, such as org.example.Program")
        ->required()
        ->type_name("ID");
    sign_->add_option("--entitlements", signOptions_.entitlementsFile, "A property list in XML with the entitlements")
        ->type_name("FILE");
    sign_->add_option("--options", signingOption_, "\"runtime\": the program runs hardened")
        ->check(CLI::IsMember({"runtime"}))
        ->type_name("OPTION");
    addFile(*sign_, signOptions_.file);
    sign_->footer("A passphrase or a PIN is asked for on the terminal.");
  }
  void addVerify() {
    verify_ = app_.add_subcommand("verify", "Verify the signature of a program");
    verify_->add_option("--anchor", verifyOptions_.anchorFile, "A PEM file with the root certificate to trust")
        ->required()
        ->type_name("FILE");
    verify_->add_option("--requirement", verifyOptions_.requirement, "A code requirement that must be met as well")
        ->type_name("TEXT");
    addFile(*verify_, verifyOptions_.file);
    verify_->footer(
        "Ends with\n"
        "  0  the signature is valid, and the requirement is met\n"
        "  1  the signature is not valid, or there is none\n"
        "  2  the command line is wrong, or the requirement is none\n"
        "  3  the signature is valid, but the requirement is not met");
  }
  void addDisplay() {
    display_ = app_.add_subcommand("display", "Show what the signature of a program says");
    display_->add_option("--anchor", displayOptions_.anchorFile, "Verify it first, with this root certificate (PEM)")
        ->type_name("FILE");
    display_->add_flag("--json", displayOptions_.asJson, "Print a JSON object");
    addFile(*display_, displayOptions_.file);
  }
  static void addFile(CLI::App& subcommand, std::string& file) {
    subcommand.add_option("FILE", file, "The program")->required()->type_name("");
  }

  CLI::App app_{"Sign programs for the Wicket helper and verify their signatures", "wicket-codesign"};
  CLI::App* sign_ = nullptr;
  CLI::App* verify_ = nullptr;
  CLI::App* display_ = nullptr;
  std::string signingOption_;
  SignOptions signOptions_;
  VerifyOptions verifyOptions_;
  DisplayOptions displayOptions_;
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
    context.output.print(text.str());
    return exit_status::success;
  } catch (const CLI::ParseError& error) {
    const bool unknown = !first.empty() && !first.starts_with('-') && !grammar.knows(first);
    const std::string cause = unknown ? "There is no subcommand " + jsonString(first) : sentence(error.what());
    context.output.printProblem({cause, "See: wicket-codesign --help"});
    return exit_status::usage;
  }
  return grammar.execute(context);
}

}  // namespace wicket::codesign::command
