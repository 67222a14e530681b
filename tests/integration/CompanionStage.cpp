// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/integration/CompanionStage.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "tests/support/FileGroup.h"
#include "tests/support/PrivateNamespace.h"
#include "tests/support/Program.h"

namespace wicket::integration {
namespace {

namespace fs = std::filesystem;
using support::FileGroup;
using support::PrivateNamespace;

/// One of the system's, which nothing else in the stage has.
constexpr gid_t newGroup = 871;

std::string reachable(const std::string& file) { return "/mnt" / fs::path(file).filename(); }
std::string installedCopyOf(const std::string& program) {
  return "/mnt/installed-" + fs::path(program).filename().string();
}

bool copy(const std::string& from, const std::string& to) {
  std::error_code error;
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
  if (error) std::fprintf(stderr, "%s: %s\n", from.c_str(), error.message().c_str());
  return !error;
}

/// The host's groups and ours.
bool addGroup() {
  if (::getgrnam(WICKET_GROUP) != nullptr) return true;
  const std::string groups = "/mnt/group";
  if (!copy("/etc/group", groups)) return false;
  std::ofstream(groups, std::ios::app) << WICKET_GROUP << ":x:" << newGroup << ":\n";
  return ::mount(groups.c_str(), "/etc/group", nullptr, MS_BIND, nullptr) == 0;
}

/// Of the companion's identity, besides what signs.
std::string authorityFile(const std::string& suffix) { return WICKET_IDENTITY_FOLDER "/intermediate" + suffix; }

bool build() {
  std::vector<std::string> files{WICKET_HELPER,        WICKET_COMMAND,     WICKET_POLICY,
                                 WICKET_CODESIGN,      WICKET_SIGNING_KEY, WICKET_SIGNING_CERTIFICATES,
                                 WICKET_ENTITLEMENTS,  WICKET_STAND_IN,    WICKET_INTRUDER,
                                 WICKET_MAKE_IDENTITY, WICKET_OLDER_KERNEL};
  for (const char* suffix : {".pem", ".key"}) {
    if (fs::exists(authorityFile(suffix))) files.push_back(authorityFile(suffix));
  }
  return !PrivateNamespace::keepReachable(files).empty() && addGroup() &&
         copy(reachable(WICKET_COMMAND), installedCopyOf(WICKET_COMMAND)) &&
         CompanionStage::giveGroup(installedCopyOf(WICKET_COMMAND)) &&
         copy("/proc/self/exe", installedCopyOf("tests")) && CompanionStage::giveGroup(installedCopyOf("tests"));
}

}  // namespace

std::optional<std::string> CompanionStage::enter(char** arguments) {
  if (FileGroup::isGiven()) {
    FileGroup::putAside();
    return std::nullopt;
  }
  if (const auto obstacle = PrivateNamespace::enter()) return obstacle;
  if (!build()) return "the companion cannot be installed where it stays visible";
  ::execv(installedCopyOf("tests").c_str(), arguments);
  return std::string("the installed test program does not start: ") + std::strerror(errno);
}

std::string CompanionStage::helper() { return reachable(WICKET_HELPER); }
std::string CompanionStage::command() { return installedCopyOf(WICKET_COMMAND); }
std::string CompanionStage::policy() { return reachable(WICKET_POLICY); }

std::string CompanionStage::standIn() { return reachable(WICKET_STAND_IN); }
std::string CompanionStage::intruder() { return reachable(WICKET_INTRUDER); }
std::string CompanionStage::olderKernel() { return reachable(WICKET_OLDER_KERNEL); }
std::string CompanionStage::identityMaker() { return reachable(WICKET_MAKE_IDENTITY); }

std::optional<std::string> CompanionStage::authority(const std::string& suffix) {
  const std::string file = reachable(authorityFile(suffix));
  return fs::exists(file) ? std::optional(file) : std::nullopt;
}

bool CompanionStage::installAsCompanion(const std::string& program, const std::string& target, const Signing& signing) {
  if (!copy(program, target)) return false;
  const auto orOurs = [](const std::string& given, const char* ours) {
    return given.empty() ? reachable(ours) : given;
  };
  std::vector<std::string> words{reachable(WICKET_CODESIGN),
                                 "sign",
                                 "--key",
                                 orOurs(signing.key, WICKET_SIGNING_KEY),
                                 "--certificate",
                                 orOurs(signing.certificates, WICKET_SIGNING_CERTIFICATES),
                                 "--identifier",
                                 signing.identifier};
  if (signing.entitlements) {
    words.insert(words.end(), {"--entitlements", orOurs(*signing.entitlements, WICKET_ENTITLEMENTS)});
  }
  if (signing.isHardened) words.insert(words.end(), {"--options", "runtime"});
  words.push_back(target);
  const auto sign = support::Program::run(words);
  if (sign.status != 0) std::fprintf(stderr, "%s\n", sign.errors.c_str());
  return sign.status == 0 && giveGroup(target);
}

bool CompanionStage::installUnsigned(const std::string& program, const std::string& target) {
  return copy(program, target) && giveGroup(target);
}

bool CompanionStage::giveGroup(const std::string& file, unsigned mode) {
  const group* const found = ::getgrnam(WICKET_GROUP);
  return found != nullptr && ::chown(file.c_str(), 0, found->gr_gid) == 0 && ::chmod(file.c_str(), mode) == 0;
}

std::string CompanionStage::groupNumber() {
  const group* const found = ::getgrnam(WICKET_GROUP);
  return found == nullptr ? "" : std::to_string(found->gr_gid);
}

}  // namespace wicket::integration
