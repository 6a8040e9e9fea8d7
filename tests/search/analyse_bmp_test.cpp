#include "search/core/analyse_bmp.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/search/bitmap_maker.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/runtime_error.h"

namespace search {
namespace {

using search_test::Bgr;
using search_test::BitmapFields;
using search_test::cellPicture;
using search_test::makeBitmap;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::MessageBoxRequest;

using Bytes = std::vector<std::uint8_t>;

int errorNumberOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const toolkit::RuntimeError& e) {
    return e.number();
  }
  return 0;
}

// A frame whose picture is the bitmap a test made, byte by byte; nullopt: a frame that could not
// be decoded.
clip::FramePtr frameOf(const std::optional<Bytes>& bitmap) {
  auto frame = std::make_shared<clip::Frame>();
  frame->picture = bitmap ? clip::Frame::Picture::Decoded : clip::Frame::Picture::Undecodable;
  if (bitmap) frame->bitmap = *bitmap;
  return frame;
}

// Walks frames through the module the way a search does: the first into CellMeansA with the
// phases at rest, then alternately into B and A, each compared with the other.
class AnalyseBmpTest : public ::testing::Test {
 protected:
  Long frame(const std::optional<Bytes>& bmp, Boolean intoA, Boolean intoB, Boolean phaseA,
             Boolean phaseB) {
    module.StoreInA = intoA;
    module.StoreInB = intoB;
    const AnalyseBMP::Result result = module.AnalyseFrame(frameOf(bmp), 16, phaseA, phaseB);
    refusal = result.refusal;
    EXPECT_EQ(result.changed, module.ChangedCellCount);
    return result.changed;
  }
  Long prime(const Bytes& bmp) {
    nextIntoA = false;
    return frame(bmp, kTrue, kFalse, kTrue, kTrue);
  }
  // The next frame of the walk, compared with the one before.
  Long step(const std::optional<Bytes>& bmp) {
    const bool intoA = nextIntoA;
    nextIntoA = !nextIntoA;
    return intoA ? frame(bmp, kTrue, kFalse, kFalse, kTrue)
                 : frame(bmp, kFalse, kTrue, kTrue, kFalse);
  }

  // A comparison of two grids of means given directly, without pixels.
  Long compareMeans(int columns, int rows, const std::vector<int>& a, const std::vector<int>& b) {
    module.CellColumns = columns;
    module.CellRows = rows;
    const auto store = [&](const std::vector<int>& means, Boolean intoA) {
      std::vector<Single> sums;
      for (int m : means) sums.push_back(static_cast<Single>(m * 256));
      module.StoreInA = intoA;
      module.StoreInB = intoA ? kFalse : kTrue;
      module.StoreCellMeans(static_cast<std::int64_t>(sums.size()), sums, kTrue,
                            intoA ? kTrue : kFalse);
    };
    store(a, kTrue);
    store(b, kFalse);
    return module.ChangedCellCount;
  }

  AnalyseBMP module;
  BitmapRefusal refusal = BitmapRefusal::None;
  bool nextIntoA = false;
};

// 1,200 cells of 100 with the 200 cells of rows r = 10 .. 14 at `changed`.
Bytes twoHundredCellsAt(int changed) {
  return cellPicture(40, 30, [&](int r, int) { return r >= 10 && r < 15 ? changed : 100; });
}

TEST_F(AnalyseBmpTest, GreyCellsHaveTheirValueAsMeanInFileOrder) {
  const auto grey = [](int r, int c) { return (r * 7 + c * 3) % 256; };
  EXPECT_EQ(prime(cellPicture(40, 30, grey)), 0);

  ASSERT_EQ(module.CellMeansA.size(), 1200u);
  for (int r = 0; r < 30; ++r) {
    for (int c = 0; c < 40; ++c) ASSERT_EQ(module.CellMeansA[r * 40 + c], grey(r, c));
  }
  EXPECT_TRUE(module.CellMeansB.empty());
  EXPECT_EQ(module.CellRows, 30);
  EXPECT_EQ(module.CellColumns, 40);
  EXPECT_EQ(module.PixelCount, 307200);
  const std::vector<Single> luma = module.LumaPixels();
  ASSERT_EQ(luma.size(), 307200u);
  EXPECT_EQ(luma[0], 0.0f);               // bottom-left
  EXPECT_EQ(luma[307199], grey(29, 39));  // top-right
  EXPECT_EQ(module.CellOrigins(1, 2), (CellPoint{32, 16}));
  EXPECT_EQ(module.CellOrigins(30, 40), (CellPoint{640, 480}));
  EXPECT_EQ(errorNumberOf([&] { module.CellOrigins(31, 0); }), 9);
  EXPECT_EQ(refusal, BitmapRefusal::None);
}

TEST_F(AnalyseBmpTest, CellSumOnAHalfRoundsToEvenBeforeTheDivision) {
  // Blue 0, green 1, red 187 has the brightness 56.5 exactly. With the grey pixels behind it the
  // first cell sums to 511.5 and the second to 255.5: both round up to the even 512 and 256, so
  // the means are 2 and 1 where truncating would give 1 and 0.
  const Bytes bmp = makeBitmap({32, 16}, [](int x, int y) -> Bgr {
    const int k = y * 16 + x % 16;
    const bool first = x < 16;
    if (k == 0) return {0, 1, 187};
    const int grey = first ? (k == 1 ? 255 : k == 2 ? 200 : 0) : (k == 1 ? 199 : 0);
    const auto v = static_cast<std::uint8_t>(grey);
    return {v, v, v};
  });
  prime(bmp);
  EXPECT_EQ(module.LumaPixels()[0], 56.5f);
  EXPECT_EQ(module.CellMeansA, (std::vector<std::int32_t>{2, 1}));

  const std::vector<Single> sums{255.5f, 511.49f, 767.5f, 65279.5f, 256.5f};
  module.StoreInA = kTrue;
  module.StoreInB = kFalse;
  module.StoreCellMeans(5, sums, kTrue, kTrue);
  EXPECT_EQ(module.CellMeansA, (std::vector<std::int32_t>{1, 1, 3, 255, 1}));
}

TEST_F(AnalyseBmpTest, OddWidthSkipsRowPaddingAndTheRightEdge) {
  const Bytes bmp = makeBitmap({650, 32, 24, 0, 0xEE}, [](int x, int y) -> Bgr {
    const auto v = static_cast<std::uint8_t>(x >= 640 ? 255 : x / 16 + 10 * (y / 16));
    return {v, v, v};
  });
  ASSERT_EQ((bmp.size() - 54) / 32, 1952u);
  prime(bmp);
  EXPECT_EQ(module.CellColumns, 40);
  EXPECT_EQ(module.CellRows, 2);
  ASSERT_EQ(module.CellMeansA.size(), 80u);
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 40; ++c) ASSERT_EQ(module.CellMeansA[r * 40 + c], c + 10 * r);
  }
  const std::vector<Single> luma = module.LumaPixels();
  EXPECT_EQ(luma[649], 255.0f);
  EXPECT_EQ(luma[650], 0.0f);  // x 0 of the second row, not a padding byte
  EXPECT_EQ(luma[650 * 16 + 16], 11.0f);
}

TEST_F(AnalyseBmpTest, ThousandStillAndTwoHundredChangedCellsUnderEachSensitivity) {
  struct Case {
    const char* sensitivity;
    int threshold;
    int reported;
  };
  for (const Case& c : {Case{"", 40, 200}, Case{"Medium", 40, 200}, Case{"High", 20, 200},
                        Case{"Low", 90, 0}, Case{"high", 40, 200}, Case{"LOW", 40, 200}}) {
    SCOPED_TRACE(c.sensitivity);
    module.Sensitivity = c.sensitivity;
    module.ChangeThreshold = 0;
    prime(twoHundredCellsAt(100));
    EXPECT_EQ(step(twoHundredCellsAt(150)), c.reported);
    EXPECT_EQ(module.sweepThreshold(), 0);  // the equal scores of t = 1 .. 49 do not replace it
    EXPECT_EQ(module.ChangeThreshold, c.threshold);
    ASSERT_EQ(module.ChangedCellCount, c.reported);
    ASSERT_EQ(module.ChangedCells.size(), static_cast<std::size_t>(c.reported));
    if (c.reported == 0) continue;
    // From the lowest reported row upwards, left to right; Row counts from the top.
    EXPECT_EQ(module.ChangedCells.front(), (ChangedCell{0, 20}));
    EXPECT_EQ(module.ChangedCells[41], (ChangedCell{1, 19}));
    EXPECT_EQ(module.ChangedCells.back(), (ChangedCell{39, 16}));
    EXPECT_EQ(module.CellOrigins(20, 0), (CellPoint{0, 320}));
  }
}

TEST_F(AnalyseBmpTest, IdenticalFramesCarryTheThresholdOver) {
  struct Case {
    const char* sensitivity;
    int start;
    std::vector<int> after;
  };
  const Bytes still = cellPicture(5, 6, [](int r, int c) { return 30 * r + c; });
  for (const Case& c : {Case{"Medium", 0, {40, 40, 40}}, Case{"Medium", 100, {100, 100, 100}},
                        Case{"Low", 0, {90, 140, 190}}, Case{"High", 0, {20, 20, 20}},
                        Case{"High", 100, {80, 60, 40, 20, 20}}}) {
    SCOPED_TRACE(std::string(c.sensitivity) + " from " + std::to_string(c.start));
    module.Sensitivity = c.sensitivity;
    module.ChangeThreshold = c.start;
    prime(still);
    EXPECT_EQ(module.ChangeThreshold, c.start);  // storing the first frame compares nothing
    for (int expected : c.after) {
      EXPECT_EQ(step(still), 0);
      EXPECT_EQ(module.sweepThreshold(), std::nullopt);
      EXPECT_EQ(module.ChangeThreshold, expected);
    }
  }
}

TEST_F(AnalyseBmpTest, ThresholdFloorComesBeforeTheSensitivity) {
  struct Case {
    const char* sensitivity;
    std::vector<int> a, b;
    int sweep, threshold, reported;
  };
  // 600 cells differing by 10 and 600 by 12 sweep to t = 10; by 50 and by 120, to t = 50.
  const auto grid = [](int low, int high) {
    std::vector<int> v(1200);
    for (int i = 0; i < 1200; ++i) v[i] = i < 600 ? low : high;
    return v;
  };
  const std::vector<int> zero(1200, 0);
  for (const Case& c :
       {Case{"Medium", zero, grid(10, 12), 10, 40, 0}, Case{"High", zero, grid(10, 12), 10, 20, 0},
        Case{"Medium", zero, grid(50, 120), 50, 50, 600},
        Case{"High", zero, grid(50, 120), 50, 30, 1040},
        Case{"Low", zero, grid(50, 120), 50, 100, 600}}) {
    SCOPED_TRACE(c.sensitivity);
    module.Sensitivity = c.sensitivity;
    EXPECT_EQ(compareMeans(40, 30, c.a, c.b), c.reported);
    EXPECT_EQ(module.sweepThreshold(), c.sweep);
    EXPECT_EQ(module.ChangeThreshold, c.threshold);
  }
}

TEST_F(AnalyseBmpTest, EqualScoresKeepTheLowestT) {
  // 10 cells each at 0, 100 and 200: t = 0 and t = 100 both score 150^2 x 10 x 20.
  std::vector<int> b(30, 0);
  for (int i = 10; i < 20; ++i) b[i] = 100;
  for (int i = 20; i < 30; ++i) b[i] = 200;
  EXPECT_EQ(compareMeans(5, 6, std::vector<int>(30, 0), b), 10);  // rows r = 4, 5 hold 200
  EXPECT_EQ(module.sweepThreshold(), 0);
  EXPECT_EQ(module.ChangeThreshold, 40);
}

TEST_F(AnalyseBmpTest, DifferenceEqualToTheThresholdIsNoChange) {
  // 1,000 cells at 0, 100 at 40 and 100 at 41: the sweep scores best at t = 0, so 40 stands.
  std::vector<int> b(1200, 0);
  for (int i = 400; i < 500; ++i) b[i] = 40;
  for (int i = 500; i < 600; ++i) b[i] = 41;
  EXPECT_EQ(compareMeans(40, 30, std::vector<int>(1200, 0), b), 100);
  EXPECT_EQ(module.ChangeThreshold, 40);
  EXPECT_EQ(module.ChangedCells.front(), (ChangedCell{20, 18}));  // cell 500: r 12, c 20
}

TEST_F(AnalyseBmpTest, BottomFourRowsCountInTheHistogramButAreNeverReported) {
  const auto changedRows = [](int from, int to) {
    return cellPicture(40, 30, [=](int r, int) { return r >= from && r < to ? 200 : 50; });
  };
  prime(changedRows(0, 0));
  EXPECT_EQ(step(changedRows(0, 4)), 0);
  EXPECT_EQ(module.sweepThreshold(), 0);
  EXPECT_EQ(step(changedRows(0, 5)), 40);  // against the frame before: only row r = 4 changed
  EXPECT_EQ(module.ChangedCells.front(), (ChangedCell{0, 26}));
}

TEST_F(AnalyseBmpTest, PictureOfFourCellRowsReportsNothingAndFiveReportTheTopRow) {
  prime(cellPicture(10, 4, [](int, int) { return 0; }));
  EXPECT_EQ(step(cellPicture(10, 4, [](int, int c) { return c < 5 ? 255 : 0; })), 0);

  prime(cellPicture(10, 5, [](int, int) { return 0; }));
  EXPECT_EQ(step(cellPicture(10, 5, [](int r, int c) { return r == 4 && c < 5 ? 255 : 0; })), 5);
  EXPECT_EQ(module.ChangedCells.back(), (ChangedCell{4, 1}));
  EXPECT_EQ(module.CellOrigins(1, 4), (CellPoint{64, 16}));
}

TEST_F(AnalyseBmpTest, BufferFlagsAndPhasesDecideWhatIsStoredAndCompared) {
  const Bytes dark = cellPicture(40, 30, [](int, int) { return 0; });
  const Bytes light = cellPicture(40, 30, [](int r, int) { return r < 15 ? 255 : 0; });
  struct Case {
    Boolean intoA, intoB, phaseA, phaseB;
    bool storedInA, storedInB;
    int reported;
  };
  for (const Case& c : {
           Case{kTrue, kFalse, kTrue, kTrue, true, false, 0},
           Case{kTrue, kFalse, kFalse, kTrue, true, false, 440},
           Case{kTrue, kFalse, kTrue, kFalse, true, false, 0},
           Case{kTrue, kFalse, kFalse, kFalse, true, false, 0},
           Case{kFalse, kTrue, kTrue, kTrue, false, true, 440},
           Case{kFalse, kTrue, kFalse, kFalse, false, true, 440},
           Case{kTrue, kTrue, kFalse, kTrue, false, false, 0},
           Case{kFalse, kFalse, kTrue, kFalse, false, false, 0},
           Case{1, kFalse, kFalse, 1, true, false, 440},  // any value but 0 is True
       }) {
    SCOPED_TRACE(::testing::Message() << c.intoA << c.intoB << c.phaseA << c.phaseB);
    frame(dark, kTrue, kFalse, kTrue, kTrue);
    frame(dark, kFalse, kTrue, kTrue, kFalse);
    EXPECT_EQ(frame(light, c.intoA, c.intoB, c.phaseA, c.phaseB), c.reported);
    EXPECT_EQ(module.CellMeansA[0] == 255, c.storedInA);
    EXPECT_EQ(module.CellMeansB[0] == 255, c.storedInB);
  }
}

TEST_F(AnalyseBmpTest, RefusedBitmapsSayWhyAndLeaveEverythingAsItWas) {
  const Bytes good = cellPicture(40, 30, [](int r, int c) { return r + c; });
  const auto with = [&](std::size_t at, std::vector<std::uint8_t> bytes) {
    Bytes b = good;
    std::copy(bytes.begin(), bytes.end(), b.begin() + static_cast<std::ptrdiff_t>(at));
    return b;
  };
  const auto grey = [](int, int) -> Bgr { return {9, 9, 9}; };
  Bytes cut = good;
  cut.pop_back();
  struct Case {
    const char* name;
    std::optional<Bytes> bitmap;  // nullopt: a frame without a picture
    BitmapRefusal refusal;
  };
  for (const Case& c : {
           Case{"undecodable", std::nullopt, BitmapRefusal::NotBmp},
           Case{"empty", Bytes{}, BitmapRefusal::NotBmp},
           Case{"no BM", with(0, {'M', 'B'}), BitmapRefusal::NotBmp},
           Case{"only BM", Bytes{'B', 'M'}, BitmapRefusal::Not24Bit},
           Case{"32 bit", with(28, {32, 0}), BitmapRefusal::Not24Bit},
           Case{"24 bit in the high byte", with(28, {24, 1}), BitmapRefusal::Not24Bit},
           Case{"palette count", with(46, {0, 1, 0, 0}), BitmapRefusal::Silent},
           Case{"width 0", makeBitmap({0, 16}, grey), BitmapRefusal::Silent},
           Case{"negative height", with(22, {0xE2, 0xFF, 0xFF, 0xFF}), BitmapRefusal::Silent},
           Case{"negative width", with(18, {0x80, 0xFD, 0xFF, 0xFF}), BitmapRefusal::Silent},
           Case{"huge in a tiny file", with(18, {0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 0x7F}),
                BitmapRefusal::Silent},
           Case{"one byte short", cut, BitmapRefusal::Silent},
       }) {
    SCOPED_TRACE(c.name);
    prime(good);
    step(cellPicture(40, 30, [](int r, int) { return r < 10 ? 0 : 200; }));
    ASSERT_GT(module.ChangedCellCount, 0);
    const AnalyseBMP& m = module;
    const auto meansA = m.CellMeansA, meansB = m.CellMeansB;
    const auto luma = m.LumaPixels();
    const auto rows = m.CellRows, columns = m.CellColumns, pixels = m.PixelCount;
    const auto threshold = m.ChangeThreshold;

    EXPECT_EQ(step(c.bitmap), 0);
    EXPECT_EQ(refusal, c.refusal);
    EXPECT_TRUE(m.ChangedCells.empty());
    EXPECT_EQ(m.CellMeansA, meansA);
    EXPECT_EQ(m.CellMeansB, meansB);
    EXPECT_EQ(m.LumaPixels(), luma);
    EXPECT_EQ(m.CellRows, rows);
    EXPECT_EQ(m.CellColumns, columns);
    EXPECT_EQ(m.PixelCount, pixels);
    EXPECT_EQ(m.ChangeThreshold, threshold);
  }
  // The caller shows the old module's boxes.
  EXPECT_EQ(refusalBox(BitmapRefusal::NotBmp),
            MessageBoxRequest::critical("It is not BMP file. ", "Warning"));
  EXPECT_EQ(refusalBox(BitmapRefusal::Not24Bit),
            MessageBoxRequest::critical("The BMP file is not 24 bit! ", "Warning"));
  EXPECT_EQ(refusalBox(BitmapRefusal::Silent), std::nullopt);
  EXPECT_EQ(refusalBox(BitmapRefusal::None), std::nullopt);
}

TEST_F(AnalyseBmpTest, CellSumsAFrameCarriesAreTakenAsTheyAre) {
  // Sums made while decoding count for their cell size only; another size is summed anew.
  const Bytes grey = cellPicture(4, 6, [](int r, int c) { return 10 * r + c; });
  clip::FramePtr frame = frameOf(grey);
  frame->cellSize = 16;
  frame->cellSums.assign(24, 256.0f * 7);
  module.StoreInA = kTrue;
  module.StoreInB = kFalse;
  module.AnalyseFrame(frame, 16, kTrue, kTrue);
  EXPECT_EQ(module.CellMeansA, std::vector<std::int32_t>(24, 7));
  module.AnalyseFrame(frame, 32, kTrue, kTrue);
  // A 32-pixel cell holds four 16-pixel ones and the divisor stays 256: its mean is their sum.
  EXPECT_EQ(module.CellMeansA, (std::vector<std::int32_t>{22, 30, 102, 110, 182, 190}));
}

TEST_F(AnalyseBmpTest, FullHdFrameIsComparedLikeAnyOther) {
  const auto scene = [](bool moved) {
    return makeBitmap({1920, 1080}, [=](int x, int y) -> Bgr {
      const bool box = moved && x >= 960 && x < 992 && y >= 640 && y < 656;
      const auto v = static_cast<std::uint8_t>(box ? 250 : (x ^ y) & 63);
      return {v, v, v};
    });
  };
  prime(scene(false));
  EXPECT_EQ(step(scene(true)), 2);
  EXPECT_EQ(module.CellRows, 67);
  EXPECT_EQ(module.CellColumns, 120);
  EXPECT_EQ(module.ChangedCells[0], (ChangedCell{60, 27}));  // r = 40
  EXPECT_EQ(module.ChangedCells[1], (ChangedCell{61, 27}));
}

TEST_F(AnalyseBmpTest, HistogramBinsHoldMoreThan16BitsOfCells) {
  std::vector<int> b(200000, 0);
  for (int i = 150000; i < 200000; ++i) b[i] = 60;
  EXPECT_EQ(compareMeans(500, 400, std::vector<int>(200000, 0), b), 50000);
  EXPECT_EQ(module.sweepThreshold(), 0);
  EXPECT_EQ(module.ChangeThreshold, 40);
}

TEST_F(AnalyseBmpTest, ChangeThresholdOverflowsAfterTooManyLowComparisons) {
  module.Sensitivity = "Low";
  module.ChangeThreshold = 32720;
  EXPECT_EQ(
      errorNumberOf([&] { compareMeans(5, 6, std::vector<int>(30, 7), std::vector<int>(30, 7)); }),
      6);
  EXPECT_EQ(module.ChangeThreshold, 32720);
}

TEST_F(AnalyseBmpTest, CellSizeMustBePositive) {
  const clip::FramePtr frame = frameOf(twoHundredCellsAt(100));
  module.StoreInA = kTrue;
  EXPECT_EQ(errorNumberOf([&] { module.AnalyseFrame(frame, 0, kTrue, kTrue); }), 11);
  EXPECT_EQ(errorNumberOf([&] { module.AnalyseFrame(frame, -16, kTrue, kTrue); }), 9);
}

TEST_F(AnalyseBmpTest, FramesOfAnotherSizeAreNotComparedWithTheBufferBefore) {
  prime(cellPicture(40, 30, [](int, int) { return 0; }));
  EXPECT_EQ(step(cellPicture(20, 30, [](int, int) { return 255; })), 0);
  EXPECT_EQ(module.sweepThreshold(), std::nullopt);
}

}  // namespace
}  // namespace search
