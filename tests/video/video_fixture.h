#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/support/video_maker.h"
#include "video/video_file.h"

namespace video {

// A test over a temp folder in which it makes videos.
class VideoTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { testing_support::quietLibav(); }

  // The video of `recipe`, made in the temp folder as `name`.
  std::string make(const std::string& name, const testing_support::VideoRecipe& recipe);
  std::string file(const std::string& name) const { return m_dir.file(name); }

  static std::unique_ptr<VideoFile> open(const std::string& path, int threads = 1,
                                         std::size_t cacheBytes = std::size_t{256} << 20);
  // The reason open() gives for `path`, or "opened".
  static std::string openError(const std::string& path);
  // Every frame's bitmap, read from first to last.
  static std::vector<std::vector<std::uint8_t>> inOrder(VideoFile& video);
  // The message of the error reading `frame` throws, or "decoded".
  static std::string frameError(VideoFile& video, std::int64_t frame);
  // The pictures the ffmpeg program gives for `path` (after the filter `select` where it is not
  // empty) as our bitmaps, or nullopt where the program is not installed.
  static std::optional<std::vector<std::vector<std::uint8_t>>> commandLineFrames(
      const std::string& path, int width, int height, const std::string& select = "");

  testing_support::TempDir m_dir;
};

// H.264 with two B-frames between references, in groups of 12: the shape of a phone's video.
testing_support::VideoRecipe withBFrames(int frames = 36);

}  // namespace video
