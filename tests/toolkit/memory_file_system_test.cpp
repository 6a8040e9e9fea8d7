// The in-memory file system behaves as the program's file-system seam promises on a disk.

#include "tests/support/memory_file_system.h"

#include <gtest/gtest.h>

#include "toolkit/core/runtime_error.h"

namespace testing_support {
namespace {

using Bytes = std::vector<std::uint8_t>;

int errorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const toolkit::RuntimeError& e) {
    return e.number();
  }
  return 0;
}

TEST(MemoryFileSystemTest, WritesKeepWhatTheyDoNotCoverAndReadsStopAtTheEnd) {
  MemoryFileSystem fs;
  fs.openWrite("a")->writeAt(0, Bytes{1, 2, 3, 4, 5});
  fs.openWrite("a")->writeAt(7, Bytes{9});  // opening keeps the bytes; a gap reads as zeros
  EXPECT_EQ(fs.files.at("a"), (Bytes{1, 2, 3, 4, 5, 0, 0, 9}));
  fs.openWrite("a")->truncate(3);
  EXPECT_EQ(fs.files.at("a"), (Bytes{1, 2, 3}));

  const auto file = fs.openRead("a");
  EXPECT_EQ(file->length(), 3);
  Bytes out(5, 0xEE);
  EXPECT_EQ(file->readAt(1, out), 2u);
  EXPECT_EQ(out, (Bytes{2, 3, 0xEE, 0xEE, 0xEE})) << "bytes past the end are left untouched";
  EXPECT_EQ(file->readAt(3, out), 0u);
  fs.files["a"] = Bytes{7};  // changed behind an open file, as on a disk
  EXPECT_EQ(file->length(), 1);
}

TEST(MemoryFileSystemTest, MissingFilesAndFailingWritesRaiseTheToolkitsErrors) {
  MemoryFileSystem fs;
  EXPECT_EQ(errorOf([&] { fs.openRead("nothing"); }), 53);
  EXPECT_EQ(errorOf([&] { fs.remove("nothing"); }), 53);
  EXPECT_EQ(errorOf([&] { fs.rename("nothing", "b"); }), 53);
  EXPECT_FALSE(fs.exists("nothing"));
  fs.failWrites = toolkit::ErrorNumber::DiskFull;
  EXPECT_EQ(errorOf([&] { fs.openWrite("c"); }), 61);
  EXPECT_FALSE(fs.exists("c"));
}

TEST(MemoryFileSystemTest, RenameReplacesTheTargetInOneStep) {
  MemoryFileSystem fs;
  fs.files["new.part"] = Bytes{1};
  fs.files["new"] = Bytes{2, 2};
  fs.rename("new.part", "new");
  EXPECT_EQ(fs.files.size(), 1u);
  EXPECT_EQ(fs.files.at("new"), Bytes{1});
  // The program's whole-file procedures work on it as on a disk.
  toolkit::replaceFile(fs, "new", [](toolkit::WritableFile& f) { f.writeAt(0, Bytes{3, 4}); });
  EXPECT_EQ(toolkit::readWholeFile(fs, "new"), std::string("\x03\x04", 2));
  EXPECT_FALSE(fs.exists("new.part"));
}

}  // namespace
}  // namespace testing_support
