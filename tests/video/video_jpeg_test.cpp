// MJPEG videos: each frame is the JPEG the camera wrote, the packet's bytes untouched.

#include <algorithm>

#include "tests/video/video_fixture.h"
#include "toolkit/core/image.h"
#include "toolkit/writers/synthetic_scene.h"

namespace video {
namespace {

class VideoJpegTest : public VideoTest {
 protected:
  void SetUp() override {
    toolkit::SceneOptions scene;
    scene.width = 96;
    scene.height = 64;
    scene.enterFrame = 0;
    scene.leaveFrame = 12;
    const toolkit::SyntheticScene pictures(scene);
    for (int i = 0; i < 12; ++i)
      m_jpegs.push_back(toolkit::encodeJpeg(pictures.frame(i), 40 + 4 * i));
  }

  std::string write(const std::string& name, const std::string& container) {
    testing_support::writeJpegVideo(file(name), container, m_jpegs, 96, 64);
    return file(name);
  }

  void expectJpegsAtRandom(VideoFile& video) {
    ASSERT_EQ(video.facts().frameCount, 12);
    for (std::int64_t i : {0, 1, 2, 11, 5, 4, 3, 10, 9, 6, 7, 8, 0}) {
      const VideoFrame frame = video.frame(i);
      EXPECT_EQ(frame.index, i);
      EXPECT_TRUE(frame.bitmap.empty());
      ASSERT_TRUE(frame.jpeg == m_jpegs[i]) << "frame " << i;
    }
    EXPECT_EQ(video.framesDecoded(), 0);
  }

  std::vector<std::vector<std::uint8_t>> m_jpegs;
};

TEST_F(VideoJpegTest, PacketsComeBackByteForByte) {
  ASSERT_TRUE(std::any_of(m_jpegs.begin(), m_jpegs.end(), [](auto& j) { return j.size() % 2; }))
      << "AVI pads odd chunks: one JPEG of odd length proves the padding is not taken";
  for (const char* container : {"avi", "mov", "matroska"}) {
    SCOPED_TRACE(container);
    const auto video = open(write(std::string("v.") + container, container));
    EXPECT_TRUE(video->facts().jpegFrames);
    EXPECT_EQ(video->facts().codec, "mjpeg");
    EXPECT_EQ(video->facts().width, 96);
    expectJpegsAtRandom(*video);
  }
}

// Without idx1 and the OpenDML index, the packets are found by reading the file through.
TEST_F(VideoJpegTest, AviWithoutItsIndexIsReadPacketByPacket) {
  auto bytes = testing_support::readBytes(write("v.avi", "avi"));
  const std::string idx1 = "idx1", indx = "indx";
  const auto tail = std::find_end(bytes.begin(), bytes.end(), idx1.begin(), idx1.end());
  ASSERT_NE(tail, bytes.end());
  bytes.erase(tail, bytes.end());
  for (auto at = bytes.begin();
       (at = std::search(at, bytes.end(), indx.begin(), indx.end())) != bytes.end();) {
    at = std::copy_n("JUNK", 4, at);
  }
  testing_support::writeBytes(file("bare.avi"), bytes);
  expectJpegsAtRandom(*open(file("bare.avi")));
}

}  // namespace
}  // namespace video
