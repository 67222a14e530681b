// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "companion/ScriptFile.h"
#include "companion/StagedScript.h"

namespace wicket::companion {
namespace {

class ScriptFileTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = "/tmp/wicket-test-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    folder_ = folder;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  [[nodiscard]] std::string fileOf(const std::string& text, const std::string& name = "job.sh") const {
    std::ofstream(folder_ + "/" + name, std::ios::binary) << text;
    return folder_ + "/" + name;
  }
  [[nodiscard]] std::string toolOf(const std::string& text) const {
    const auto script = ScriptFile::inspect(fileOf(text));
    return script ? script->tool() : script.error().cause;
  }
  [[nodiscard]] std::string refusalOf(const std::string& text) const {
    const auto script = ScriptFile::inspect(fileOf(text));
    return script ? "" : script.error().cause;
  }
  [[nodiscard]] bool refusalSays(const std::string& text, const std::string& words) const {
    return refusalOf(text).find(words) != std::string::npos;
  }

  std::string folder_;
};

TEST_F(ScriptFileTest, TheToolIsTheFirstWordAfterTheMark) {
  EXPECT_EQ(toolOf("#!/bin/bash"), "/bin/bash");
  EXPECT_EQ(toolOf("#! /bin/sh -e\necho"), "/bin/sh");
  EXPECT_EQ(toolOf("#!/bin/bash\t-x   -e\n"), "/bin/bash");
  EXPECT_EQ(toolOf("#!\xC2\xA0/bin/sh\n"), "/bin/sh");
  EXPECT_EQ(toolOf("#!/bin/sh\xE2\x80\xA8zzz"), "/bin/sh");
}

TEST_F(ScriptFileTest, AScriptWithoutAUsableFirstLineIsRefusedWithTheReason) {
  EXPECT_TRUE(refusalSays("echo hi\n", "does not begin with a \"#!\" line"));
  EXPECT_TRUE(refusalSays(" #!/bin/sh\n", "does not begin with a \"#!\" line"));
  EXPECT_TRUE(refusalSays("\n#!/bin/sh\n", "does not begin with a \"#!\" line"));
  EXPECT_TRUE(refusalSays("#!", "names no tool"));
  EXPECT_TRUE(refusalSays("#! \t \n/bin/sh", "names no tool"));
  EXPECT_TRUE(refusalSays("#!bash\n", "not a full path"));
  EXPECT_TRUE(refusalSays("", "is empty"));
}

TEST_F(ScriptFileTest, AByteOrderMarkIsNamedAsTheProblem) {
  EXPECT_TRUE(refusalSays("\xEF\xBB\xBF#!/bin/sh\n", "byte-order mark"));
}

TEST_F(ScriptFileTest, AFileThatIsNotUtf8IsRefusedWithThePlace) {
  EXPECT_TRUE(refusalSays("#!/bin/sh\n\xFF", "not a UTF-8 text (see byte 11)"));
  EXPECT_TRUE(refusalSays("#!/bin/sh\n\xC3", "not a UTF-8 text (see byte 11)"));
  EXPECT_TRUE(
      refusalSays("\x7F"
                  "ELF\x02\xD0",
                  "not a UTF-8 text"));
}

TEST_F(ScriptFileTest, ACharacterAcrossTwoReadsIsWhole) {
  const std::string start = "#!/bin/sh\n" + std::string(65536 - 11, 'x');
  EXPECT_EQ(toolOf(start + "\xC3\xA9"), "/bin/sh");
  EXPECT_EQ(toolOf(start.substr(1) + "\xF0\x9F\x98\x80").find("does not begin") != std::string::npos, true);
}

TEST_F(ScriptFileTest, CarriageReturnsAreNoticed) {
  EXPECT_TRUE(ScriptFile::inspect(fileOf("#!/bin/sh\r\necho\r\n"))->hasCarriageReturns());
  EXPECT_EQ(ScriptFile::inspect(fileOf("#!/bin/sh\r\necho\r\n"))->tool(), "/bin/sh");
  EXPECT_FALSE(ScriptFile::inspect(fileOf("#!/bin/sh\necho\r\n"))->hasCarriageReturns());
}

TEST_F(ScriptFileTest, WhatIsNoRegularFileIsRefusedWithoutWaitingForIt) {
  ASSERT_EQ(::mkfifo((folder_ + "/pipe").c_str(), 0600), 0);
  EXPECT_FALSE(ScriptFile::inspect(folder_ + "/pipe"));
  EXPECT_FALSE(ScriptFile::inspect(folder_));
  EXPECT_FALSE(ScriptFile::inspect(folder_ + "/missing"));
  EXPECT_FALSE(ScriptFile::inspect("/dev/null"));
}

TEST_F(ScriptFileTest, WhatIsNoRegularFileIsCalledWhatItIs) {
  const auto causeOf = [](const std::string& path) { return ScriptFile::inspect(path).error().cause; };
  ASSERT_EQ(::mkfifo((folder_ + "/pipe").c_str(), 0), 0);
  ASSERT_EQ(::mknod((folder_ + "/socket").c_str(), S_IFSOCK | 0600, 0), 0);
  EXPECT_EQ(causeOf(folder_), "\"" + folder_ + "\" is a folder");
  EXPECT_EQ(causeOf(folder_ + "/pipe"), "\"" + folder_ + "/pipe\" is not a regular file");
  EXPECT_EQ(causeOf(folder_ + "/socket"), "\"" + folder_ + "/socket\" is not a regular file");
  EXPECT_EQ(causeOf("/dev/null"), "\"/dev/null\" is not a regular file");
  EXPECT_EQ(causeOf(folder_ + "/missing"),
            "The file \"" + folder_ + "/missing\" cannot be read: No such file or directory");
}

TEST_F(ScriptFileTest, WhatHasBecomeNoRegularFileIsNotCopied) {
  ASSERT_EQ(::mkfifo((folder_ + "/pipe").c_str(), 0600), 0);
  const auto staged = StagedScript::copyOf(folder_ + "/pipe", {folder_});
  ASSERT_FALSE(staged);
  EXPECT_EQ(staged.error().cause, "The file \"" + folder_ + "/pipe\" cannot be copied: Invalid argument");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1);
}

TEST_F(ScriptFileTest, TheStagedCopyHasTheBytesIsPrivateAndGoesAway) {
  const std::string source = fileOf("#!/bin/sh\necho\n", "a,b #1.sh");
  EXPECT_TRUE(StagedScript::isNeededFor(source));
  std::string path;
  {
    const auto staged = StagedScript::copyOf(source, {"/tmp/no,t safe", folder_ + "/missing", folder_});
    ASSERT_TRUE(staged);
    path = staged->path();
    EXPECT_FALSE(StagedScript::isNeededFor(path));
    EXPECT_TRUE(path.starts_with(folder_ + "/wicket-"));
    std::ifstream copy(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(copy), {}), "#!/bin/sh\necho\n");
    struct stat status{};
    ASSERT_EQ(::stat(std::filesystem::path(path).parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).parent_path()));
}

TEST_F(ScriptFileTest, OnlyAPathThatTheHelperWouldReadDifferentlyIsStaged) {
  EXPECT_FALSE(StagedScript::isNeededFor("/home/me/my job.sh"));
  EXPECT_TRUE(StagedScript::isNeededFor("/home/m\xC3\xA9/job.sh"));
  EXPECT_TRUE(StagedScript::isNeededFor("/home/me/job[1].sh"));
  EXPECT_TRUE(StagedScript::isNeededFor("/dev/stdin"));
  EXPECT_TRUE(StagedScript::isNeededFor("/proc/self/fd/0"));
  EXPECT_TRUE(StagedScript::isNeededFor("/" + std::string(1024, 'x')));
}

TEST_F(ScriptFileTest, NoFolderForTheCopyIsAProblem) {
  EXPECT_FALSE(StagedScript::copyOf(fileOf("#!/bin/sh\n"), {folder_ + "/missing"}));
}

}  // namespace
}  // namespace wicket::companion
