#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <cstdlib>
#include <vector>

#include "window/art/skin_art.h"

namespace window {
namespace {

constexpr SkinPicture kAll[] = {
    SkinPicture::Background,    SkinPicture::Icon,           SkinPicture::ImgFile,
    SkinPicture::ImgSetting,    SkinPicture::ImgSave,        SkinPicture::ImgBegin,
    SkinPicture::ImgEnd,        SkinPicture::ImgLeftStep,    SkinPicture::ImgRightStep,
    SkinPicture::ImgLeftPlay,   SkinPicture::ImgPausePlay,   SkinPicture::ImgRightPlay,
    SkinPicture::ImgLeftSearch, SkinPicture::ImgRightSearch, SkinPicture::ImgZoomOut,
    SkinPicture::ImgZoomIn,     SkinPicture::ImgCfile,       SkinPicture::ImgCsetting,
    SkinPicture::ImgCsave,      SkinPicture::ImgCbe,         SkinPicture::ImgCstep,
    SkinPicture::ImgCplay,      SkinPicture::ImgCsearch,     SkinPicture::ImgCzoom,
    SkinPicture::Img1X,         SkinPicture::Img2X,          SkinPicture::Img3X,
    SkinPicture::Img4X,         SkinPicture::Img5X,          SkinPicture::Img1XN,
    SkinPicture::Img2XN,        SkinPicture::Img3XN,         SkinPicture::Img4XN,
    SkinPicture::Img5XN,        SkinPicture::PicBlock,       SkinPicture::ImgBar,
};

struct ButtonCase {
  SkinPicture picture;
  bool green;
};

constexpr ButtonCase kButtons[] = {
    {SkinPicture::ImgFile, true},        {SkinPicture::ImgSetting, true},
    {SkinPicture::ImgSave, true},        {SkinPicture::ImgBegin, false},
    {SkinPicture::ImgEnd, false},        {SkinPicture::ImgLeftStep, false},
    {SkinPicture::ImgRightStep, false},  {SkinPicture::ImgLeftPlay, false},
    {SkinPicture::ImgPausePlay, false},  {SkinPicture::ImgRightPlay, false},
    {SkinPicture::ImgLeftSearch, false}, {SkinPicture::ImgRightSearch, false},
    {SkinPicture::ImgZoomOut, false},    {SkinPicture::ImgZoomIn, false},
};

constexpr SkinPicture kLettered[] = {
    SkinPicture::ImgCfile, SkinPicture::ImgCsetting, SkinPicture::ImgCsave,   SkinPicture::ImgCbe,
    SkinPicture::ImgCstep, SkinPicture::ImgCplay,    SkinPicture::ImgCsearch, SkinPicture::ImgCzoom,
    SkinPicture::Img1X,    SkinPicture::Img2X,       SkinPicture::Img3X,      SkinPicture::Img4X,
    SkinPicture::Img5X,    SkinPicture::Img1XN,      SkinPicture::Img2XN,     SkinPicture::Img3XN,
    SkinPicture::Img4XN,   SkinPicture::Img5XN,
};

int lightness(QRgb c) { return (qRed(c) + qGreen(c) + qBlue(c)) / 3; }
bool isDark(QRgb c) { return lightness(c) < 90; }

bool near(QRgb c, int r, int g, int b, int tolerance) {
  return std::abs(qRed(c) - r) <= tolerance && std::abs(qGreen(c) - g) <= tolerance &&
         std::abs(qBlue(c) - b) <= tolerance;
}

// The smallest rectangle around the letters' dark pixels.
QRect inkBox(const QImage& image) {
  QRect box;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (isDark(image.pixel(x, y))) box |= QRect(x, y, 1, 1);
  return box;
}

class SkinArtTest : public ::testing::Test {
 protected:
  // The background sets its wordmarks in a font, which needs a GUI application.
  static void SetUpTestSuite() {
    if (QGuiApplication::instance() == nullptr) s_app = new QGuiApplication(s_argc, s_argv);
  }
  static void TearDownTestSuite() {
    delete s_app;
    s_app = nullptr;
  }

 private:
  static inline int s_argc = 1;
  static inline char s_name[] = "window_art_test";
  static inline char* s_argv[] = {s_name, nullptr};
  static inline QGuiApplication* s_app = nullptr;
};

TEST_F(SkinArtTest, EveryPictureIsPaintedAtItsNaturalSizeAndOpaque) {
  for (SkinPicture picture : kAll) {
    SCOPED_TRACE(static_cast<int>(picture));
    const QImage image = paintSkinPicture(picture);
    EXPECT_FALSE(naturalSize(picture).isEmpty());
    EXPECT_EQ(image.size(), naturalSize(picture));
    if (picture != SkinPicture::Icon) {
      EXPECT_EQ(image.format(), QImage::Format_RGB32);
    }
  }
}

TEST_F(SkinArtTest, BackgroundDarkensFromTheTopLeftToTheBottomRight) {
  const QImage background = paintSkinPicture(SkinPicture::Background);
  // Bare ground along the diagonal, clear of the badge, the strip, the bezel and the console.
  const QPoint ground[] = {{2, 2},     {140, 70},  {140, 300}, {800, 150},
                           {828, 300}, {828, 460}, {832, 558}};
  int previous = 256;
  for (const QPoint& at : ground) {
    SCOPED_TRACE(at.x() * 1000 + at.y());
    const int now = lightness(background.pixel(at));
    EXPECT_LT(now, previous);
    previous = now;
  }
  EXPECT_GT(lightness(background.pixel(2, 2)), 230);
  EXPECT_GT(lightness(background.pixel(2, 2)) - lightness(background.pixel(832, 558)), 50);
}

TEST_F(SkinArtTest, ButtonsAndCaptionsLieOnFlatConsoleGrey) {
  // Window rows 481 to 553 and columns 33 to 801 hold the buttons and the caption strip; their
  // pictures are opaque, so the band must be exactly the grey their corners are painted in.
  const QImage background = paintSkinPicture(SkinPicture::Background);
  int off = 0;
  for (int y = 481; y <= 553; ++y)
    for (int x = 33; x <= 801; ++x)
      if (background.pixel(x, y) != kConsoleGrey) ++off;
  EXPECT_EQ(off, 0);
}

TEST_F(SkinArtTest, ButtonsAreLightSymbolsOnGreenOrCharcoalFaces) {
  for (const ButtonCase& button : kButtons) {
    SCOPED_TRACE(static_cast<int>(button.picture));
    const QImage image = paintSkinPicture(button.picture);
    const int w = image.width(), h = image.height();
    for (const QPoint corner : {QPoint(0, 0), QPoint(w - 1, 0), QPoint(0, h - 1)})
      EXPECT_EQ(image.pixel(corner), kConsoleGrey);

    // Left of the symbol, a little below the middle, where the gloss has faded out.
    const QRgb face = image.pixel(4, 27);
    const QRgb expected = button.green ? qRgb(64, 173, 10) : qRgb(88, 85, 89);
    EXPECT_TRUE(near(face, qRed(expected), qGreen(expected), qBlue(expected), 20))
        << std::hex << face;

    int light = 0;
    for (int y = 10; y < h - 10; ++y)
      for (int x = 3; x < w - 3; ++x)
        if (lightness(image.pixel(x, y)) > 225) ++light;
    EXPECT_GT(light, 25) << "no symbol";
  }
}

TEST_F(SkinArtTest, NoTwoButtonsLookAlike) {
  std::vector<QImage> seen;
  for (const ButtonCase& button : kButtons) {
    const QImage image = paintSkinPicture(button.picture);
    for (const QImage& other : seen) EXPECT_NE(image, other) << static_cast<int>(button.picture);
    seen.push_back(image);
  }
}

TEST_F(SkinArtTest, LettersAreDarkOnConsoleGreyAndShareOneBaseline) {
  for (SkinPicture picture : kLettered) {
    SCOPED_TRACE(static_cast<int>(picture));
    const QImage image = paintSkinPicture(picture);
    EXPECT_EQ(image.pixel(0, 0), kConsoleGrey);
    EXPECT_EQ(image.pixel(image.width() - 1, image.height() - 1), kConsoleGrey);
    const QRect ink = inkBox(image);
    // The captions and marks all stand at window row 541, so the same rows line them up; and
    // no letter may be cut at the sides.
    EXPECT_EQ(ink.top(), 1);
    EXPECT_EQ(ink.bottom(), 7);
    EXPECT_GE(ink.left(), 1);
    EXPECT_LE(ink.right(), image.width() - 2);
  }
}

TEST_F(SkinArtTest, SpeedMarksDifferAndBackwardOnesAreAMinusBeforeTheForwardOne) {
  const SkinPicture forward[] = {SkinPicture::Img1X, SkinPicture::Img2X, SkinPicture::Img3X,
                                 SkinPicture::Img4X, SkinPicture::Img5X};
  const SkinPicture backward[] = {SkinPicture::Img1XN, SkinPicture::Img2XN, SkinPicture::Img3XN,
                                  SkinPicture::Img4XN, SkinPicture::Img5XN};
  std::vector<QImage> marks;
  for (int i = 0; i < 5; ++i) {
    const QImage ahead = paintSkinPicture(forward[i]);
    const QImage back = paintSkinPicture(backward[i]);
    const QImage aheadInk = ahead.copy(inkBox(ahead));
    const QImage backInk = back.copy(inkBox(back));
    ASSERT_GT(backInk.width(), aheadInk.width());
    EXPECT_EQ(
        backInk.copy(backInk.width() - aheadInk.width(), 0, aheadInk.width(), aheadInk.height()),
        aheadInk)
        << "speed " << i + 1;
    marks.push_back(aheadInk);
    marks.push_back(backInk);
  }
  for (std::size_t a = 0; a < marks.size(); ++a)
    for (std::size_t b = a + 1; b < marks.size(); ++b) EXPECT_NE(marks[a], marks[b]) << a << b;
}

TEST_F(SkinArtTest, SliderSitsInTheTrackWithoutASeam) {
  const QImage track = paintSkinPicture(SkinPicture::ImgBar);
  const QImage slider = paintSkinPicture(SkinPicture::PicBlock);
  EXPECT_EQ(track.pixel(0, 0), kTimelineGreen);
  EXPECT_EQ(track.pixel(632, 14), kTimelineGreen);
  // Gradients may round a level apart from one fill to the next; a seam would be far more.
  for (int y = 0; y < 15; ++y) {
    const QRgb groove = track.pixel(316, y);
    EXPECT_TRUE(near(slider.pixel(0, y), qRed(groove), qGreen(groove), qBlue(groove), 2))
        << "row " << y;
    EXPECT_TRUE(near(slider.pixel(49, y), qRed(groove), qGreen(groove), qBlue(groove), 2))
        << "row " << y;
  }
  // The slider itself is lighter than the groove it lies in.
  EXPECT_GT(qGreen(slider.pixel(25, 10)), qGreen(track.pixel(316, 10)) + 40);
}

TEST_F(SkinArtTest, IconIsOpaqueOnlyInsideItsTile) {
  const QImage icon = paintSkinPicture(SkinPicture::Icon).convertToFormat(QImage::Format_ARGB32);
  EXPECT_EQ(qAlpha(icon.pixel(0, 0)), 0);
  EXPECT_EQ(qAlpha(icon.pixel(63, 63)), 0);
  EXPECT_EQ(qAlpha(icon.pixel(32, 32)), 255);
  EXPECT_EQ(qAlpha(icon.pixel(6, 32)), 255);
  EXPECT_TRUE(near(icon.pixel(6, 40), 64, 173, 10, 30)) << std::hex << icon.pixel(6, 40);
}

}  // namespace
}  // namespace window
