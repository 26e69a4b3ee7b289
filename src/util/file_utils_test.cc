#include "qel/util/file_utils.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "frame/testing.h"

namespace qel {
namespace {

namespace fs = std::filesystem;

class FileUtils : public ::testing::Test {
 protected:
  Text Path(const std::string& name) const { return FromUtf8((dir_ / name).string()); }
  void Touch(const std::string& name) const { std::ofstream(dir_ / name) << "x"; }
  void Touch(std::initializer_list<const char*> names) const {
    for (const char* n : names) Touch(n);
  }
  std::set<std::string> Left() const {
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(dir_)) names.insert(e.path().filename());
    return names;
  }

  testing::TempDir temp_;
  const fs::path dir_{temp_.path()};
};

TEST_F(FileUtils, DeleteFileSingleAndMissing) {
  Touch({"a.txt", "c.log"});
  fs::create_directory(dir_ / "d.txt");
  EXPECT_FALSE(DeleteFile(Path("missing.txt")));
  EXPECT_TRUE(DeleteFile(Path("c.log")));
  EXPECT_FALSE(DeleteFile(Path("d.txt")));  // a directory is not a file
  EXPECT_FALSE(DeleteFile(u""));
  EXPECT_FALSE(DeleteFile(Path("")));  // a folder with no name after it
  EXPECT_EQ(Left(), (std::set<std::string>{"a.txt", "d.txt"}));
}

// Each row: files present, the pattern, the result, the files left.
TEST_F(FileUtils, DeleteFileWildcardsInTheLastComponent) {
  struct Row {
    std::set<std::string> files;
    const char* pattern;
    bool result;
    std::set<std::string> left;
  };
  const Row rows[] = {
      {{"a[1].txt", "a1.txt"}, "a[1].txt", true, {"a1.txt"}},  // brackets are not a set
      {{"a[1].txt", "a1.txt"}, "a[?].txt", true, {"a1.txt"}},
      {{"a.txt", "b.txt", "ab.txt"}, "?.txt", true, {"ab.txt"}},
      {{"ñ.txt", "ab.txt"}, "?.txt", true, {"ab.txt"}},  // one character, not one byte
      {{".hidden", "x.log"}, "*", true, {}},             // "*" takes dot files too
      {{"README", "x.log", "d.e.f"}, "*.*", true, {}},   // "*.*" takes names with no dot
      {{"a", "a.b", "ab"}, "a.*", true, {"ab"}},
      {{"x.log"}, "*.txt", false, {"x.log"}},
      {{"a\\b", "ab"}, "a\\*", true, {"ab"}},  // a backslash is a character
      {{"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab"},
       "*a*a*a*a*a*a*a*c",
       false,
       {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.pattern);
    for (const auto& e : fs::directory_iterator(dir_)) fs::remove_all(e.path());
    for (const auto& f : row.files) Touch(f);
    EXPECT_EQ(DeleteFile(Path(row.pattern)), row.result);
    EXPECT_EQ(Left(), row.left);
  }
}

TEST_F(FileUtils, DeleteFileNeverTouchesFoldersOrOtherFolders) {
  fs::create_directories(dir_ / "sub.d");
  fs::create_directories(dir_ / "s*");
  Touch({"sub.d/inner.txt", "s*/f.txt", "top.txt"});
  EXPECT_TRUE(DeleteFile(Path("*")));  // deletes top.txt only
  EXPECT_EQ(Left(), (std::set<std::string>{"s*", "sub.d"}));
  EXPECT_TRUE(fs::exists(dir_ / "sub.d/inner.txt"));
  // A wildcard in the folder part is a literal character.
  EXPECT_FALSE(DeleteFile(Path("s?/f.txt")));
  EXPECT_TRUE(DeleteFile(Path("s*/*.txt")));
  EXPECT_TRUE(fs::exists(dir_ / "sub.d/inner.txt"));
}

TEST_F(FileUtils, MakeAndRemoveDirectory) {
  EXPECT_TRUE(MakeDirectory(Path("sub")));
  EXPECT_FALSE(MakeDirectory(Path("sub")));          // exists
  EXPECT_FALSE(MakeDirectory(Path("nope/deeper")));  // parent missing
  Touch("sub/f");
  EXPECT_FALSE(RemoveDirectory(Path("sub")));  // not empty
  EXPECT_TRUE(DeleteFile(Path("sub/f")));
  EXPECT_TRUE(RemoveDirectory(Path("sub")));
  EXPECT_FALSE(RemoveDirectory(Path("sub")));
}

// OpenDocument reads the desktop's application associations from the XDG folders, which GIO
// reads once per process; each case therefore runs in a fresh process of its own (a
// re-executed death test) with the folders pointing into a scratch directory.
class OpenDocumentTest : public FileUtils {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  // Points the XDG folders at the scratch directory; with `associate`, registers an
  // application for unknown binary files that leaves "<file>.opened" behind.
  void Desktop(bool associate) const {
    const fs::path share = dir_ / "share", config = dir_ / "config";
    fs::create_directories(share / "applications");
    fs::create_directories(config);
    setenv("XDG_DATA_HOME", share.c_str(), 1);
    setenv("XDG_DATA_DIRS", share.c_str(), 1);
    setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    setenv("XDG_CONFIG_DIRS", config.c_str(), 1);
    if (!associate) return;
    std::ofstream(share / "applications" / "qeltest.desktop")
        << "[Desktop Entry]\nType=Application\nName=QelTest\n"
        << "Exec=/bin/sh -c 'touch \"$1.opened\"' sh %f\n"
        << "MimeType=application/octet-stream;\n";
    std::ofstream(config / "mimeapps.list")
        << "[Default Applications]\napplication/octet-stream=qeltest.desktop\n";
  }
  void Binary(const std::string& name) const {
    std::ofstream(dir_ / name, std::ios::binary) << std::string("\x01\x02\x03\x00\xff", 5);
  }
};

TEST_F(OpenDocumentTest, LaunchesTheAssociatedApplicationAndReturnsAtOnce) {
  EXPECT_EXIT(
      {
        Desktop(true);
        Binary("doc.bin");
        const auto start = std::chrono::steady_clock::now();
        const bool ok = OpenDocument(Path("doc.bin"), 0);
        const auto took = std::chrono::steady_clock::now() - start;
        bool opened = false;
        for (int i = 0; i < 500 && !opened; ++i) {
          opened = fs::exists(dir_ / "doc.bin.opened");
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        std::_Exit(ok && opened && took < std::chrono::seconds(3) ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(OpenDocumentTest, FalseWithoutAnAssociatedApplicationOrFile) {
  EXPECT_EXIT(
      {
        Desktop(false);
        Binary("doc.bin");
        const bool none = !OpenDocument(Path("doc.bin"), 0) &&
                          !OpenDocument(Path("missing.bin"), 0) && !OpenDocument(u"", 0);
        std::_Exit(none ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace qel
