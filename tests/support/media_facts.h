#pragma once

// What a clip or a video file holds, read back by our own clip reader and by libavformat, so
// that a test of anything that writes them checks the file and not the writer's own account.

#include <cstdint>
#include <string>
#include <vector>

namespace testing_support {

// What libavformat and libavcodec make of a video file: the codec, the size, the frame rate and
// how many pictures decode.
struct VideoFacts {
  std::string codec;
  int width = 0, height = 0;
  int pictures = 0;
  double fps = 0;
};
VideoFacts readVideo(const std::string& path);

// A clip's frames as our own reader gives them back, and its frame rate field. `folder` is a
// program folder for the reader's scratch file.
struct ClipFacts {
  bool admitted = false;
  int width = 0, height = 0;
  std::vector<std::vector<std::uint8_t>> frames;
  std::uint32_t microSecPerFrame = 0;
};
ClipFacts readClip(const std::string& path, const std::string& folder);

}  // namespace testing_support
