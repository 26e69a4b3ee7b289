#include "qel/util/file_utils.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "frame/testing.h"

namespace qel {
namespace {

namespace fs = std::filesystem;

class FileUtils : public ::testing::Test {
 protected:
  void TearDown() override { SetDocumentOpenerForTesting(""); }
  Text Path(const std::string& name) const { return FromUtf8((dir_ / name).string()); }
  void Touch(const std::string& name) const { std::ofstream(dir_ / name) << "x"; }
  // An executable script that exits with `code`.
  std::string Script(const std::string& name, int code) const {
    const fs::path p = dir_ / name;
    std::ofstream(p) << "#!/bin/sh\nexit " << code << "\n";
    fs::permissions(p, fs::perms::owner_all);
    return p.string();
  }

  testing::TempDir temp_;
  const fs::path dir_{temp_.path()};
};

TEST_F(FileUtils, DeleteFileSingleAndWildcards) {
  Touch("a.txt");
  Touch("b.txt");
  Touch("c.log");
  fs::create_directory(dir_ / "d.txt");
  EXPECT_FALSE(DeleteFile(Path("missing.txt")));
  EXPECT_TRUE(DeleteFile(Path("c.log")));
  EXPECT_FALSE(fs::exists(dir_ / "c.log"));
  EXPECT_TRUE(DeleteFile(Path("?.txt")));
  EXPECT_FALSE(fs::exists(dir_ / "a.txt"));
  EXPECT_FALSE(fs::exists(dir_ / "b.txt"));
  EXPECT_TRUE(fs::exists(dir_ / "d.txt"));  // directories are not files
  EXPECT_FALSE(DeleteFile(Path("*.txt")));  // only the directory matches now
  EXPECT_FALSE(DeleteFile(u""));
}

TEST_F(FileUtils, MakeAndRemoveDirectory) {
  EXPECT_TRUE(MakeDirectory(Path("sub")));
  EXPECT_FALSE(MakeDirectory(Path("sub")));             // exists
  EXPECT_FALSE(MakeDirectory(Path("nope/deeper")));     // parent missing
  Touch("sub/f");
  EXPECT_FALSE(RemoveDirectory(Path("sub")));           // not empty
  EXPECT_TRUE(DeleteFile(Path("sub/f")));
  EXPECT_TRUE(RemoveDirectory(Path("sub")));
  EXPECT_FALSE(RemoveDirectory(Path("sub")));
}

TEST_F(FileUtils, OpenDocumentFollowsTheOpenersResult) {
  Touch("doc.pdf");
  SetDocumentOpenerForTesting(Script("ok.sh", 0));
  EXPECT_TRUE(OpenDocument(Path("doc.pdf"), 0));
  SetDocumentOpenerForTesting(Script("fail.sh", 3));  // e.g. no associated application
  EXPECT_FALSE(OpenDocument(Path("doc.pdf"), 0));
  SetDocumentOpenerForTesting((dir_ / "no-such-opener").string());
  EXPECT_FALSE(OpenDocument(Path("doc.pdf"), 0));
  EXPECT_FALSE(OpenDocument(u"", 0));
}

}  // namespace
}  // namespace qel
