#pragma once

// The packets of a video stream, indexed at opening without decoding: in decode (file) order,
// each with its presentation timestamp (the decode timestamp where there is none), its byte
// position and whether it is a keyframe. Frame k is the shown packet with the k-th smallest
// timestamp; a packet the container marks for dropping (before an edit list's start) is decoded
// but not shown.

#include <cstdint>
#include <vector>

#include "video/video_file.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace video {

class PacketIndex {
 public:
  static constexpr std::int64_t kMaxPackets = kMaxFrames;
  static constexpr std::int64_t kUnknownPos = -1;

  // From the container's own index where it is complete (AVI's, and MP4's or MOV's when their
  // frames are not reordered), else from one pass of reading (not decoding) the packets. Leaves
  // the demuxer anywhere. Throws VideoError for more than kMaxPackets packets.
  static PacketIndex build(AVFormatContext* format, AVStream* stream, std::int64_t fileSize);

  // `pos` kUnknownPos where the index does not give the position packets come with.
  void add(std::int64_t key, std::int64_t pos, bool keyframe, bool shown);
  // Sorts the frames into presentation order once every packet is added.
  void finish();

  std::int64_t packetCount() const { return static_cast<std::int64_t>(m_keys.size()); }
  std::int64_t frameCount() const { return static_cast<std::int64_t>(m_frames.size()); }
  std::int64_t keyOf(std::int64_t packet) const { return m_keys[packet]; }
  std::int64_t packetOfFrame(std::int64_t frame) const { return m_frames[frame]; }
  // The smallest timestamp of any packet. REQUIRES: packetCount() > 0.
  std::int64_t firstKey() const { return m_keys[m_byKey.front()]; }

  // Whether a packet read with `key` at `pos` is packet `packet`.
  bool matches(std::int64_t packet, std::int64_t key, std::int64_t pos) const;
  // The packet read with `key` at `pos`, or -1.
  std::int64_t packetWith(std::int64_t key, std::int64_t pos) const;
  // The frame a decoded picture of timestamp `key` is: among frames of that key (there is one in
  // a sound file) the first after `after`, else the first. -1 for a key no frame has.
  std::int64_t frameWithKey(std::int64_t key, std::int64_t after) const;

  // Where decoding starts for `frame` to come out: the last keyframe at or before its packet that
  // is not shown after it (a keyframe whose leading pictures come before it needs the group
  // before), or packet 0.
  std::int64_t startFor(std::int64_t frame) const;
  // The last keyframe before `packet`, packet 0 when there is none, -1 for packet 0.
  std::int64_t keyframeBefore(std::int64_t packet) const;

 private:
  std::vector<std::int64_t> m_keys;
  std::vector<std::int64_t> m_pos;
  std::vector<std::uint8_t> m_flags;
  std::vector<std::int32_t> m_byKey;      // every packet, by (key, packet)
  std::vector<std::int32_t> m_frames;     // the shown packets, by (key, packet)
  std::vector<std::int32_t> m_keyframes;  // ascending
};

}  // namespace video
