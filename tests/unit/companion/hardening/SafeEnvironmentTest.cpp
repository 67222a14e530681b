// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "companion/hardening/SafeEnvironment.h"

namespace wicket::companion {
namespace {

using testing::ElementsAre;
using testing::Pair;

const auto fixedPath = Pair("PATH", "/usr/sbin:/usr/bin:/sbin:/bin");

SafeEnvironment::Variables filtered(std::vector<const char*> entries) {
  entries.push_back(nullptr);
  return SafeEnvironment::filtered(entries.data());
}

TEST(SafeEnvironmentTest, NothingIsKeptOfAnEmptyEnvironmentAndOfNoneBesidesThePath) {
  EXPECT_THAT(filtered({}), ElementsAre(fixedPath));
  EXPECT_THAT(SafeEnvironment::filtered(nullptr), ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, TheCallersPathNeverCounts) {
  EXPECT_THAT(filtered({"PATH=/tmp/evil:/bin"}), ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, VariablesThatLeadLibrariesElsewhereAreDropped) {
  EXPECT_THAT(filtered({"LD_PRELOAD=/tmp/evil.so", "LD_LIBRARY_PATH=/tmp", "LD_AUDIT=/tmp/evil.so",
                        "GLIBC_TUNABLES=glibc.malloc.check=3", "OPENSSL_CONF=/tmp/openssl.cnf", "OPENSSL_MODULES=/tmp",
                        "GCONV_PATH=/tmp", "LOCPATH=/tmp", "NLSPATH=/tmp/%N", "MALLOC_TRACE=/tmp/trace",
                        "TMPDIR=/tmp/evil", "BASH_ENV=/tmp/evil", "IFS=x"}),
              ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, AddressesOfBusesAndFoldersOfTheSessionAreDropped) {
  EXPECT_THAT(filtered({"DBUS_SYSTEM_BUS_ADDRESS=unix:path=/tmp/bus", "DBUS_SESSION_BUS_ADDRESS=unix:path=/tmp/bus",
                        "XDG_RUNTIME_DIR=/tmp/runtime", "NOTIFY_SOCKET=/tmp/notify", "LISTEN_FDS=1",
                        "SYSTEMD_LOG_LEVEL=debug", "HOME=/tmp", "G_MESSAGES_DEBUG=all"}),
              ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, WhatTheTerminalAndTheLanguageNeedStays) {
  EXPECT_THAT(filtered({"TERM=xterm-256color", "NO_COLOR=1", "LANG=de_DE.UTF-8", "LC_ALL=sr_RS@latin",
                        "LANGUAGE=de:en_GB", "TZ=America/Argentina/Buenos_Aires"}),
              ElementsAre(fixedPath, Pair("TERM", "xterm-256color"), Pair("NO_COLOR", "1"), Pair("LANG", "de_DE.UTF-8"),
                          Pair("LC_ALL", "sr_RS@latin"), Pair("LANGUAGE", "de:en_GB"),
                          Pair("TZ", "America/Argentina/Buenos_Aires")));
}

TEST(SafeEnvironmentTest, ValuesThatCouldNameAFileElsewhereAreDropped) {
  EXPECT_THAT(filtered({"TERM=../../tmp/evil", "LANG=/tmp/evil", "LC_ALL=..", "LC_CTYPE=.hidden", "TZ=/dev/tty",
                        "TZ=a/../../b", "TZ=:/etc/shadow", "LANGUAGE=de/../evil"}),
              ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, ValuesWithControlCharactersFormatsOrOtherAlphabetsAreDropped) {
  EXPECT_THAT(filtered({"TERM=xterm\n", "LANG=de\x1b[2J", "LC_TIME=%s%n", "LC_ALL=d\xC3\xA9", "NO_COLOR=\x7f", "TZ= "}),
              ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, EmptyAndOverlongValuesAreDropped) {
  const std::string longest = "LANG=" + std::string(SafeEnvironment::longestValue, 'a');
  const std::string tooLong = "TERM=" + std::string(SafeEnvironment::longestValue + 1, 'a');
  EXPECT_THAT(filtered({"NO_COLOR=", longest.c_str(), tooLong.c_str()}),
              ElementsAre(fixedPath, Pair("LANG", std::string(SafeEnvironment::longestValue, 'a'))));
}

TEST(SafeEnvironmentTest, EntriesThatAreNoAssignmentsAndUnknownCategoriesAreDropped) {
  EXPECT_THAT(filtered({"TERM", "=xterm", "", "LC_EVIL=a", "LANGX=a", "lang=a"}), ElementsAre(fixedPath));
}

TEST(SafeEnvironmentTest, TheFirstOfSeveralValuesCounts) {
  EXPECT_THAT(filtered({"LANG=de", "LANG=fr"}), ElementsAre(fixedPath, Pair("LANG", "de")));
}

TEST(SafeEnvironmentTest, EnteringReplacesTheWholeEnvironment) {
  EXPECT_EXIT(
      {
        ::setenv("LD_PRELOAD", "/tmp/evil.so", 1);
        ::setenv("TERM", "vt100", 1);
        ::setenv("PATH", "/tmp", 1);
        const bool entered = SafeEnvironment::enter();
        const bool right = entered && std::getenv("LD_PRELOAD") == nullptr && std::getenv("HOME") == nullptr &&
                           std::string("vt100") == std::getenv("TERM") &&
                           std::string(SafeEnvironment::path) == std::getenv("PATH");
        ::_exit(right ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace wicket::companion
