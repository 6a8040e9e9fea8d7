// Runs the fuzz target over damaged videos made from encoder and muxer output: flipped bytes,
// extreme size fields, cuts, and box and chunk names where they do not belong. Set
// HG_WRITE_FUZZ_CORPUS to a folder to also write the undamaged seeds there for a libFuzzer run.

#include <cstdlib>
#include <random>

#include "fuzz/video_file_fuzz.h"
#include "tests/video/video_fixture.h"
#include "toolkit/core/image.h"

namespace video {
namespace {

using testing_support::VideoRecipe;

class VideoFuzzReplayTest : public VideoTest {
 protected:
  std::vector<std::vector<std::uint8_t>> seeds() {
    std::vector<std::vector<std::uint8_t>> out;
    auto add = [&](const std::string& name, VideoRecipe recipe) {
      recipe.width = 32;
      recipe.height = 32;
      recipe.frames = 6;
      recipe.gop = 3;
      out.push_back(testing_support::readBytes(make(name, recipe)));
    };
    VideoRecipe recipe;
    recipe.bframes = 1;
    add("a.mp4", recipe);
    recipe.faststart = true;
    add("b.mp4", recipe);
    recipe.container = "matroska";
    add("c.mkv", recipe);
    recipe.container = "mpegts";
    add("d.ts", recipe);
    recipe.encoder = "libx265";
    recipe.container = "mp4";
    add("e.mp4", recipe);
    const toolkit::RgbImage grey{16, 16, std::vector<std::uint8_t>(16 * 16 * 3, 90)};
    const std::vector<std::vector<std::uint8_t>> jpegs(3, toolkit::encodeJpeg(grey, 50));
    for (const char* container : {"avi", "mov"}) {
      testing_support::writeJpegVideo(file("j"), container, jpegs, 16, 16);
      out.push_back(testing_support::readBytes(file("j")));
    }
    return out;
  }
};

void putU32(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value, bool big) {
  for (int i = 0; i < 4; ++i) {
    bytes[at + i] = static_cast<std::uint8_t>(value >> (big ? 24 - 8 * i : 8 * i));
  }
}

void damage(std::vector<std::uint8_t>& bytes, std::mt19937& rng) {
  static const std::uint32_t kExtremes[] = {0,      1,          0x7fff,     0x8000,
                                            0xffff, 0x7fffffff, 0x80000000, 0xffffffff};
  static const char* const kTags[] = {"moov", "mdat", "stsz", "ctts", "stss",
                                      "elst", "idx1", "00dc", "indx", "\x1a\x45\xdf\xa3"};
  const std::size_t at = rng() % bytes.size();
  switch (rng() % 4) {
    case 0:
      bytes[at] ^= static_cast<std::uint8_t>(1 + rng() % 255);
      break;
    case 1:
      if (at + 4 <= bytes.size()) putU32(bytes, at, kExtremes[rng() % 8], rng() % 2);
      break;
    case 2:
      bytes.resize(at);
      break;
    default: {
      const std::string tag = kTags[rng() % 10];
      if (at + tag.size() <= bytes.size()) std::copy(tag.begin(), tag.end(), bytes.begin() + at);
    }
  }
}

TEST_F(VideoFuzzReplayTest, DamagedVideosEndInAnErrorOrFrames) {
  const auto base = seeds();
  if (const char* dir = std::getenv("HG_WRITE_FUZZ_CORPUS")) {
    for (std::size_t i = 0; i < base.size(); ++i) {
      testing_support::writeBytes(std::string(dir) + "/seed" + std::to_string(i), base[i]);
    }
  }
  for (const auto& seed : base) fuzzing::openVideoBytes(seed.data(), seed.size());
  std::mt19937 rng(2024);
  for (int round = 0; round < 1500; ++round) {
    auto bytes = base[rng() % base.size()];
    const int edits = 1 + static_cast<int>(rng() % 4);
    for (int e = 0; e < edits && !bytes.empty(); ++e) damage(bytes, rng);
    fuzzing::openVideoBytes(bytes.data(), bytes.size());
  }
}

}  // namespace
}  // namespace video
