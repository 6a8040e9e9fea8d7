// Runs the fuzz target over thousands of damaged clips made from writer output: flipped bytes,
// extreme size fields, cuts at every kind of place. Set HG_WRITE_FUZZ_CORPUS to a folder to
// also write the undamaged seeds there for a libFuzzer run.

#include <cstdlib>
#include <random>

#include "fuzz/clip_reader_fuzz.h"
#include "tests/clip/clip_fixture.h"
#include "toolkit/core/image.h"

namespace clip {
namespace {

std::vector<std::vector<std::uint8_t>> seeds() {
  toolkit::RgbImage img{16, 16, std::vector<std::uint8_t>(16 * 16 * 3, 90)};
  auto jpeg = toolkit::encodeJpeg(img, 50);
  std::vector<clip::ClipFrame> frames(3, clip::ClipFrame{jpeg, {}, {}, "00dc"});
  std::vector<std::vector<std::uint8_t>> out;
  auto add = [&](auto change) {
    clip::ClipLayout l;
    l.width = 16;
    l.height = 16;
    l.junkSize = 12;
    change(l);
    out.push_back(clip::buildClip(l, frames));
  };
  add([](auto&) {});
  add([](auto& l) { l.writeIndex = false; });
  add([](auto& l) {
    l.padOddFrames = true;
    l.writeIndex = false;
  });
  add([](auto& l) { l.firstIndexTag = "01wb"; });
  return out;
}

TEST(FuzzReplayTest, DamagedClipsEndInABoxOrAResult) {
  auto base = seeds();
  if (const char* dir = std::getenv("HG_WRITE_FUZZ_CORPUS")) {
    for (std::size_t i = 0; i < base.size(); ++i) {
      testing_support::writeBytes(std::string(dir) + "/seed" + std::to_string(i), base[i]);
    }
  }
  std::mt19937 rng(12345);
  const std::uint32_t extremes[] = {0,      1,          0x7fff,     0x8000,
                                    0xffff, 0x7fffffff, 0x80000000, 0xffffffff};
  for (int round = 0; round < 4000; ++round) {
    auto bytes = base[rng() % base.size()];
    const int edits = 1 + static_cast<int>(rng() % 4);
    for (int e = 0; e < edits && !bytes.empty(); ++e) {
      const std::size_t at = rng() % bytes.size();
      switch (rng() % 4) {
        case 0:
          bytes[at] ^= static_cast<std::uint8_t>(1 + rng() % 255);
          break;
        case 1:
          if (at + 4 <= bytes.size()) putU32(bytes, at, extremes[rng() % 8]);
          break;
        case 2:
          bytes.resize(at);
          break;
        default: {
          const std::string tag = rng() % 2 ? "idx1" : "movi00dc";
          if (at + tag.size() <= bytes.size())
            std::copy(tag.begin(), tag.end(), bytes.begin() + at);
        }
      }
    }
    fuzzing::openClipBytes(bytes.data(), bytes.size());
  }
}

}  // namespace
}  // namespace clip
