// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include <gtest/gtest.h>
#include <string_view>
#include <vector>

#include "helper/store/FilePath.h"

namespace wicket {
namespace {

struct PathExample {
  std::string_view path;
  std::string_view component;
  std::string_view extension;
};

TEST(FilePathTest, EveryPathHasItsLastComponentAndItsExtension) {
  const std::vector<PathExample> examples{
      {"", ".", ""},
      {"/", "/", ""},
      {"//", "/", ""},
      {"///", "/", ""},
      {"a/", "a", ""},
      {"a.sh/", "a.sh", "sh"},
      {"a.sh//", "a.sh", "sh"},
      {"a.sh", "a.sh", "sh"},
      {"run.PY", "run.PY", "PY"},
      {".sh", ".sh", "sh"},
      {"/x/.sh", ".sh", "sh"},
      {"..sh", "..sh", "sh"},
      {"a.", "a.", ""},
      {"a..sh", "a..sh", "sh"},
      {".", ".", ""},
      {"..", "..", ""},
      {"/x/..", "..", ""},
      {"dir.d/file", "file", ""},
      {"a b.sh", "a b.sh", "sh"},
      {"a.s h", "a.s h", "s h"},
      {"run.sh ", "run.sh ", "sh "},
      {"a.tar.gz", "a.tar.gz", "gz"},
      {"a.sh\n", "a.sh\n", "sh\n"},
      {"x.s\u200Eh", "x.s\u200Eh", "s\u200Eh"},
      {"a.\u00A0sh", "a.\u00A0sh", "\u00A0sh"},
      {"/a/./b.sh", "b.sh", "sh"},
      {"/a//b.sh", "b.sh", "sh"},
      {"./a.sh", "a.sh", "sh"},
      {"../a.sh", "a.sh", "sh"},
  };
  for (const auto& [path, component, extension] : examples) {
    EXPECT_EQ(FilePath::lastPathComponent(path), component) << testing::PrintToString(path);
    EXPECT_EQ(FilePath::pathExtension(path), extension) << testing::PrintToString(path);
  }
}

}  // namespace
}  // namespace wicket
