#include "tests/video/video_fixture.h"

#include <cstdio>
#include <cstring>

#include "toolkit/core/bmp_header.h"

namespace video {

std::string VideoTest::make(const std::string& name, const testing_support::VideoRecipe& recipe) {
  const std::string path = m_dir.file(name);
  testing_support::makeVideo(path, recipe);
  return path;
}

std::unique_ptr<VideoFile> VideoTest::open(const std::string& path, int threads,
                                           std::size_t cacheBytes) {
  VideoFile::Options options;
  options.threads = threads;
  options.cacheBytes = cacheBytes;
  return VideoFile::open(path, options);
}

std::string VideoTest::openError(const std::string& path) {
  try {
    VideoFile::open(path);
  } catch (const VideoError& e) {
    return e.what();
  }
  return "opened";
}

std::vector<std::vector<std::uint8_t>> VideoTest::inOrder(VideoFile& video) {
  std::vector<std::vector<std::uint8_t>> frames;
  for (std::int64_t i = 0; i < video.facts().frameCount; ++i) {
    frames.push_back(video.frame(i).bitmap);
  }
  return frames;
}

std::string VideoTest::frameError(VideoFile& video, std::int64_t frame) {
  try {
    video.frame(frame);
  } catch (const VideoError& e) {
    return e.what();
  }
  return "decoded";
}

std::optional<std::vector<std::vector<std::uint8_t>>> VideoTest::commandLineFrames(
    const std::string& path, int width, int height, const std::string& select) {
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) return std::nullopt;
  const std::string filter = select.empty() ? "" : " -vf \"select='" + select + "'\"";
  const std::string command =
      "ffmpeg -v error -nostdin -i '" + path +
      "' -sws_flags bicubic+accurate_rnd+bitexact+full_chroma_int -map 0:v:0" + filter +
      " -fps_mode passthrough -f rawvideo -pix_fmt bgr24 -";
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return std::nullopt;
  const auto header = toolkit::BmpHeader::of(width, height);
  const std::size_t row = static_cast<std::size_t>(width) * 3;
  std::vector<std::uint8_t> picture(row * static_cast<std::size_t>(height));
  std::vector<std::vector<std::uint8_t>> frames;
  while (std::fread(picture.data(), 1, picture.size(), pipe) == picture.size()) {
    std::vector<std::uint8_t> bitmap(header.fileBytes(), 0);
    header.write(bitmap.data());
    for (int y = 0; y < height; ++y) {
      std::memcpy(bitmap.data() + toolkit::kBmpHeaderBytes + (height - 1 - y) * header.rowBytes(),
                  picture.data() + y * row, row);
    }
    frames.push_back(std::move(bitmap));
  }
  ::pclose(pipe);
  return frames;
}

testing_support::VideoRecipe withBFrames(int frames) {
  testing_support::VideoRecipe recipe;
  recipe.frames = frames;
  recipe.gop = 12;
  recipe.bframes = 2;
  recipe.scene.enterFrame = 2;
  recipe.scene.leaveFrame = frames - 2;
  return recipe;
}

}  // namespace video
