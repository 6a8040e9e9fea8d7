#include <QPainter>

#include "tests/toolkit/scratch_form.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace widgets_test {
namespace {

using toolkit::LineKind;
using toolkit::PictureBox;
using toolkit::RGB;
using toolkit::ScaleUnit;

class PictureBoxTest : public WidgetsTest {
 protected:
  PictureBox& box(bool autoSize = true, bool autoRedraw = true) {
    show([&](ScratchForm& f) {
      m_box = f.add<PictureBox>("picBox", nullptr, 150, 150, 1500, 1200);
      m_box->AutoSize = autoSize;
      m_box->AutoRedraw = autoRedraw;
      m_box->BackColor = RGB(0, 0, 0);
    });
    return *m_box;
  }

  static QRgb at(const toolkit::Picture& p, int x, int y) {
    return p.image().pixel(x, y) | 0xFF000000u;
  }

  PictureBox* m_box = nullptr;
};

// The PNGs of hgvtool's thumbnails, read by another decoder (Qt's, over libpng).
TEST(PngTest, AnotherDecoderReadsOurPngPixelForPixel) {
  toolkit::RgbImage picture{37, 5, {}};
  for (int i = 0; i < 37 * 5 * 3; ++i) picture.pixels.push_back(static_cast<std::uint8_t>(i * 7));
  const std::vector<std::uint8_t> png = toolkit::encodePng(picture);
  QImage image;
  ASSERT_TRUE(image.loadFromData(png.data(), static_cast<int>(png.size()), "PNG"));
  ASSERT_EQ(image.size(), QSize(37, 5));
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 37; ++x) {
      const std::uint8_t* p = &picture.pixels[(y * 37 + x) * 3];
      EXPECT_EQ(image.pixel(x, y) | 0xFF000000u, qRgb(p[0], p[1], p[2])) << x << "," << y;
    }
  }
}

TEST_F(PictureBoxTest, PictureAssignmentSizesTheBoxToThePictureAtFifteenTwipsAPixel) {
  PictureBox& pic = box();
  pic.Picture = quadrants(20);
  EXPECT_EQ(pic.Width(), 600.0f);
  EXPECT_EQ(pic.Height(), 600.0f);
  EXPECT_EQ(pic.widget()->size(), QSize(40, 40));
  EXPECT_EQ(pic.ScaleWidth(), 600.0f);
  pic.ScaleMode = ScaleUnit::Pixels;
  EXPECT_EQ(pic.ScaleWidth(), 40.0f);
  EXPECT_EQ(pic.ScaleHeight(), 40.0f);
  // The box's own geometry stays in its container's scale, whatever its own ScaleMode.
  EXPECT_EQ(pic.Width(), 600.0f);
}

TEST_F(PictureBoxTest, WithoutAutoSizeThePictureSitsAtTheTopLeftOfAnUnchangedBox) {
  PictureBox& pic = box(false);
  pic.Picture = quadrants(5);
  EXPECT_EQ(pic.widget()->size(), QSize(100, 80));
  toolkit::Picture image = pic.Image;
  EXPECT_EQ(image.widthPixels(), 100);
  EXPECT_EQ(at(image, 0, 0), qRgb(255, 0, 0));
  EXPECT_EQ(at(image, 50, 50), qRgb(0, 0, 0));
}

TEST_F(PictureBoxTest, PaintPictureStretchesSourceToTargetInTheBoxScale) {
  PictureBox& pic = box();
  pic.Picture = quadrants(20);  // 40 x 40 pixels
  toolkit::Picture source = quadrants(1);
  // Twips: the whole 2 x 2 source onto the top left 20 x 20 pixels.
  pic.PaintPicture(source, 0, 0, 300, 300, 0, 0, 30, 30);
  toolkit::Picture painted = pic.Image;
  EXPECT_EQ(at(painted, 0, 0), qRgb(255, 0, 0));
  EXPECT_EQ(at(painted, 9, 0), qRgb(255, 0, 0));
  EXPECT_EQ(at(painted, 10, 0), qRgb(0, 255, 0));
  EXPECT_EQ(at(painted, 0, 10), qRgb(0, 0, 255));
  EXPECT_EQ(at(painted, 19, 19), qRgb(255, 255, 255));
  // Outside the target the picture shows on: the green quadrant of the 40 x 40 picture.
  EXPECT_EQ(at(painted, 30, 5), qRgb(0, 255, 0));
  // Pixels: only the top right source pixel, stretched over 10 x 10 at 20, 20.
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.PaintPicture(source, 20, 20, 10, 10, 1, 0, 1, 1);
  painted = pic.Image;
  EXPECT_EQ(at(painted, 20, 20), qRgb(0, 255, 0));
  EXPECT_EQ(at(painted, 29, 29), qRgb(0, 255, 0));
  EXPECT_EQ(at(painted, 30, 30), qRgb(255, 255, 255));
}

TEST_F(PictureBoxTest, ClsRemovesDrawingAndKeepsThePicture) {
  PictureBox& pic = box();
  pic.Picture = quadrants(20);
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.Line(0, 0, 39, 39, RGB(0, 0, 0), LineKind::FilledBox);
  EXPECT_EQ(at(pic.Image, 5, 5), qRgb(0, 0, 0));
  pic.Cls();
  EXPECT_EQ(pic.Image().image(), pic.Picture().image());
}

TEST_F(PictureBoxTest, PictureAssignmentClearsEarlierDrawing) {
  PictureBox& pic = box();
  pic.Picture = quadrants(20);
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.Line(0, 0, 10, 10, RGB(0, 0, 0), LineKind::FilledBox);
  pic.Picture = quadrants(20);
  EXPECT_EQ(at(pic.Image, 5, 5), qRgb(255, 0, 0));
}

TEST_F(PictureBoxTest, BoxLinesCoverBothCornersInTheirColour) {
  PictureBox& pic = box();
  pic.Picture = quadrants(20);
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.DrawWidth = 1;
  pic.Line(2, 3, 10, 11, RGB(0, 0, 255), LineKind::Box);
  toolkit::Picture image = pic.Image;
  for (int i = 0; i <= 8; ++i) {
    EXPECT_EQ(at(image, 2 + i, 3), qRgb(0, 0, 255)) << i;
    EXPECT_EQ(at(image, 2 + i, 11), qRgb(0, 0, 255)) << i;
    EXPECT_EQ(at(image, 2, 3 + i), qRgb(0, 0, 255)) << i;
    EXPECT_EQ(at(image, 10, 3 + i), qRgb(0, 0, 255)) << i;
  }
  EXPECT_EQ(at(image, 1, 3), qRgb(255, 0, 0));
  EXPECT_EQ(at(image, 11, 11), qRgb(255, 0, 0));
  EXPECT_EQ(at(image, 6, 7), qRgb(255, 0, 0));
}

TEST_F(PictureBoxTest, SavePictureWritesTheImageAsA24BitBottomUpBitmap) {
  PictureBox& pic = box();
  QImage two(2, 2, QImage::Format_RGB32);
  two.setPixel(0, 0, qRgb(1, 2, 3));
  two.setPixel(1, 0, qRgb(4, 5, 6));
  two.setPixel(0, 1, qRgb(7, 8, 9));
  two.setPixel(1, 1, qRgb(10, 11, 12));
  pic.Picture = toolkit::Picture(two);
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.Line(1, 1, 1, 1, RGB(200, 100, 50), LineKind::Box);
  std::string path = m_dir.file("out.bmp");
  toolkit::SavePicture(m_host.files, pic.Image, path);
  std::vector<std::uint8_t> bytes = testing_support::readBytes(path);
  ASSERT_EQ(bytes.size(), 54u + 2 * 8);
  EXPECT_EQ(bytes[0], 'B');
  EXPECT_EQ(bytes[1], 'M');
  EXPECT_EQ(bytes[2], 70);   // file size
  EXPECT_EQ(bytes[10], 54);  // pixel data offset
  EXPECT_EQ(bytes[18], 2);   // width
  EXPECT_EQ(bytes[22], 2);   // height, positive: bottom row first
  EXPECT_EQ(bytes[28], 24);  // bits per pixel
  // Bottom row (7,8,9) and the drawn (200,100,50) as BGR, padded to 8 bytes; then the top row.
  std::vector<std::uint8_t> pixels(bytes.begin() + 54, bytes.end());
  EXPECT_EQ(pixels,
            (std::vector<std::uint8_t>{9, 8, 7, 50, 100, 200, 0, 0, 3, 2, 1, 6, 5, 4, 0, 0}));
}

TEST_F(PictureBoxTest, SavePictureReplacesALongerFile) {
  PictureBox& pic = box();
  pic.Picture = quadrants(1);
  std::string path = m_dir.file("out.bmp");
  testing_support::writeBytes(path, std::vector<std::uint8_t>(500, 0xAA));
  toolkit::SavePicture(m_host.files, pic.Image, path);
  EXPECT_EQ(testing_support::readBytes(path).size(), 54u + 2 * 8);
}

TEST_F(PictureBoxTest, DrawingWithoutAutoRedrawReachesTheScreenOnlyUntilTheNextRefresh) {
  PictureBox& pic = box(true, false);
  pic.Picture = quadrants(20);
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.Line(0, 0, 5, 5, RGB(0, 0, 0), LineKind::FilledBox);
  EXPECT_EQ(pic.shownImage().pixel(2, 2) | 0xFF000000u, qRgb(0, 0, 0));
  EXPECT_EQ(at(pic.Image, 2, 2), qRgb(255, 0, 0)) << "nothing persists";
  pic.Refresh();
  EXPECT_EQ(pic.shownImage().pixel(2, 2) | 0xFF000000u, qRgb(255, 0, 0));
}

TEST_F(PictureBoxTest, TheFocusRectangleDrawnTwiceLeavesThePictureAsItWas) {
  PictureBox& pic = box(true, false);
  pic.Picture = quadrants(20);
  QImage before = pic.shownImage();
  toolkit::Rect rect{3, 4, 30, 25};
  pic.DrawFocusRect(rect);
  QImage once = pic.shownImage();
  int changed = 0;
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 40; ++x) {
      if (once.pixel(x, y) == before.pixel(x, y)) continue;
      ++changed;
      bool onOutline =
          (x == 3 || x == 29 || y == 4 || y == 24) && x >= 3 && x < 30 && y >= 4 && y < 25;
      EXPECT_TRUE(onOutline) << x << "," << y;
      EXPECT_EQ(once.pixel(x, y) & 0xFFFFFFu, ~before.pixel(x, y) & 0xFFFFFFu) << "inverted";
    }
  }
  EXPECT_GT(changed, 40);  // a dotted outline: every other pixel of about 90
  EXPECT_LT(changed, 60);
  pic.DrawFocusRect(rect);
  EXPECT_EQ(pic.shownImage(), before);
  EXPECT_EQ(pic.Image().image(), before) << "the outline never touches the persistent image";
}

TEST_F(PictureBoxTest, GrowingTheBoxKeepsWhatWasDrawn) {
  PictureBox& pic = box();
  pic.Picture = quadrants(10);
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.Line(0, 0, 3, 3, RGB(0, 0, 0), LineKind::FilledBox);
  pic.Width = 1200;  // 80 pixels, in the form's twips
  toolkit::Picture image = pic.Image;
  EXPECT_EQ(image.widthPixels(), 80);
  EXPECT_EQ(at(image, 1, 1), qRgb(0, 0, 0));
  EXPECT_EQ(at(image, 15, 5), qRgb(0, 255, 0));
  EXPECT_EQ(at(image, 60, 5), qRgb(0, 0, 0)) << "new area in the back colour";
}

TEST_F(PictureBoxTest, TheZoomSequenceOfResizesLoadAndFullPaintShowsOnlyTheStretchedPicture) {
  PictureBox& pic = box();
  pic.Picture = quadrants(10);  // 20 x 20 pixels
  pic.ScaleMode = ScaleUnit::Pixels;
  pic.Line(0, 0, 19, 19, RGB(0, 0, 0), LineKind::FilledBox);
  pic.Cls();
  pic.Height = 300;
  pic.Width = 300;
  pic.Picture = quadrants(10);
  pic.Height = 900;  // 60 x 60 pixels
  pic.Width = 900;
  pic.ScaleMode = ScaleUnit::Twips;
  pic.PaintPicture(pic.Picture, 0, 0, 900, 900, 0, 0, 300, 300);
  toolkit::Picture image = pic.Image;
  ASSERT_EQ(image.widthPixels(), 60);
  ASSERT_EQ(image.heightPixels(), 60);
  EXPECT_EQ(at(image, 0, 0), qRgb(255, 0, 0));
  EXPECT_EQ(at(image, 29, 29), qRgb(255, 0, 0));
  EXPECT_EQ(at(image, 30, 0), qRgb(0, 255, 0));
  EXPECT_EQ(at(image, 0, 30), qRgb(0, 0, 255));
  EXPECT_EQ(at(image, 59, 59), qRgb(255, 255, 255));
  EXPECT_EQ(pic.Picture().widthPixels(), 20) << "the picture itself is untouched";
}

TEST_F(PictureBoxTest, ChildGeometryFollowsTheBoxScale) {
  toolkit::Shape* shape = nullptr;
  show([&](ScratchForm& f) {
    m_box = f.add<PictureBox>("picBox", nullptr, 0, 0, 3000, 3000);
    shape = f.add<toolkit::Shape>("ShaRect", m_box, 720, 360, 1155, 1605);
  });
  EXPECT_EQ(shape->widget()->geometry(), QRect(48, 24, 77, 107));
  m_box->ScaleMode = ScaleUnit::Pixels;
  EXPECT_EQ(shape->Left(), 48.0f);
  shape->Left = 50;
  shape->Width = 100;
  EXPECT_EQ(shape->widget()->geometry(), QRect(50, 24, 100, 107));
  m_box->ScaleMode = ScaleUnit::Twips;
  EXPECT_EQ(shape->Left(), 750.0f);
}

TEST_F(PictureBoxTest, LoadPictureReadsJpegAndBitmapAndReportsBadFiles) {
  toolkit::RgbImage rgb{3, 2, std::vector<std::uint8_t>(18, 128)};
  testing_support::writeBytes(m_dir.file("a.jpg"), toolkit::encodeJpeg(rgb));
  testing_support::writeBytes(m_dir.file("a.bmp"), toolkit::encodeBmp24(rgb));
  testing_support::writeBytes(m_dir.file("bad.jpg"), {1, 2, 3, 4, 5});
  EXPECT_EQ(toolkit::LoadPicture(m_host.files, m_dir.file("a.jpg")).widthPixels(), 3);
  EXPECT_EQ(toolkit::LoadPicture(m_host.files, m_dir.file("a.bmp")).heightPixels(), 2);
  try {
    toolkit::LoadPicture(m_host.files, m_dir.file("bad.jpg"));
    FAIL();
  } catch (const toolkit::RuntimeError& e) {
    EXPECT_EQ(e.number(), 481);
  }
  try {
    toolkit::LoadPicture(m_host.files, m_dir.file("none.jpg"));
    FAIL();
  } catch (const toolkit::RuntimeError& e) {
    EXPECT_EQ(e.number(), 53);
  }
}

}  // namespace
}  // namespace widgets_test
