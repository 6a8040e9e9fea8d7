// Which frames come out, and what reaching them at random costs: every picture equals the one a
// decode from the first frame to the last gives, however it was reached.

#include <algorithm>
#include <random>

#include "tests/video/video_fixture.h"

namespace video {
namespace {

using testing_support::VideoRecipe;

class VideoFramesTest : public VideoTest {
 protected:
  // Reads the frames of `path` in a shuffled order, then backwards, on a fresh reader with a
  // small cache, and checks each against `expected`.
  void expectSameAtRandom(const std::string& path,
                          const std::vector<std::vector<std::uint8_t>>& expected, int threads) {
    const auto video = open(path, threads, std::size_t{1} << 20);
    std::vector<std::int64_t> order(expected.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::int64_t>(i);
    std::shuffle(order.begin(), order.end(), std::mt19937(7));
    order.insert(order.end(), order.rbegin(), order.rend());
    for (std::int64_t i : order) {
      const VideoFrame frame = video->frame(i);
      ASSERT_EQ(frame.index, i);
      ASSERT_TRUE(frame.bitmap == expected[i]) << "frame " << i << " of " << path;
    }
  }
};

TEST_F(VideoFramesTest, EveryContainerGivesTheSamePicturesInOrderAndAtRandom) {
  const VideoRecipe recipe = withBFrames(30);
  const auto reference = inOrder(*open(make("ref.mp4", recipe)));
  ASSERT_EQ(reference.size(), 30u);
  EXPECT_NE(reference[3], reference[20]);
  for (const char* container : {"mp4", "matroska", "mpegts", "mov"}) {
    SCOPED_TRACE(container);
    VideoRecipe r = recipe;
    r.container = container;
    const std::string path = make(std::string("v.") + container, r);
    EXPECT_EQ(inOrder(*open(path)), reference);
    expectSameAtRandom(path, reference, 1);
  }
}

TEST_F(VideoFramesTest, ThreadsDoNotChangeThePictures) {
  for (const char* encoder : {"libx264", "libx265"}) {
    SCOPED_TRACE(encoder);
    VideoRecipe recipe = withBFrames(30);
    recipe.encoder = encoder;
    const std::string path = make(std::string(encoder) + ".mp4", recipe);
    const auto oneThread = inOrder(*open(path, 1));
    EXPECT_EQ(inOrder(*open(path, 4)), oneThread);
    expectSameAtRandom(path, oneThread, 4);
  }
}

TEST_F(VideoFramesTest, OpenGroupsLeadingPicturesComeFromTheGroupBefore) {
  for (const char* encoder : {"libx264", "libx265"}) {
    SCOPED_TRACE(encoder);
    VideoRecipe recipe = withBFrames(40);
    recipe.encoder = encoder;
    recipe.openGop = true;
    recipe.bframes = 3;
    recipe.container = "matroska";
    const std::string path = make(std::string(encoder) + ".mkv", recipe);
    const auto sequential = inOrder(*open(path));
    ASSERT_EQ(sequential.size(), 40u);
    expectSameAtRandom(path, sequential, 1);
  }
}

TEST_F(VideoFramesTest, ForwardStepsDecodeEachFrameOnce) {
  const auto video = open(make("v.mp4", withBFrames(36)), 1, 0);
  for (std::int64_t i = 0; i < 36; ++i) video->frame(i);
  EXPECT_EQ(video->framesDecoded(), 36);
}

TEST_F(VideoFramesTest, SteppingBackDecodesEachGroupOnce) {
  const std::string path = make("v.mp4", withBFrames(48));
  const auto sequential = inOrder(*open(path));
  const auto video = open(path);
  video->frame(47);
  const std::int64_t first = video->framesDecoded();
  EXPECT_LE(first, 12 + 3);  // the last group and the pictures the decoder holds back
  for (std::int64_t i = 46; i >= 36; --i) ASSERT_EQ(video->frame(i).bitmap, sequential[i]);
  EXPECT_EQ(video->framesDecoded(), first);
  for (std::int64_t i = 35; i >= 0; --i) ASSERT_EQ(video->frame(i).bitmap, sequential[i]);
  EXPECT_LE(video->framesDecoded(), first + 3 * (12 + 3));
}

TEST_F(VideoFramesTest, WithoutACacheEachStepBackDecodesFromTheKeyframe) {
  const auto video = open(make("v.mp4", withBFrames(24)), 1, 0);
  video->frame(23);
  const std::int64_t before = video->framesDecoded();
  video->frame(22);
  EXPECT_GE(video->framesDecoded() - before, 11);
}

TEST_F(VideoFramesTest, DamagedFrameIsAnErrorAndTheNextGroupDecodes) {
  VideoRecipe recipe;
  recipe.frames = 24;
  const auto clean = inOrder(*open(make("clean.mp4", recipe)));
  recipe.damagedPacket = 11;
  const auto video = open(make("damaged.mp4", recipe));
  EXPECT_EQ(video->facts().frameCount, 24);
  EXPECT_EQ(video->frame(10).bitmap, clean[10]);
  EXPECT_EQ(frameError(*video, 11), "frame 11 could not be decoded");
  EXPECT_EQ(video->frame(12).bitmap, clean[12]);
  EXPECT_EQ(video->frame(23).bitmap, clean[23]);
  EXPECT_EQ(frameError(*video, 11), "frame 11 could not be decoded");
  EXPECT_EQ(frameError(*video, 24), "no frame 24 (the video has 24)");
  EXPECT_EQ(frameError(*video, -1), "no frame -1 (the video has 24)");
}

TEST_F(VideoFramesTest, FaststartMp4CutShortKeepsItsWholeFrames) {
  VideoRecipe recipe;
  recipe.frames = 24;
  recipe.faststart = true;
  const std::string whole = make("whole.mp4", recipe);
  const auto reference = inOrder(*open(whole));
  auto bytes = testing_support::readBytes(whole);
  bytes.resize(bytes.size() - 600);
  testing_support::writeBytes(file("cut.mp4"), bytes);
  const auto video = open(file("cut.mp4"));
  const std::int64_t count = video->facts().frameCount;
  EXPECT_GT(count, 12);
  EXPECT_LT(count, 24);
  for (std::int64_t i = count - 1; i >= 0; --i) EXPECT_EQ(video->frame(i).bitmap, reference[i]);
}

// Past 32,767 frames, where a 16-bit frame number would wrap.
TEST_F(VideoFramesTest, LongVideoCountsAndReachesItsLastFrames) {
  VideoRecipe recipe;
  recipe.width = 32;
  recipe.height = 32;
  recipe.frames = 33000;
  recipe.gop = 3000;
  recipe.scene.enterFrame = 32000;
  recipe.scene.leaveFrame = 33000;
  const std::string path = make("long.mp4", recipe);
  const auto video = open(path);
  EXPECT_EQ(video->facts().frameCount, 33000);
  EXPECT_NE(video->frame(32999).bitmap, video->frame(32900).bitmap);
  if (const auto expected = commandLineFrames(path, 32, 32, "gte(n,32995)")) {
    ASSERT_EQ(expected->size(), 5u);
    for (std::int64_t i = 0; i < 5; ++i) EXPECT_EQ(video->frame(32995 + i).bitmap, (*expected)[i]);
  }
}

}  // namespace
}  // namespace video
