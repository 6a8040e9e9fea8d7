// The budget of pictures in flight and threads: what a search finds never depends on it, and the
// pictures a search and its decoding threads hold stay within it.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <regex>
#include <sstream>
#include <string>

#include "app/hgvtool_commands.h"
#include "clip/clip_writer.h"
#include "search/driver/decode_ahead.h"
#include "search/driver/tool_search.h"
#include "tests/support/jpeg_samples.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/core/resource_budget.h"
#include "toolkit/writers/synthetic_scene.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using toolkit::ResourceBudget;

constexpr std::int64_t kAmple = std::int64_t{1} << 30;

class SearchBudgetTest : public ::testing::Test {
 protected:
  // A walk across the scene, and in its middle a frame of thousands of empty scans.
  std::string sceneClip() {
    const toolkit::SyntheticScene scene({320, 240, 5, 6, 30, 2});
    std::vector<Bytes> jpegs;
    for (int i = 0; i < 36; ++i) jpegs.push_back(toolkit::encodeJpeg(scene.frame(i), 80));
    jpegs[17] = testing_support::manyScansJpeg(320, 240, 3000);
    const std::string path = dir.file("scene.hgv");
    clip::writeClip(fs, path, 320, 240, jpegs);
    return path;
  }

  // Flat pictures of `side` x `side` at low quality, a level for every two frames: what a
  // hostile clip packs most pixels into.
  std::string flatClip(int side, int frames) {
    std::vector<Bytes> levels;
    for (std::uint8_t level : {60, 180}) {
      toolkit::RgbImage flat{side, side, Bytes(static_cast<std::size_t>(side) * side * 3, level)};
      levels.push_back(toolkit::encodeJpeg(flat, 5));
    }
    std::vector<Bytes> jpegs;
    for (int i = 0; i < frames; ++i) jpegs.push_back(levels[static_cast<std::size_t>(i / 2 % 2)]);
    const std::string path = dir.file("flat.hgv");
    clip::writeClip(fs, path, side, side, jpegs);
    return path;
  }

  // hgvtool search --all on a session of its own: every result, box and comparison, then the
  // scratch files it leaves.
  std::string searchAll(const std::string& clip, int threads, ResourceBudget& budget) {
    std::ostringstream err, log;
    search::ToolSession tool(err);
    if (!tool.openClip(clip)) return "not opened: " + err.str();
    search::SearchOptions options;
    options.all = true;
    options.threads = threads;
    options.budget = &budget;
    search::runSearches(tool, options, [&](const search::SearchRecord& r) {
      log << static_cast<int>(r.outcome.ended) << " at " << r.frame << " (" << r.currentFrame
          << ") after " << r.outcome.comparisons << ":";
      for (const search::CellPoint& p : r.outcome.marked)
        log << " " << p.X.value() << "," << p.Y.value();
      for (const toolkit::MessageBoxRequest& box : r.boxes) log << " [" << box.text << "]";
      log << "\n";
    });
    for (const char* name : {"Temp.jpg", "1.bmp", "temp.bmp"}) {
      const std::string path = toolkit::inFolder(tool.platform().programFolder, name);
      const std::string bytes = fs.exists(path) ? toolkit::readWholeFile(fs, path) : "none";
      log << name << " " << std::hash<std::string>{}(bytes) << " " << bytes.size() << "\n";
    }
    return log.str();
  }

  testing_support::TempDir dir;
  toolkit::PosixFileSystem fs;
};

TEST_F(SearchBudgetTest, ATinyBudgetAndALargeOneFindTheSame) {
  const std::string clip = sceneClip();
  ResourceBudget inLine(kAmple, 1);
  const std::string want = searchAll(clip, 1, inLine);
  ASSERT_NE(want.find("0 at "), std::string::npos) << "the walk finds motion:\n" << want;
  const std::size_t box = want.find(" [");
  ASSERT_NE(box, std::string::npos) << "the refused frame has its box";
  EXPECT_EQ(want.find(" [", box + 1), std::string::npos) << "once";
  for (auto [threads, bytes] :
       {std::pair{8, kAmple}, {8, std::int64_t{1}}, {3, std::int64_t{500'000}}}) {
    SCOPED_TRACE(::testing::Message() << threads << " threads, " << bytes << " bytes");
    ResourceBudget budget(bytes, 8);
    EXPECT_EQ(searchAll(clip, threads, budget), want);
    EXPECT_EQ(budget.threadsTaken(), 0) << "every thread given back";
  }
}

// Eight threads on a clip of the largest pictures once kept 7.6 GB: each thread held pictures of
// its own, and the pools kept spares of them.
TEST_F(SearchBudgetTest, LargePicturesWithManyThreadsStayWithinTheBudget) {
  const std::string clip = flatClip(2048, 12);
  const std::int64_t picture =
      static_cast<std::int64_t>(toolkit::BmpHeader::of(2048, 2048).fileBytes()) +
      (2048 / 16) * (2048 / 16) * 4;
  ResourceBudget small(3 * picture, 8);
  const std::string want = searchAll(clip, 8, small);
  // Beside what the budget allows, the search's own frames: the one it decodes, the one it
  // compares it with and the one the scratch files keep.
  EXPECT_LE(small.peakBytes(), small.pictureBytes() + 3 * picture);
  EXPECT_GE(small.peakBytes(), 2 * picture);
  ResourceBudget ample(kAmple, 8);
  EXPECT_EQ(searchAll(clip, 8, ample), want);
  EXPECT_GT(ample.peakBytes(), small.peakBytes()) << "with room, the threads decode further ahead";
}

// Clips side by side and the threads decoding ahead inside each share the budget's threads;
// a --jobs above them is cut down to them, and what the scan finds stays the same.
TEST_F(SearchBudgetTest, AScanFindsTheSameOnOneThreadAsOnEight) {
  const std::string clip = sceneClip();
  std::filesystem::create_directories(dir.file("card"));
  for (const char* name : {"a.hgv", "b.hgv", "c.hgv"}) {
    std::filesystem::copy_file(clip, dir.file("card") + "/" + name);
  }
  std::string want;
  for (auto [threads, bytes] : {std::pair{8, kAmple}, {1, std::int64_t{1}}, {3, kAmple}}) {
    SCOPED_TRACE(::testing::Message() << threads << " threads, " << bytes << " bytes");
    ResourceBudget budget(bytes, threads);
    scan::ScanEnvironment env;
    env.budget = &budget;
    std::ostringstream out, err;
    EXPECT_EQ(app::runScan({dir.file("card"), "--json", "--jobs", "16"}, out, err, env), 0)
        << err.str();
    const std::string got = std::regex_replace(out.str(), std::regex(R"("scan_s": [0-9.]+)"), "");
    if (want.empty()) want = got;
    EXPECT_EQ(got, want);
    EXPECT_EQ(budget.threadsTaken(), 0);
  }
  EXPECT_NE(want.find("\"motion\": [{"), std::string::npos) << want;
}

// The file manager asks for thumbnails of whatever lies in a folder: a frame refused as too
// costly says so, and a huge one is decoded only as large as the thumbnail needs.
TEST_F(SearchBudgetTest, AThumbnailOfAHugeFrameOrARefusedOneCostsLittle) {
  std::vector<Bytes> refused = {testing_support::manyScansJpeg(4096, 4096, 30000)};
  clip::writeClip(fs, dir.file("refused.hgv"), 4096, 4096, refused);
  std::ostringstream out, err;
  EXPECT_EQ(app::runThumbnail({dir.file("refused.hgv"), dir.file("r.png"), "256"}, out, err), 1);
  EXPECT_NE(err.str().find("Invalid picture"), std::string::npos) << err.str();
  EXPECT_NE(err.str().find("hgvtool: frame 0 was refused: too costly to decode\n"),
            std::string::npos)
      << err.str();
  EXPECT_FALSE(fs.exists(dir.file("r.png")));

  // 6,400 x 3,200 takes 61 MB whole: it is decoded at 1/8, 800 x 400, to cover 256 x 128.
  const std::string clip = dir.file("huge.hgv");
  const toolkit::RgbImage flat{6400, 3200, Bytes(std::size_t{6400} * 3200 * 3, 90)};
  clip::writeClip(fs, clip, 6400, 3200, {toolkit::encodeJpeg(flat, 5)});
  ASSERT_EQ(app::runThumbnail({clip, dir.file("h.png"), "256"}, out, err), 0) << err.str();
  const Bytes png = testing_support::readBytes(dir.file("h.png"));
  const toolkit::RgbImage eighth = *toolkit::decodeJpegScaled(toolkit::encodeJpeg(flat, 5), 1);
  EXPECT_EQ(png, toolkit::encodePng(toolkit::shrinkImage(eighth, 256, 128)));
}

// Spares of the largest pictures would keep hundreds of megabytes nobody uses.
TEST(FramePoolTest, SparesStayWithinTheirBytesAndTheBudget) {
  const auto release = [](clip::FramePool& pool, int count) {
    std::vector<clip::FramePtr> frames;
    for (int i = 0; i < count; ++i) {
      frames.push_back(pool.make());
      frames.back()->bitmap.resize(600);
    }
  };
  const auto spares = [](clip::FramePool& pool) {
    std::vector<clip::FramePtr> frames;
    int kept = 0;
    for (int i = 0; i < 4; ++i) {
      frames.push_back(pool.make());
      kept += frames.back()->bitmap.capacity() >= 600 ? 1 : 0;
    }
    return kept;
  };
  clip::FramePool bytes(8, 1300);
  release(bytes, 3);
  EXPECT_EQ(spares(bytes), 2);
  ResourceBudget budget(1000, 1);
  clip::FramePool counted(8, 1 << 20, &budget);
  release(counted, 3);
  EXPECT_EQ(budget.reservedBytes(), 600) << "one spare fits beside nothing else";
  const clip::FramePtr again = counted.make();
  EXPECT_GE(again->bitmap.capacity(), 600u);
  EXPECT_EQ(budget.reservedBytes(), 0) << "a spare made a frame again no longer counts";
  EXPECT_EQ(counted.make()->bitmap.capacity(), 0u);
}

TEST_F(SearchBudgetTest, DecodingAheadTakesOnlyTheThreadsLeft) {
  ResourceBudget budget(kAmple, 3);
  {
    const toolkit::ThreadLease search(budget, 1);
    search::DecodeAhead ahead(fs, 8, &budget);
    EXPECT_EQ(ahead.threads(), 3);
    EXPECT_EQ(budget.threadsTaken(), 3);
    search::DecodeAhead another(fs, 8, &budget);
    EXPECT_EQ(another.threads(), 1) << "the search's own thread only";
  }
  EXPECT_EQ(budget.threadsTaken(), 0);
}

}  // namespace
