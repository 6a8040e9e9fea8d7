#include "tests/support/scene_clips.h"

#include <algorithm>

#include "clip/clip_writer.h"
#include "toolkit/core/image.h"

namespace testing_support {

std::vector<std::uint8_t> sceneJpeg(int width, int height, const std::vector<Square>& squares,
                                    int index) {
  toolkit::RgbImage image{width, height, {}};
  image.pixels.resize(static_cast<std::size_t>(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      auto* p = &image.pixels[(static_cast<std::size_t>(y) * width + x) * 3];
      const int texture = ((x * 7 + y * 13) % 23) - 11;
      p[0] = static_cast<std::uint8_t>(60 + x * 40 / width + texture);
      p[1] = static_cast<std::uint8_t>(90 + y * 40 / height + texture);
      p[2] = static_cast<std::uint8_t>(50 + texture);
    }
  }
  for (const Square& s : squares) {
    if (index < s.from || index >= s.to) continue;
    for (int y = std::max(0, s.y); y < std::min(height, s.y + s.size); ++y) {
      for (int x = std::max(0, s.x); x < std::min(width, s.x + s.size); ++x) {
        auto* p = &image.pixels[(static_cast<std::size_t>(y) * width + x) * 3];
        p[0] = p[1] = p[2] = 235;
      }
    }
  }
  return toolkit::encodeJpeg(image, 90);
}

std::string SceneClipTest::writeClip(const std::string& name,
                                     const std::vector<std::vector<std::uint8_t>>& jpegs, int width,
                                     int height) {
  m_jpegs = jpegs;
  const std::string path = m_dir.file(name);
  clip::writeClip(m_files, path, width, height, jpegs);
  return path;
}

std::string SceneClipTest::sceneClip(const std::string& name, int count,
                                     const std::vector<Square>& squares, int width, int height) {
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int i = 0; i < count; ++i) jpegs.push_back(sceneJpeg(width, height, squares, i));
  return writeClip(name, jpegs, width, height);
}

}  // namespace testing_support
