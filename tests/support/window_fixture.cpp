#include "tests/support/window_fixture.h"

#include <cmath>

#include "clip/clip_writer.h"

namespace testing_support {

toolkit::RgbImage distinctFrame(int width, int height, int index) {
  toolkit::RgbImage image{width, height, {}};
  image.pixels.resize(static_cast<std::size_t>(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      auto* p = &image.pixels[(static_cast<std::size_t>(y) * width + x) * 3];
      p[0] = static_cast<std::uint8_t>(x * 255 / width + index * 40);
      p[1] = static_cast<std::uint8_t>(y * 255 / height + index * 70);
      p[2] = static_cast<std::uint8_t>((x / 32 + y / 32) % 2 ? 200 - index * 30 : 40 + index * 30);
    }
  }
  return image;
}

std::vector<std::uint8_t> distinctJpeg(int width, int height, int index) {
  return toolkit::encodeJpeg(distinctFrame(width, height, index), 90);
}

QImage stretchReference(const toolkit::RgbImage& picture, double sourceWidth, double sourceHeight,
                        int targetWidth, int targetHeight, const QRect& area) {
  QImage out(area.size(), QImage::Format_RGB32);
  out.fill(Qt::black);
  for (int y = area.top(); y <= area.bottom(); ++y) {
    const double v = std::floor((y + 0.5) * sourceHeight / targetHeight);
    for (int x = area.left(); x <= area.right(); ++x) {
      const double u = std::floor((x + 0.5) * sourceWidth / targetWidth);
      if (x >= targetWidth || y >= targetHeight || u < 0 || v < 0 || u >= picture.width ||
          v >= picture.height) {
        continue;
      }
      const auto* p =
          &picture
               .pixels[(static_cast<std::size_t>(v) * picture.width + static_cast<std::size_t>(u)) *
                       3];
      out.setPixel(x - area.left(), y - area.top(), qRgb(p[0], p[1], p[2]));
    }
  }
  return out;
}

WindowFixture::WindowFixture()
    : m_windows(std::make_unique<window::Windows>(m_host.host, m_session)) {}

WindowFixture::~WindowFixture() {
  m_host.host.ReleaseCapture();
  m_windows.reset();
}

window::Form1& WindowFixture::start() {
  m_windows->Form1.Show();
  return m_windows->Form1;
}

std::string WindowFixture::writeClip(const std::string& name,
                                     const std::vector<std::vector<std::uint8_t>>& jpegs, int width,
                                     int height) {
  m_jpegs = jpegs;
  const std::string path = m_dir.file(name);
  clip::writeClip(m_host.files, path, width, height, jpegs);
  return path;
}

std::string WindowFixture::makeClip(const std::string& name, int count, int width, int height) {
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int i = 0; i < count; ++i) jpegs.push_back(distinctJpeg(width, height, i));
  return writeClip(name, jpegs, width, height);
}

std::string WindowFixture::sceneClip(const std::string& name, int count,
                                     const std::vector<Square>& squares, int width, int height) {
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int i = 0; i < count; ++i) jpegs.push_back(sceneJpeg(width, height, squares, i));
  return writeClip(name, jpegs, width, height);
}

void WindowFixture::open(const std::string& path) {
  m_host.dialogs.answer(path);
  toolkit::testing::click(*form().imgFile);
}

QRect WindowFixture::viewArea() {
  window::Form1& f = form();
  return QRect(-toolkit::twipsToPixels(f.picShowAVI->leftTwips()),
               -toolkit::twipsToPixels(f.picShowAVI->topTwips()),
               toolkit::twipsToPixels(f.picBase->widthTwips()),
               toolkit::twipsToPixels(f.picBase->heightTwips()));
}

QImage WindowFixture::visibleView() { return form().picShowAVI->shownPart(viewArea()); }

QImage WindowFixture::expectedFit(int index) {
  window::Form1& f = form();
  const auto picture = toolkit::decodeJpeg(jpegOf(index));
  const int width = toolkit::twipsToPixels(f.picBase->widthTwips());
  const int height = toolkit::twipsToPixels(f.picBase->heightTwips());
  return stretchReference(*picture, state().PictureWidth.value() / 15.0,
                          state().PictureHeight.value() / 15.0, width, height,
                          QRect(0, 0, width, height));
}

QImage WindowFixture::expectedZoom(int index) {
  const auto picture = toolkit::decodeJpeg(jpegOf(index));
  return stretchReference(*picture, state().PictureWidth.value() / 15.0,
                          state().PictureHeight.value() / 15.0,
                          toolkit::twipsToPixels(clipModule().DisplayWidth.value()),
                          toolkit::twipsToPixels(clipModule().DisplayHeight.value()), viewArea());
}

QPointF pixelsOf(float xTwips, float yTwips) { return QPointF(xTwips / 15.0, yTwips / 15.0); }

}  // namespace testing_support
