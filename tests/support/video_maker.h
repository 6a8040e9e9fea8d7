#pragma once

// Camera-like videos made for tests and benchmarks with libavcodec's encoders and libavformat's
// muxers: the synthetic scene (a meadow, an animal walking across) in H.264, H.265 or MJPEG, in
// MP4, MOV, Matroska, MPEG-TS or AVI, and JPEG pictures of our own copied into a container as
// its packets. Throws std::runtime_error where libav refuses.

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/writers/synthetic_scene.h"

namespace testing_support {

struct VideoRecipe {
  std::string encoder = "libx264";   // libx264, libx265, mjpeg, mpeg4, ...
  std::string container = "mp4";     // a muxer: mp4, mov, matroska, mpegts, avi
  std::string preset = "ultrafast";  // the x264 or x265 preset
  int width = 160;
  int height = 120;
  int frames = 24;
  int gop = 12;  // frames from one keyframe to the next; no others are inserted
  int bframes = 0;
  bool openGop = false;
  int rateNum = 25;
  int rateDen = 1;
  int threads = 1;  // the encoder's
  // The colour matrix the stream declares, an AVColorSpace (1 BT.709); -1 declares none.
  int colorspace = -1;
  bool fullRange = false;    // yuvj420p, full range declared
  std::string creationTime;  // the container's "creation_time" tag, if not empty
  bool faststart = false;    // MP4 or MOV with its index before the pictures
  int damagedPacket = -1;    // this packet, in decode order, is noise after its first NAL header
  // The scene's options but its size, which is the video's.
  toolkit::SceneOptions scene = {.sensorNoise = 0};
};

void makeVideo(const std::string& path, const VideoRecipe& recipe);

// `jpegs` as the packets of an MJPEG stream of `width` x `height`, one frame each at the rate,
// every one a keyframe, copied into `container` (avi, mov, matroska) without decoding.
void writeJpegVideo(const std::string& path, const std::string& container,
                    const std::vector<std::vector<std::uint8_t>>& jpegs, int width, int height,
                    int rateNum = 25, int rateDen = 1);

// A QuickTime file with one second of silent 8 kHz PCM sound and no picture at all.
void writeSoundOnly(const std::string& path);

// Silences libav's log for the rest of the process: damaged inputs on purpose make it talk.
void quietLibav();

}  // namespace testing_support
