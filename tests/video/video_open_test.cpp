// Opening: the reasons a file is refused, and what the container says of a video.

#include <sys/stat.h>

#include <filesystem>

#include "tests/video/video_fixture.h"
#include "toolkit/core/image.h"
#include "video/video_facts.h"

namespace video {
namespace {

using testing_support::VideoRecipe;
using testing_support::writeBytes;

// A second of silence as 16-bit PCM in WAV: a file with sound and no pictures.
std::vector<std::uint8_t> silentWav() {
  const std::uint32_t rate = 8000, dataBytes = rate * 2;
  std::vector<std::uint8_t> bytes;
  auto text = [&](const char* t) { bytes.insert(bytes.end(), t, t + 4); };
  auto u32 = [&](std::uint32_t v) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
  };
  auto u16 = [&](std::uint16_t v) {
    bytes.push_back(static_cast<std::uint8_t>(v));
    bytes.push_back(static_cast<std::uint8_t>(v >> 8));
  };
  text("RIFF");
  u32(36 + dataBytes);
  text("WAVE");
  text("fmt ");
  u32(16);
  u16(1);
  u16(1);
  u32(rate);
  u32(rate * 2);
  u16(2);
  u16(16);
  text("data");
  u32(dataBytes);
  bytes.resize(bytes.size() + dataBytes, 0);
  return bytes;
}

// A JPEG whose header claims `width` x `height` over the data of a 16 x 16 picture.
std::vector<std::uint8_t> claimingJpeg(int width, int height) {
  const toolkit::RgbImage grey{16, 16, std::vector<std::uint8_t>(16 * 16 * 3, 90)};
  auto jpeg = toolkit::encodeJpeg(grey, 50);
  for (std::size_t i = 0; i + 9 < jpeg.size(); ++i) {
    if (jpeg[i] == 0xFF && jpeg[i + 1] == 0xC0) {
      jpeg[i + 5] = static_cast<std::uint8_t>(height >> 8);
      jpeg[i + 6] = static_cast<std::uint8_t>(height);
      jpeg[i + 7] = static_cast<std::uint8_t>(width >> 8);
      jpeg[i + 8] = static_cast<std::uint8_t>(width);
      break;
    }
  }
  return jpeg;
}

class VideoOpenTest : public VideoTest {};

TEST_F(VideoOpenTest, BadFilesGiveTheirReason) {
  const std::string invalid = "not a video file (Invalid data found when processing input)";
  writeBytes(file("empty.mp4"), {});
  const std::string text = "This is a shopping list, not a film.\n";
  writeBytes(file("text.mp4"), std::vector<std::uint8_t>(text.begin(), text.end()));
  writeBytes(file("sound.wav"), silentWav());
  std::filesystem::create_directory(file("folder.mp4"));
  ASSERT_EQ(::mkfifo(file("pipe.mp4").c_str(), 0600), 0);
  // MP4's index is written last: a recording cut short has none.
  auto cut = testing_support::readBytes(make("whole.mp4", VideoRecipe{}));
  cut.resize(cut.size() / 2);
  writeBytes(file("cut.mp4"), cut);

  EXPECT_EQ(openError(file("missing.mp4")), "cannot open (No such file or directory)");
  EXPECT_EQ(openError(file("folder.mp4")), "cannot open (Is a directory)");
  EXPECT_EQ(openError(file("pipe.mp4")), "cannot open (not a regular file)");
  EXPECT_EQ(openError(file("empty.mp4")), invalid);
  EXPECT_EQ(openError(file("text.mp4")), invalid);
  EXPECT_EQ(openError(file("cut.mp4")), invalid);
  EXPECT_EQ(openError(file("sound.wav")), "no video stream");
}

// A file that names others (a playlist, a list to concatenate) is read alone: what it names,
// a real video beside it, is never opened.
TEST_F(VideoOpenTest, FilesNamingOtherFilesOpenNothingElse) {
  const std::string video = make("v.ts", [] {
    VideoRecipe recipe;
    recipe.container = "mpegts";
    return recipe;
  }());
  const std::string hls =
      "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + video + "\n#EXT-X-ENDLIST\n";
  const std::string concat = "ffconcat version 1.0\nfile '" + video + "'\n";
  writeBytes(file("list.m3u8"), std::vector<std::uint8_t>(hls.begin(), hls.end()));
  writeBytes(file("list.ffconcat"), std::vector<std::uint8_t>(concat.begin(), concat.end()));
  EXPECT_EQ(openError(file("list.m3u8")),
            "not a video file (Invalid data found when processing input)");
  EXPECT_EQ(openError(file("list.ffconcat")), "not a video file (Operation not permitted)");
  EXPECT_EQ(open(video)->facts().frameCount, 24);
}

TEST_F(VideoOpenTest, PicturesLargerThanAPictureMayBeAreRefused) {
  testing_support::writeJpegVideo(file("huge.avi"), "avi", {claimingJpeg(8192, 4097)}, 8192, 4097);
  EXPECT_EQ(openError(file("huge.avi")), "the pictures are too large (8192 x 4097)");
  testing_support::writeJpegVideo(file("big.avi"), "avi", {claimingJpeg(8192, 4096)}, 8192, 4096);
  EXPECT_EQ(open(file("big.avi"))->facts().width, 8192);
}

TEST_F(VideoOpenTest, FactsComeFromTheContainer) {
  VideoRecipe recipe;
  recipe.frames = 30;
  recipe.rateNum = 30000;
  recipe.rateDen = 1001;
  recipe.creationTime = "2024-05-01T06:12:33.000000Z";
  const auto video = open(make("facts.mp4", recipe));
  const VideoFacts& facts = video->facts();
  EXPECT_EQ(facts.codec, "h264");
  EXPECT_EQ(facts.container, "mov,mp4,m4a,3gp,3g2,mj2");
  EXPECT_EQ(facts.width, 160);
  EXPECT_EQ(facts.height, 120);
  EXPECT_EQ(facts.frameCount, 30);
  EXPECT_EQ(facts.rateNum, 30000);
  EXPECT_EQ(facts.rateDen, 1001);
  EXPECT_EQ(facts.microSecPerFrame, 33367u);
  EXPECT_DOUBLE_EQ(facts.durationSeconds, 1.001);
  EXPECT_EQ(facts.creationTime, 1714543953);
  EXPECT_FALSE(facts.jpegFrames);
}

TEST_F(VideoOpenTest, EachContainerAndCodecIsNamed) {
  struct Case {
    const char* encoder;
    const char* container;
    const char* name;
    const char* codec;
    const char* containerName;
  };
  const Case cases[] = {
      {"libx264", "matroska", "v.mkv", "h264", "matroska,webm"},
      {"libx264", "mpegts", "v.mts", "h264", "mpegts"},
      {"libx264", "avi", "v.avi", "h264", "avi"},
      {"libx265", "mp4", "v.mp4", "hevc", "mov,mp4,m4a,3gp,3g2,mj2"},
      {"mjpeg", "mov", "v.mov", "mjpeg", "mov,mp4,m4a,3gp,3g2,mj2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    VideoRecipe recipe;
    recipe.encoder = c.encoder;
    recipe.container = c.container;
    recipe.frames = 10;
    recipe.creationTime = "2000-02-29T23:59:59Z";
    const auto video = open(make(c.name, recipe));
    EXPECT_EQ(video->facts().codec, c.codec);
    EXPECT_EQ(video->facts().container, c.containerName);
    EXPECT_EQ(video->facts().frameCount, 10);
    EXPECT_EQ(video->facts().microSecPerFrame, 40000u);
    EXPECT_EQ(video->facts().jpegFrames, std::string(c.codec) == "mjpeg");
  }
}

TEST(CreationTimeTest, IsoTimesAreReadAsUtc) {
  EXPECT_EQ(parseCreationTime("2024-05-01T06:12:33.000000Z"), 1714543953);
  EXPECT_EQ(parseCreationTime("2024-05-01 06:12:33"), 1714543953);
  EXPECT_EQ(parseCreationTime("2000-02-29T23:59:59.5Z"), 951868799);
  EXPECT_EQ(parseCreationTime("1969-12-31T23:59:59Z"), -1);
  for (const char* bad : {"", "2024-05-01", "2024-05-01T06:12", "2023-02-29T00:00:00Z",
                          "2024-13-01T00:00:00Z", "2024-05-01T24:00:00Z", "2024-05-01T06:12:33Zx",
                          "2024-05-01T06:12:33.Z", "2024/05/01T06:12:33Z", "now"}) {
    EXPECT_EQ(parseCreationTime(bad), std::nullopt) << bad;
  }
}

}  // namespace
}  // namespace video
