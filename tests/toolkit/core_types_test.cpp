#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"
#include "toolkit/core/vb_types.h"

namespace toolkit {
namespace {

int errorOf(auto&& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return e.number();
  }
  return 0;
}

TEST(CheckedIntegerTest, ArithmeticThatLeavesSixteenBitsIsOverflow) {
  Integer top = 32767;
  EXPECT_EQ(errorOf([&] { (void)(top + Integer(1)); }), 6);
  EXPECT_EQ(errorOf([&] { (void)(Integer(-32768) - Integer(1)); }), 6);
  EXPECT_EQ(errorOf([&] { (void)Integer(32768); }), 6);
  EXPECT_EQ(errorOf([&] { (void)-Integer(-32768); }), 6);
  EXPECT_EQ((top - Integer(1)).value(), 32766);
  EXPECT_EQ(errorOf([&] { (void)(Long(2147483647) + Long(1)); }), 6);
  EXPECT_EQ(errorOf([&] { (void)Long(2147483648LL); }), 6);
}

TEST(CheckedIntegerTest, IntegerDivisionTruncatesAndByZeroIsAnError) {
  EXPECT_EQ((Long(-7) / Long(2)).value(), -3);
  EXPECT_EQ((Integer(130 - 100) / Integer(10)).value(), 3);
  EXPECT_EQ(errorOf([] { (void)(Long(1) / Long(0)); }), 11);
}

TEST(CheckedIntegerTest, ConversionFromFloatRoundsHalfToEven) {
  EXPECT_EQ(Integer::fromDouble(2.5).value(), 2);
  EXPECT_EQ(Integer::fromDouble(3.5).value(), 4);
  EXPECT_EQ(Integer::fromDouble(-2.5).value(), -2);
  EXPECT_EQ(Long::fromDouble(0.4999).value(), 0);
  EXPECT_EQ(Integer::fromDouble(32767.4).value(), 32767);
  EXPECT_EQ(errorOf([] { (void)Integer::fromDouble(32767.5); }), 6);
  EXPECT_EQ(errorOf([] { (void)Long::fromDouble(std::nan("")); }), 6);
}

TEST(RuntimeErrorTest, BoxTextHasThreeLinesWithCrLf) {
  EXPECT_EQ(errorBoxText("SaveAviChunk", RuntimeError::of(ErrorNumber::Overflow)),
            "SaveAviChunk\r\nError:6\r\nOverflow");
  EXPECT_EQ(errorBoxText("ModuleName | ProcedureName", RuntimeError::of(ErrorNumber::FileNotFound)),
            "ModuleName | ProcedureName\r\nError:53\r\nFile not found");
}

TEST(RuntimeErrorTest, ClassicNumbersKeepTheirDescriptions) {
  const std::pair<ErrorNumber, const char*> table[] = {
      {ErrorNumber::Overflow, "Overflow"},
      {ErrorNumber::SubscriptOutOfRange, "Subscript out of range"},
      {ErrorNumber::BadFileNameOrNumber, "Bad file name or number"},
      {ErrorNumber::FileNotFound, "File not found"},
      {ErrorNumber::DiskFull, "Disk full"},
      {ErrorNumber::PermissionDenied, "Permission denied"},
      {ErrorNumber::PathFileAccessError, "Path/File access error"},
      {ErrorNumber::PathNotFound, "Path not found"},
      {ErrorNumber::InvalidPicture, "Invalid picture"},
  };
  for (auto [number, text] : table) {
    auto e = RuntimeError::of(number);
    EXPECT_EQ(e.description(), text);
    EXPECT_EQ(e.number(), static_cast<int>(number));
  }
}

TEST(MessageBoxTest, DefaultTitleIsTheApplications) {
  MessageBoxRequest box{"x", MsgIcon::None, std::nullopt};
  EXPECT_EQ(box.shownTitle(), "Harrowglen");
  box.title = "Warning";
  EXPECT_EQ(box.shownTitle(), "Warning");
}

TEST(FileSystemTest, FileErrorsMapToTheToolkitsNumbers) {
  testing_support::TempDir dir;
  PosixFileSystem fs;
  EXPECT_EQ(errorOf([&] { fs.openRead(dir.file("missing")); }), 53);
  EXPECT_EQ(errorOf([&] { fs.openWrite(dir.file("no/such/folder/x")); }), 76);
  EXPECT_EQ(errorOf([&] { fs.openRead(dir.path()); }), 75);
  EXPECT_FALSE(fs.exists(dir.path()));
}

TEST(FileSystemTest, WritingKeepsTheTailOfALongerFile) {
  testing_support::TempDir dir;
  PosixFileSystem fs;
  const std::string path = dir.file("f");
  testing_support::writeBytes(path, {1, 2, 3, 4, 5});
  const std::uint8_t two[] = {9, 9};
  fs.openWrite(path)->writeAt(0, two);
  EXPECT_EQ(testing_support::readBytes(path), (std::vector<std::uint8_t>{9, 9, 3, 4, 5}));
}

// Scratch files go beside a program run from its build folder, and to the user's data folder for
// an installed one, even where root could write /usr/bin.
TEST(ProgramFolderTest, AnInstalledProgramKeepsItsScratchFilesInTheUsersDataFolder) {
  testing_support::TempDir dir;
  std::filesystem::create_directories(dir.file("build/app"));
  std::filesystem::create_directories(dir.file("usr/bin"));
  const char* before = std::getenv("XDG_DATA_HOME");
  const std::string saved = before ? before : "";
  ::setenv("XDG_DATA_HOME", dir.file("data").c_str(), 1);
  EXPECT_EQ(programFolderFor(dir.file("build/app/harrowglen")), dir.file("build/app"));
  EXPECT_EQ(programFolderFor(dir.file("usr/bin/harrowglen")), dir.file("data/harrowglen"));
  EXPECT_TRUE(std::filesystem::is_directory(dir.file("data/harrowglen")));
  EXPECT_EQ(programFolderFor(""), dir.file("data/harrowglen"));
  before ? ::setenv("XDG_DATA_HOME", saved.c_str(), 1) : ::unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace toolkit
