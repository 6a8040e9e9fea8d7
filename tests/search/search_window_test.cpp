// The motion search as the window runs it: clicks on the search buttons, nested clicks that
// arrive at a chosen yield, the frame it ends on, the marks on the picture and the scratch files
// it leaves.

#include <filesystem>

#include "clip/clip_writer.h"
#include "search/core/marks.h"
#include "search/driver/tool_search.h"
#include "tests/support/window_fixture.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/program_folder.h"

namespace {

using search::Direction;
using search::SearchOutcome;
using testing_support::readBytes;
using testing_support::Square;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;
using Ended = SearchOutcome::Ended;

// A square that comes on frame 4 and goes on frame 7, well inside the default area.
const std::vector<Square> kComesAndGoes = {{320, 160, 48, 4, 7}};

class SearchWindowTest : public testing_support::WindowFixture {
 protected:
  window::Form1& openScene(int frames, const std::vector<Square>& squares) {
    start();
    open(sceneClip("scene.HGV", frames, squares));
    form().searchDriver().onFinished = [this](const SearchOutcome& o) { m_outcomes.push_back(o); };
    return form();
  }
  // Runs `action` at the `n`th yield from now on.
  void atYield(int n, std::function<void()> action) {
    m_host.host.onYield = [this, n, action, count = 0]() mutable {
      if (++count == n) action();
    };
  }
  int yieldsOfNextSearch(Direction direction) {
    int count = 0;
    m_host.host.onYield = [&count] { ++count; };
    direction == Direction::Forward ? form().imgRightSearch_Click() : form().imgLeftSearch_Click();
    m_host.host.onYield = {};
    return count;
  }
  // The search is at rest with frame `index` current and on show (plain), CurrentFrame `mark`.
  void expectRestingOn(int index, int mark) {
    EXPECT_EQ(state().CurrentFrame, Long(mark));
    EXPECT_EQ(clipModule().ExtractedFrame, toolkit::Long(index));
    EXPECT_EQ(form().lblImageID->Caption(), std::to_string(index + 1));
    EXPECT_EQ(form().SearchingForward, kFalse);
    EXPECT_EQ(form().SearchingBack, kFalse);
    EXPECT_EQ(form().searchState.SearchPhaseA, kTrue);
    EXPECT_EQ(form().searchState.SearchPhaseB, kTrue);
    EXPECT_EQ(form().imgRightSearch->MousePointer, toolkit::Pointer::Default);
    EXPECT_EQ(form().imgLeftSearch->MousePointer, toolkit::Pointer::Default);
  }
  // What a result on frame `index` must leave: the frame with blue outlines on its own pixels in
  // temp.bmp, on show in the view, while the scratch JPEG stays the current frame's.
  void expectMarkedResult(int index, const SearchOutcome& outcome) {
    ASSERT_EQ(outcome.ended, Ended::Found);
    ASSERT_FALSE(outcome.marked.empty());
    auto picture = *toolkit::decodeJpeg(jpegOf(index));
    const auto plain = picture;
    search::drawMarks(picture, outcome.marked);
    const auto saved = toolkit::decodeBmp(readBytes(file("temp.bmp")));
    ASSERT_TRUE(saved.has_value());
    EXPECT_TRUE(saved->pixels == picture.pixels) << "the marks and nothing else";
    const auto& corner = outcome.marked.front();
    const auto at = [&](const toolkit::RgbImage& image, int x, int y) {
      const auto* p = &image.pixels[(static_cast<std::size_t>(y) * image.width + x) * 3];
      return std::array<int, 3>{p[0], p[1], p[2]};
    };
    const int x = corner.X.value(), y = corner.Y.value();
    EXPECT_EQ(at(*saved, x, y), (std::array<int, 3>{0, 0, 255}));
    EXPECT_EQ(at(*saved, x + 8, y + 8), (std::array<int, 3>{0, 0, 255}));
    EXPECT_EQ(at(*saved, x + 4, y + 4), at(plain, x + 4, y + 4)) << "an outline, not filled";

    EXPECT_EQ(form().MarkedPictureShowing, kTrue);
    EXPECT_EQ(form().MarkedPicturePath, file("temp.bmp"));
    EXPECT_EQ(form().FramePicturePath, scratch());
    EXPECT_EQ(state().CurrentFrameFile, scratch());
    const auto bytes = readBytes(scratch());
    EXPECT_TRUE(bytes.size() >= jpegOf(index).size() &&
                std::equal(jpegOf(index).begin(), jpegOf(index).end(), bytes.begin()))
        << "the scratch file begins with the frame's own bytes";
    EXPECT_EQ(visibleView(), markedFit(*saved));
  }
  QImage markedFit(const toolkit::RgbImage& marked) {
    const int width = toolkit::twipsToPixels(form().picBase->widthTwips());
    const int height = toolkit::twipsToPixels(form().picBase->heightTwips());
    return testing_support::stretchReference(marked, state().PictureWidth.value() / 15.0,
                                             state().PictureHeight.value() / 15.0, width, height,
                                             QRect(0, 0, width, height));
  }
  // Every mark hangs from a cell the square touches, give or take the cell the point stands for.
  static void expectOnSquare(const SearchOutcome& outcome, const Square& s) {
    for (const auto& p : outcome.marked) {
      EXPECT_GT(p.X.value(), s.x - 16);
      EXPECT_LE(p.X.value(), s.x + s.size + 16);
      EXPECT_GT(p.Y.value(), s.y - 16);
      EXPECT_LE(p.Y.value(), s.y + s.size + 16);
    }
  }

  void expectStoppedBy(toolkit::ImageControl*(window::Form1::*button));

  std::vector<SearchOutcome> m_outcomes;
};

TEST_F(SearchWindowTest, ForwardFindsTheFrameWhereSomethingCameAndGoesOnFromItNextTime) {
  window::Form1& f = openScene(10, kComesAndGoes);
  EXPECT_EQ(yieldsOfNextSearch(Direction::Forward), 2 + 3) << "two before priming, one a pass";
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].comparisons, 4);
  expectRestingOn(4, 4);
  expectMarkedResult(4, m_outcomes[0]);
  expectOnSquare(m_outcomes[0], kComesAndGoes[0]);
  EXPECT_TRUE(boxes().empty());

  // Again from the result: frame 4 is stored first, so the next change is where the square goes.
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].comparisons, 3);
  expectRestingOn(7, 7);
  expectMarkedResult(7, m_outcomes[1]);

  // Then nothing changes up to the last frame: the run ends there, without a mark or a box.
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 3u);
  EXPECT_EQ(m_outcomes[2].ended, Ended::EndOfRun);
  EXPECT_EQ(m_outcomes[2].comparisons, 2);
  expectRestingOn(9, -1);
  EXPECT_TRUE(f.MarkedPicturePath.empty()) << "the end of the run pauses, which ends the result";
  EXPECT_EQ(f.MarkedPictureShowing, kFalse);
  EXPECT_EQ(visibleView(), expectedFit(9));
  EXPECT_TRUE(boxes().empty());
}

TEST_F(SearchWindowTest, AResultOnTheLastComparisonAndTheSearchFromTheEndMarkAfterIt) {
  window::Form1& f = openScene(6, {{320, 160, 48, 5, 6}});
  // The step onto the last frame sets the end, and its comparison still gives the result.
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].comparisons, 5);
  expectRestingOn(5, -1);
  expectMarkedResult(5, m_outcomes[0]);
  // From the end mark the first step goes to frame 0, where the square is gone.
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].comparisons, 1);
  expectRestingOn(0, 0);
  expectMarkedResult(0, m_outcomes[1]);
}

TEST_F(SearchWindowTest, BackwardFindsTheFrameWhereTheSquareStillStood) {
  window::Form1& f = openScene(10, kComesAndGoes);
  for (int i = 0; i < 9; ++i) f.imgRightStep_Click();
  f.imgLeftSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].direction, Direction::Back);
  EXPECT_EQ(m_outcomes[0].comparisons, 3);
  expectRestingOn(6, 6);
  expectMarkedResult(6, m_outcomes[0]);
  expectOnSquare(m_outcomes[0], kComesAndGoes[0]);
}

TEST_F(SearchWindowTest, BackwardPassesFrameZeroAndEndsOnTheLastFrame) {
  window::Form1& f = openScene(6, {});
  for (int i = 0; i < 3; ++i) f.imgRightStep_Click();
  f.imgLeftSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::EndOfRun);
  EXPECT_EQ(m_outcomes[0].comparisons, 4) << "2, 1, 0, then frame 0 against the last frame";
  expectRestingOn(5, 5);
  EXPECT_EQ(visibleView(), expectedFit(5));

  // Started on frame 0, it ends after one step.
  f.imgBegin_Click();
  f.imgLeftSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].comparisons, 1);
  expectRestingOn(5, 5);
}

TEST_F(SearchWindowTest, ChangesOutsideTheAreaAreWalkedPast) {
  window::Form1& f = openScene(8, {{40, 40, 48, 2, 8}, {400, 200, 48, 5, 8}});
  // The first square's cells lie left of and above the area, the second inside it.
  form().DrawRectangle.SearchArea = {200, 120, 600, 400};
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].comparisons, 5);
  expectRestingOn(5, 5);
  expectMarkedResult(5, m_outcomes[0]);
  expectOnSquare(m_outcomes[0], {400, 200, 48, 5, 8});
}

TEST_F(SearchWindowTest, TheEdgesOfTheAreaBelongToIt) {
  // One cell changes: the square fills exactly the cell whose corner is (320, 160)... wherever
  // that corner lies, an area that ends on it takes it, one pixel less does not.
  window::Form1& f = openScene(3, {{320, 160, 16, 1, 3}});
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  ASSERT_EQ(m_outcomes[0].ended, Ended::Found);
  int left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
  for (const auto& p : m_outcomes[0].marked) {
    left = std::min(left, p.X.value());
    right = std::max(right, p.X.value());
    top = std::min(top, p.Y.value());
    bottom = std::max(bottom, p.Y.value());
  }
  const std::size_t all = m_outcomes[0].marked.size();

  f.imgBegin_Click();
  form().DrawRectangle.SearchArea = {left, top, right, bottom};
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].marked.size(), all);

  f.imgBegin_Click();
  form().DrawRectangle.SearchArea = {left + 1, top + 1, right - 1, bottom - 1};
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 3u);
  EXPECT_LT(m_outcomes[2].marked.size(), all);
}

// The click arrives in the third yield, the first of the pass after priming, whose stop check
// sees it: one comparison made.
void SearchWindowTest::expectStoppedBy(toolkit::ImageControl*(window::Form1::*button)) {
  window::Form1& f = openScene(10, {});
  atYield(3, [&f, button] { toolkit::testing::postClick(*(f.*button)); });
  f.imgRightSearch_Click();
  m_host.host.onYield = {};
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::Stopped);
  EXPECT_EQ(m_outcomes[0].comparisons, 1);
  expectRestingOn(1, 1);
  EXPECT_EQ(visibleView(), expectedFit(1)) << "the stop shows the frame reached";
  EXPECT_EQ(f.SearchStopRequested, kTrue) << "stays set until the next search starts";
  EXPECT_FALSE(std::filesystem::exists(file("temp.bmp")));
  EXPECT_FALSE(f.tmrControlDisplay->running());
}

TEST_F(SearchWindowTest, ASecondClickStopsAtTheNextStopCheck) {
  expectStoppedBy(&window::Form1::imgRightSearch);
}

TEST_F(SearchWindowTest, PauseStopsAsASecondClickDoes) {
  expectStoppedBy(&window::Form1::imgPausePlay);
}

TEST_F(SearchWindowTest, TheOtherButtonTurnsTheSearchAround) {
  window::Form1& f = openScene(10, kComesAndGoes);
  for (int i = 0; i < 2; ++i) f.imgRightStep_Click();
  // Backward from frame 2, turned at the first stop check on frame 1: then forward from there,
  // primed anew, so that the square's coming on frame 4 is the result.
  atYield(3, [&f] { toolkit::testing::postClick(*f.imgRightSearch); });
  f.imgLeftSearch_Click();
  m_host.host.onYield = {};
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[0].direction, Direction::Back);
  EXPECT_EQ(m_outcomes[0].ended, Ended::Stopped);
  EXPECT_EQ(m_outcomes[0].comparisons, 1);
  EXPECT_EQ(m_outcomes[1].direction, Direction::Forward);
  EXPECT_EQ(m_outcomes[1].comparisons, 3) << "from frame 1, where the back search stood";
  expectRestingOn(4, 4);
  expectMarkedResult(4, m_outcomes[1]);
}

TEST_F(SearchWindowTest, OtherHandlersKeepQuietDuringASearch) {
  window::Form1& f = openScene(10, {});
  const toolkit::Long displayWidth = clipModule().DisplayWidth;
  atYield(3, [this, &f] {
    f.imgRightStep_Click();
    f.imgEnd_Click();
    f.imgZoomIn_Click();
    f.imgRightPlay_Click();
    f.imgSetting_Click();
    m_host.dialogs.answer(file("nothing.HGV"));
    f.imgFile_Click();
  });
  f.imgRightSearch_Click();
  m_host.host.onYield = {};
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::EndOfRun);
  EXPECT_EQ(m_outcomes[0].comparisons, 9);
  expectRestingOn(9, -1);
  EXPECT_EQ(clipModule().DisplayWidth, displayWidth) << "no zoom";
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_FALSE(m_windows->frmSetting.loaded());
  EXPECT_TRUE(boxes().empty());
}

TEST_F(SearchWindowTest, ClosingDuringASearchEndsItAndRemovesTheScratchFiles) {
  window::Form1& f = openScene(10, {});
  bool hiddenAtOnce = false;
  atYield(4, [&f, &hiddenAtOnce] {
    f.window()->close();
    hiddenAtOnce = !f.window()->isVisible();
  });
  f.imgRightSearch_Click();
  m_host.host.onYield = {};
  EXPECT_TRUE(hiddenAtOnce);
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::Stopped);
  EXPECT_EQ(m_outcomes[0].comparisons, 2);
  EXPECT_FALSE(f.loaded());
  EXPECT_EQ(f.CloseRequested, kFalse);
  for (const char* name : {"Temp.jpg", "1.bmp", "temp.bmp"}) {
    EXPECT_FALSE(std::filesystem::exists(file(name))) << name;
  }
}

TEST_F(SearchWindowTest, AClipOfOneFrameStopsPlaybackAndStartsNoSearch) {
  window::Form1& f = openScene(1, {});
  f.tmrControlDisplay->Enabled = true;
  int yields = 0;
  m_host.host.onYield = [&yields] { ++yields; };
  f.imgRightSearch_Click();
  f.imgLeftSearch_Click();
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_EQ(yields, 0);
  EXPECT_TRUE(m_outcomes.empty());
}

TEST_F(SearchWindowTest, TheClickOnThePictureTurnsBetweenMarkedAndPlain) {
  window::Form1& f = openScene(10, kComesAndGoes);
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  const QImage marked = visibleView();
  const QPointF middle(100, 100);
  toolkit::testing::press(*f.picShowAVI, middle);
  toolkit::testing::release(*f.picShowAVI, middle);
  EXPECT_EQ(f.MarkedPictureShowing, kFalse);
  EXPECT_EQ(state().CurrentFrameFile, scratch());
  EXPECT_EQ(visibleView(), expectedFit(4));
  toolkit::testing::press(*f.picShowAVI, middle);
  toolkit::testing::release(*f.picShowAVI, middle);
  EXPECT_EQ(f.MarkedPictureShowing, kTrue);
  EXPECT_EQ(state().CurrentFrameFile, file("temp.bmp"));
  EXPECT_EQ(visibleView(), marked);

  // A search from the marked picture primes from the frame's JPEG: it finds where the square
  // goes, exactly as from the plain frame, and the converter never sees the bitmap.
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].comparisons, 3);
  expectRestingOn(7, 7);
  expectMarkedResult(7, m_outcomes[1]);
  EXPECT_TRUE(boxes().empty());

  // A step ends the result: the picture takes clicks without turning anything.
  f.imgRightStep_Click();
  toolkit::testing::press(*f.picShowAVI, middle);
  toolkit::testing::release(*f.picShowAVI, middle);
  EXPECT_EQ(state().CurrentFrameFile, scratch());
  EXPECT_EQ(visibleView(), expectedFit(8));
}

TEST_F(SearchWindowTest, AClipThatGoesAwayEndsTheSearchWithOneBox) {
  window::Form1& f = openScene(10, {});
  atYield(4, [this] { std::filesystem::remove(state().ClipFileName); });
  f.imgRightSearch_Click();
  m_host.host.onYield = {};
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::Error);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "imgRightSearch_Click\r\nError:53\r\nFile not found");
  EXPECT_EQ(boxes()[0].icon, toolkit::MsgIcon::Critical);
  EXPECT_EQ(f.SearchingForward, kFalse);
  EXPECT_EQ(form().searchState.SearchPhaseA, kTrue);
  EXPECT_EQ(form().searchState.SearchPhaseB, kTrue);
  EXPECT_EQ(f.imgRightSearch->MousePointer, toolkit::Pointer::Default);
  // The program goes on: another clip opens and searches.
  open(sceneClip("other.HGV", 4, kComesAndGoes));
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].ended, Ended::EndOfRun);
}

TEST_F(SearchWindowTest, TheOverflowOfALowThresholdEndsTheSearchWithOneBox) {
  window::Form1& f = openScene(10, {});
  form().AnalyseBMP.Sensitivity = "Low";
  form().AnalyseBMP.ChangeThreshold = 32767 - 120;
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::Error);
  EXPECT_EQ(m_outcomes[0].comparisons, 2) << "32697, 32747, and the third is past 32767";
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "imgRightSearch_Click\r\nError:6\r\nOverflow");
  EXPECT_EQ(f.SearchingForward, kFalse);
  EXPECT_EQ(state().CurrentFrame, Long(3));
  // Back at a threshold that fits, the search walks on from where it stood.
  form().AnalyseBMP.ChangeThreshold = 0;
  f.imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 2u);
  EXPECT_EQ(m_outcomes[1].ended, Ended::EndOfRun);
  EXPECT_EQ(m_outcomes[1].comparisons, 6);
}

TEST_F(SearchWindowTest, AnUndecodableFrameIsReportedOnceAndWalkedPast) {
  start();
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int i = 0; i < 6; ++i) jpegs.push_back(testing_support::sceneJpeg(640, 480, {}, i));
  jpegs[3] = std::vector<std::uint8_t>(4000, 0x5A);
  open(writeClip("broken.HGV", jpegs, 640, 480));
  form().searchDriver().onFinished = [this](const SearchOutcome& o) { m_outcomes.push_back(o); };
  form().imgRightSearch_Click();
  ASSERT_EQ(m_outcomes.size(), 1u);
  EXPECT_EQ(m_outcomes[0].ended, Ended::EndOfRun);
  EXPECT_EQ(m_outcomes[0].comparisons, 5);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0], toolkit::MessageBoxRequest::critical("It is not BMP file. ", "Warning"));
  expectRestingOn(5, -1);
}

// Nobody can look at the scratch files while a search walks: they are written when it ends, and
// then hold what writing every frame would have left.
TEST_F(SearchWindowTest, TheScratchFilesWaitForTheEndOfTheSearch) {
  window::Form1& f = openScene(10, {});
  const std::vector<std::uint8_t> atStart = readBytes(scratch());
  std::vector<std::uint8_t> midway;
  atYield(6, [&] { midway = readBytes(scratch()); });
  f.imgRightSearch_Click();
  m_host.host.onYield = {};
  EXPECT_EQ(midway, atStart) << "frame 0 while the search is on frame 3";
  const std::vector<std::uint8_t> temp = readBytes(scratch());
  EXPECT_TRUE(std::equal(jpegOf(9).begin(), jpegOf(9).end(), temp.begin()));
  ASSERT_TRUE(toolkit::JPG_TO_BMP(m_host.files, scratch(), file("converted.bmp"), 0, 0));
  EXPECT_EQ(readBytes(file("1.bmp")), readBytes(file("converted.bmp")))
      << "1.bmp is what the converter makes of Temp.jpg";
}

// The window and hgvtool run one search procedure: from the same frame they end on the same
// frame with the same marks, threshold and marked picture.
TEST_F(SearchWindowTest, TheToolFindsWhatTheWindowFinds) {
  const std::vector<Square> squares = {{320, 160, 48, 3, 5}, {96, 96, 32, 6, 9}};
  window::Form1& f = openScene(12, squares);
  f.imgRightStep_Click();
  std::vector<std::vector<std::uint8_t>> windowMarked;
  std::vector<int> windowThresholds;
  for (int i = 0; i < 6; ++i) {
    f.imgRightSearch_Click();
    windowThresholds.push_back(form().AnalyseBMP.ChangeThreshold.value());
    windowMarked.push_back(m_outcomes.back().ended == Ended::Found ? readBytes(file("temp.bmp"))
                                                                   : std::vector<std::uint8_t>{});
    if (m_outcomes.back().ended != Ended::Found) break;
  }
  std::ostringstream err;
  search::ToolSession tool(err);
  ASSERT_TRUE(tool.openClip(state().ClipFileName));
  search::SearchOptions options;
  options.from = 1;
  options.all = true;
  options.area = form().DrawRectangle.SearchArea;
  options.sensitivity = form().AnalyseBMP.Sensitivity;
  options.scratch = search::ScratchWrites::AfterEachSearch;
  std::vector<search::SearchRecord> records;
  std::vector<std::vector<std::uint8_t>> toolMarked;
  const std::string toolMarks = toolkit::inFolder(tool.platform().programFolder, "temp.bmp");
  ASSERT_TRUE(search::runSearches(tool, options, [&](const search::SearchRecord& r) {
    records.push_back(r);
    toolMarked.push_back(r.outcome.ended == Ended::Found ? readBytes(toolMarks)
                                                         : std::vector<std::uint8_t>{});
  }));
  ASSERT_EQ(records.size(), m_outcomes.size());
  ASSERT_GE(records.size(), 4u) << "the square comes, goes, the second comes, goes, run ends";
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(records[i].outcome.ended, m_outcomes[i].ended) << i;
    EXPECT_EQ(records[i].outcome.comparisons, m_outcomes[i].comparisons) << i;
    EXPECT_EQ(records[i].outcome.marked, m_outcomes[i].marked) << i;
    EXPECT_EQ(records[i].changeThreshold, windowThresholds[i]) << i;
    EXPECT_TRUE(toolMarked[i] == windowMarked[i]) << "temp.bmp of search " << i;
  }
  EXPECT_EQ(records.back().currentFrame, state().CurrentFrame.value());
  EXPECT_EQ(records.back().frame, clipModule().ExtractedFrame.value());
}

}  // namespace

namespace {

// One user's session of searches, with stops and turns delivered at chosen yields, and all it
// leaves after each click: outcomes, thresholds, the frame on show and the scratch files.
struct SessionRecord {
  std::vector<std::string> steps;
  std::size_t taken = 0;
};

std::string describe(const SearchOutcome& o) {
  std::string s = std::to_string(static_cast<int>(o.direction)) + "/" +
                  std::to_string(static_cast<int>(o.ended)) + "/" + std::to_string(o.comparisons) +
                  "/" + std::to_string(o.reachedEnd) + ":";
  for (const auto& p : o.marked)
    s += std::to_string(p.X.value()) + "," + std::to_string(p.Y.value()) + ";";
  return s;
}

SessionRecord recordSession(int threads) {
  testing_support::TempDir dir;
  toolkit::testing::TestHost host(dir.path());
  review::Session session(host.platform);
  window::Windows windows(host.host, session);
  window::Form1& f = windows.Form1;
  f.setDecodeThreads(threads);
  f.Show();
  std::vector<std::vector<std::uint8_t>> jpegs;
  const std::vector<Square> squares = {
      {320, 160, 48, 5, 9}, {96, 96, 32, 14, 20}, {420, 220, 40, 26, 30}};
  for (int i = 0; i < 34; ++i) jpegs.push_back(testing_support::sceneJpeg(640, 480, squares, i));
  // "Temp.jpg" keeps the tail of a longer frame: bytes after a frame's end marker, which no
  // decoder reads, and a cut-off frame, which the decoder reads on into that tail.
  jpegs[16].insert(jpegs[16].end(), 3000, 0x55);
  jpegs[17].resize(jpegs[17].size() / 2);
  const std::string path = dir.file("scene.HGV");
  clip::writeClip(host.files, path, 640, 480, jpegs);
  host.dialogs.answer(path);
  f.imgFile_Click();

  SessionRecord record;
  std::vector<SearchOutcome> outcomes;
  f.searchDriver().onFinished = [&](const SearchOutcome& o) { outcomes.push_back(o); };
  const auto note = [&] {
    std::string s;
    for (const auto& o : outcomes) s += describe(o) + " ";
    outcomes.clear();
    s += "T" + std::to_string(f.AnalyseBMP.ChangeThreshold.value()) + " F" +
         std::to_string(session.OpenSaveFile.CurrentFrame.value()) + " L" +
         f.lblImageID->Caption() + " B" + std::to_string(f.picBlock->Left());
    for (const char* name : {"Temp.jpg", "1.bmp", "temp.bmp"}) {
      const std::string file = dir.file(name);
      const auto bytes =
          std::filesystem::exists(file) ? readBytes(file) : std::vector<std::uint8_t>{};
      s += std::string(" ") + name + "=" +
           std::to_string(std::hash<std::string>{}(std::string(bytes.begin(), bytes.end())));
    }
    record.steps.push_back(s);
  };
  const auto at = [&](int n, std::function<void()> action) {
    host.host.onYield = [n, action, count = 0]() mutable {
      if (++count == n) action();
    };
  };
  f.imgRightSearch_Click();  // the first square comes
  note();
  at(4, [&] { toolkit::testing::postClick(*f.imgPausePlay); });
  f.imgRightSearch_Click();  // paused on the way
  note();
  f.imgRightSearch_Click();  // the first square goes
  note();
  at(3, [&] { toolkit::testing::postClick(*f.imgLeftSearch); });
  f.imgRightSearch_Click();  // turned back at once
  note();
  at(6, [&] { toolkit::testing::postClick(*f.imgRightSearch); });
  f.imgLeftSearch_Click();  // turned forward later
  note();
  host.host.onYield = {};
  for (int i = 0; i < 8; ++i) {
    f.imgRightSearch_Click();
    note();
  }
  f.imgLeftSearch_Click();  // back over frame 0 to the last frame
  note();
  record.taken = f.decodeAhead() ? f.decodeAhead()->taken() : 0;
  return record;
}

}  // namespace

TEST(SearchThreadsTest, DecodingAheadFindsAndLeavesExactlyWhatOneThreadDoes) {
  toolkit::testing::ensureApplication();
  const SessionRecord one = recordSession(1);
  const SessionRecord three = recordSession(3);
  ASSERT_EQ(one.steps.size(), three.steps.size());
  for (std::size_t i = 0; i < one.steps.size(); ++i) EXPECT_EQ(one.steps[i], three.steps[i]) << i;
  EXPECT_EQ(one.taken, 0u);
  EXPECT_GT(three.taken, 0u) << "the threads did decode ahead";
}
