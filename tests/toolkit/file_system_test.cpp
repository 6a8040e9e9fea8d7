// Writes on the real disk never go where someone else planted a link, a FIFO or a device, and
// reads never wait on one.

#include "toolkit/core/file_system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "tests/support/temp_dir.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using testing_support::readBytes;
using testing_support::temporariesIn;
using testing_support::writeBytes;

std::string errorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return std::to_string(e.number()) + " " + e.description();
  }
  return "no error";
}

class PlantedFileTest : public testing::Test {
 protected:
  PlantedFileTest() { writeBytes(victim, Bytes{7, 7, 7}); }

  testing_support::TempDir dir;
  PosixFileSystem files;
  const std::string victim = dir.file("victim");
};

TEST_F(PlantedFileTest, ALinkPlantedWhereTheOldTemporaryNameWasIsNeverWrittenThrough) {
  const std::string target = dir.file("out.jpg");
  fs::create_symlink(victim, target + ".part");
  replaceFile(files, target, Bytes{1, 2});
  EXPECT_EQ(readBytes(target), (Bytes{1, 2}));
  EXPECT_EQ(readBytes(victim), (Bytes{7, 7, 7}));
  EXPECT_TRUE(fs::is_symlink(target + ".part"));
  EXPECT_TRUE(temporariesIn(dir.path()) == std::vector<std::string>{"out.jpg.part"});
}

TEST_F(PlantedFileTest, OpeningALinkForWritingIsRefusedAndItsTargetIsUntouched) {
  const std::string journal = dir.file("scan.jsonl");
  fs::create_symlink(victim, journal);
  EXPECT_EQ(errorOf([&] { files.openWrite(journal); }),
            "75 Path/File access error (not a regular file)");
  EXPECT_EQ(errorOf([&] { files.createNew(journal); }), "58 File already exists");
  EXPECT_EQ(readBytes(victim), (Bytes{7, 7, 7}));
  EXPECT_EQ(files.kind(journal), FileKind::Link);
}

TEST_F(PlantedFileTest, ALinkAtTheDestinationIsReplacedNotFollowed) {
  const std::string target = dir.file("out.png");
  fs::create_symlink(victim, target);
  replaceFile(files, target, Bytes{4});
  EXPECT_FALSE(fs::is_symlink(target));
  EXPECT_EQ(readBytes(target), (Bytes{4}));
  EXPECT_EQ(readBytes(victim), (Bytes{7, 7, 7}));
}

TEST_F(PlantedFileTest, AFolderOrAFifoAsDestinationIsRefusedAndLeftAsItIs) {
  const std::string folder = dir.file("folder"), fifo = dir.file("fifo");
  fs::create_directory(folder);
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& target : {folder, fifo}) {
    EXPECT_EQ(errorOf([&] { replaceFile(files, target, Bytes{1}); }),
              "75 Path/File access error (not a regular file)")
        << target;
    EXPECT_EQ(errorOf([&] { files.openWrite(target); }),
              "75 Path/File access error (not a regular file)")
        << target;
  }
  EXPECT_TRUE(fs::is_directory(folder));
  EXPECT_TRUE(fs::is_fifo(fifo));
  EXPECT_TRUE(temporariesIn(dir.path()).empty());
  EXPECT_EQ(files.kind("/dev/null"), FileKind::Other);
}

TEST_F(PlantedFileTest, ReadingAFifoIsRefusedAtOnceInsteadOfWaitingForAWriter) {
  const std::string fifo = dir.file("x.hgv");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(errorOf([&] { files.openRead(fifo); }), "75 Path/File access error");
  EXPECT_FALSE(files.exists(fifo));
}

TEST_F(PlantedFileTest, ADestinationNameAtTheLengthLimitIsWritten) {
  const std::string target = dir.file(std::string(NAME_MAX - 4, 'n') + ".jpg");
  replaceFile(files, target, Bytes{5, 6});
  EXPECT_EQ(readBytes(target), (Bytes{5, 6}));
  EXPECT_TRUE(temporariesIn(dir.path()).empty());
}

TEST_F(PlantedFileTest, AFailedWriteLeavesTheOldFileAndNoTemporary) {
  const std::string target = dir.file("out.hgv");
  writeBytes(target, Bytes{3});
  EXPECT_THROW(replaceFile(files, target,
                           [](WritableFile& file) {
                             file.writeAt(0, Bytes{9, 9});
                             throw RuntimeError::of(ErrorNumber::DiskFull);
                           }),
               RuntimeError);
  EXPECT_EQ(readBytes(target), (Bytes{3}));
  EXPECT_TRUE(temporariesIn(dir.path()).empty());
}

TEST_F(PlantedFileTest, TheTemporaryFileIsAFreshRegularFileOfTheUsersBesideTheTarget) {
  const std::string target = dir.file("out.jpg");
  std::string seen;
  replaceFile(files, target, [&](WritableFile&) {
    const std::vector<std::string> names = temporariesIn(dir.path());
    ASSERT_EQ(names.size(), 1u);
    seen = names[0];
    struct stat st {};
    ASSERT_EQ(::lstat(dir.file(seen).c_str(), &st), 0);
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(st.st_uid, ::geteuid());
  });
  EXPECT_EQ(seen.rfind(".hg-", 0), 0u) << seen;
  EXPECT_EQ(seen.size(), std::string(".hg-0123456789abcdef.part").size()) << seen;
}

TEST_F(PlantedFileTest, FactsFollowALinkAndGiveTheFilesSizeAndTime) {
  std::filesystem::create_symlink(victim, dir.file("link"));
  struct stat st {};
  ASSERT_EQ(::stat(victim.c_str(), &st), 0);
  const FileFacts facts = files.facts(dir.file("link"));
  EXPECT_EQ(facts.kind, FileKind::Regular);
  EXPECT_EQ(facts.size, 3);
  EXPECT_EQ(facts.mtimeNs, st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec);
  EXPECT_EQ(files.facts(dir.path()).kind, FileKind::Folder);
  EXPECT_EQ(files.facts(dir.file("gone")).kind, FileKind::None);
  EXPECT_EQ(files.facts(dir.file("gone")).size, -1);
}

TEST_F(PlantedFileTest, MakeFoldersMakesThoseAboveAndSaysWhyNot) {
  std::error_code error;
  EXPECT_TRUE(files.makeFolders(dir.file("a/b/c"), error)) << error.message();
  EXPECT_TRUE(std::filesystem::is_directory(dir.file("a/b/c")));
  EXPECT_TRUE(files.makeFolders(dir.file("a/b/c"), error));  // already there
  EXPECT_FALSE(files.makeFolders(victim + "/below", error));
  EXPECT_TRUE(error) << "a file stands where the folder would be";
  EXPECT_EQ(readBytes(victim), (Bytes{7, 7, 7}));
}

TEST_F(PlantedFileTest, ALinkIsASecondNameOfTheSameFileAndNeverReplacesOne) {
  EXPECT_TRUE(files.link(victim, dir.file("second")));
  EXPECT_TRUE(files.sameFile(victim, dir.file("second")));
  EXPECT_EQ(readBytes(dir.file("second")), (Bytes{7, 7, 7}));
  writeBytes(dir.file("other"), Bytes{1});
  EXPECT_FALSE(files.link(victim, dir.file("other")));
  EXPECT_FALSE(files.sameFile(victim, dir.file("other")));
  EXPECT_EQ(readBytes(dir.file("other")), (Bytes{1}));
}

TEST(FileSystemDefaultsTest, AFileSystemWithoutFoldersOrLinksSaysSo) {
  class Flat : public FileSystem {
   public:
    std::unique_ptr<ReadableFile> openRead(const std::string&) override { return nullptr; }
    std::unique_ptr<WritableFile> openWrite(const std::string&) override { return nullptr; }
    bool exists(const std::string&) override { return false; }
    void remove(const std::string&) override {}
    void rename(const std::string&, const std::string&) override {}
  } flat;
  std::error_code error;
  EXPECT_FALSE(flat.makeFolders("a", error));
  EXPECT_EQ(error, std::errc::not_supported);
  EXPECT_FALSE(flat.link("a", "b"));
  EXPECT_FALSE(flat.sameFile("a", "a"));
  EXPECT_EQ(flat.facts("a").kind, FileKind::None);
}

}  // namespace
}  // namespace toolkit
