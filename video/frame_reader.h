#pragma once

// The VideoFile of a container: packets reached through the index, pictures decoded from the
// keyframe before them and kept in a cache. Its functions are spread over frame_reader.cpp
// (reading and reaching packets), frame_decoding.cpp (the decoder's runs) and video_file.cpp
// (opening).

#include <cstdint>
#include <memory>
#include <string>

#include "video/av_handles.h"
#include "video/bgr_bitmap.h"
#include "video/packet_index.h"
#include "video/picture_cache.h"
#include "video/video_file.h"
#include "video/video_input.h"

namespace video {

class FrameReader final : public VideoFile {
 public:
  FrameReader(std::unique_ptr<ByteSource> source, const std::string& name, const Options& options);

  const VideoFacts& facts() const override { return m_facts; }
  void frameInto(std::int64_t index, VideoFrame& frame) override;
  std::int64_t framesDecoded() const override { return m_framesDecoded; }

 private:
  // video_file.cpp
  void openDecoder(int threads);

  // frame_reader.cpp
  // The next packet of the stream into m_packet: its number in the index, -1 where it cannot be
  // told, -2 at the end.
  std::int64_t readPacket();
  // Makes `packet` the next one to come from nextPacket(); false where no seek reaches it.
  bool reach(std::int64_t packet);
  bool seekAndFind(std::int64_t packet, std::int64_t timestamp, int flags);
  bool readUpTo(std::int64_t packet);
  // The packet that comes next (the one reach() left, else a new one); as readPacket().
  std::int64_t nextPacket();
  VideoFrame jpegFrame(std::int64_t index);

  // frame_decoding.cpp
  // A new run of the decoder from `packet`; false where it cannot be reached.
  bool startRun(std::int64_t packet);
  // Whether going on with the present run gives `frame` as starting afresh would.
  bool decodingOnReaches(std::int64_t frame) const;
  // Decodes on until frame `frame` comes out: its picture, or null when a later one or the end
  // came first.
  FramePtr decodeUntil(std::int64_t frame);
  // A picture the decoder gave: the frame it is, -1 for one to pass over.
  std::int64_t takePicture(const AVFrame& picture);
  // Gives the decoder its next packet, or the end.
  void feedDecoder();

  Container m_container;
  PacketIndex m_index;
  VideoFacts m_facts;
  CodecPtr m_codec;
  PictureCache m_cache;
  BgrBitmaps m_bitmaps;
  PacketPtr m_packet;
  FramePtr m_picture;

  // The demuxer: the number of the packet it gives next (-1 unknown), and one packet that
  // reach() read and holds for nextPacket().
  std::int64_t m_nextPacket = -1;
  bool m_holding = false;
  std::int64_t m_heldPacket = -1;

  // The decoder's run: the packet it started from and that packet's timestamp (pictures before
  // it in presentation order may lack their references), the last frame it gave.
  bool m_running = false;
  bool m_draining = false;
  std::int64_t m_runStart = -1;
  std::int64_t m_runStartKey = 0;
  std::int64_t m_lastFrameOut = -1;
  std::int64_t m_framesDecoded = 0;
};

}  // namespace video
