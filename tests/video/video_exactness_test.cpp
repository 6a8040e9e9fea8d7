// The pictures are those of the ffmpeg program's
//   ffmpeg -i FILE -sws_flags bicubic+accurate_rnd+bitexact+full_chroma_int -map 0:v:0
//          -fps_mode passthrough -f rawvideo -pix_fmt bgr24 -
// byte for byte, whatever colour matrix and range the stream declares. (-sws_flags must follow
// -i: before it, FFmpeg 5.1 takes it as an option of the input, and the scaler its defaults.)

#include "tests/video/video_fixture.h"

namespace video {
namespace {

using testing_support::VideoRecipe;

class VideoExactnessTest : public VideoTest {};

TEST_F(VideoExactnessTest, PicturesAreTheCommandLinesBytes) {
  struct Case {
    const char* name;
    VideoRecipe recipe;
  };
  VideoRecipe untagged = withBFrames(20);
  VideoRecipe bt709 = untagged;
  bt709.colorspace = 1;  // AVCOL_SPC_BT709
  VideoRecipe fullRange = untagged;
  fullRange.fullRange = true;
  VideoRecipe hevc = untagged;
  hevc.encoder = "libx265";
  hevc.colorspace = 1;
  VideoRecipe odd = untagged;
  odd.width = 90;  // rows that need padding to 4 bytes
  odd.height = 50;
  const Case cases[] = {{"untagged.mp4", untagged},
                        {"bt709.mp4", bt709},
                        {"full.mkv", fullRange},
                        {"hevc.mp4", hevc},
                        {"odd.mp4", odd}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = make(c.name, c.recipe);
    const auto expected = commandLineFrames(path, c.recipe.width, c.recipe.height);
    if (!expected) GTEST_SKIP() << "the ffmpeg program is not installed";
    const auto video = open(path);
    ASSERT_EQ(video->facts().frameCount, static_cast<std::int64_t>(expected->size()));
    for (std::int64_t i = video->facts().frameCount - 1; i >= 0; --i) {
      const VideoFrame frame = video->frame(i);
      EXPECT_EQ(frame.width, c.recipe.width);
      EXPECT_EQ(frame.height, c.recipe.height);
      EXPECT_EQ(frame.rowBytes, (c.recipe.width * 3 + 3) / 4 * 4u);
      ASSERT_TRUE(frame.bitmap == (*expected)[i]) << "frame " << i;
    }
  }
}

TEST_F(VideoExactnessTest, TheMatrixAndRangeChangeThePicture) {
  VideoRecipe recipe;
  recipe.frames = 1;
  const auto untagged = open(make("a.mp4", recipe))->frame(0).bitmap;
  recipe.colorspace = 1;
  const auto bt709 = open(make("b.mp4", recipe))->frame(0).bitmap;
  EXPECT_NE(untagged, bt709);
}

}  // namespace
}  // namespace video
