#include "video/frame_reader.h"

namespace video {
namespace {

constexpr std::int64_t kEnd = -2;
// How far ahead a packet is still reached by reading on instead of seeking.
constexpr std::int64_t kReadAhead = 64;

}  // namespace

std::int64_t FrameReader::readPacket() {
  AVFormatContext* format = m_container.format();
  const int stream = m_container.stream()->index;
  for (;;) {
    av_packet_unref(m_packet.get());
    if (av_read_frame(format, m_packet.get()) < 0) {
      m_nextPacket = -1;
      return kEnd;
    }
    if (m_packet->stream_index != stream) continue;
    std::int64_t packet = -1;
    const std::int64_t key = m_packet->pts != AV_NOPTS_VALUE ? m_packet->pts : m_packet->dts;
    if (key == AV_NOPTS_VALUE) {
      packet = m_nextPacket;
    } else if (m_index.matches(m_nextPacket, key, m_packet->pos)) {
      packet = m_nextPacket;
    } else {
      packet = m_index.packetWith(key, m_packet->pos);
    }
    m_nextPacket = packet >= 0 ? packet + 1 : -1;
    return packet;
  }
}

std::int64_t FrameReader::nextPacket() {
  if (m_holding) {
    m_holding = false;
    return m_heldPacket;
  }
  return readPacket();
}

bool FrameReader::readUpTo(std::int64_t packet) {
  for (;;) {
    const std::int64_t read = readPacket();
    if (read == kEnd || read > packet) return false;
    if (read == packet) {
      m_holding = true;
      m_heldPacket = packet;
      return true;
    }
  }
}

bool FrameReader::seekAndFind(std::int64_t packet, std::int64_t timestamp, int flags) {
  const int stream = flags & AVSEEK_FLAG_BYTE ? -1 : m_container.stream()->index;
  m_holding = false;
  m_nextPacket = -1;
  if (av_seek_frame(m_container.format(), stream, timestamp, flags) < 0) return false;
  return readUpTo(packet);
}

bool FrameReader::reach(std::int64_t packet) {
  if (m_holding ? m_heldPacket == packet : m_nextPacket == packet) return true;
  const std::int64_t at = m_holding ? m_heldPacket : m_nextPacket;
  m_holding = false;
  if (at >= 0 && at < packet && packet - at <= kReadAhead && readUpTo(packet)) return true;
  // A demuxer's seek may land after the keyframe asked for (MP4 takes the time as a
  // presentation time, MPEG-TS searches by decode times): then from an earlier keyframe, then
  // from the start.
  if (seekAndFind(packet, m_index.keyOf(packet), AVSEEK_FLAG_BACKWARD)) return true;
  const std::int64_t before = m_index.keyframeBefore(packet);
  if (before >= 0 && seekAndFind(packet, m_index.keyOf(before), AVSEEK_FLAG_BACKWARD)) {
    return true;
  }
  return seekAndFind(packet, m_index.firstKey(), AVSEEK_FLAG_BACKWARD) ||
         seekAndFind(packet, 0, AVSEEK_FLAG_BYTE);
}

VideoFrame FrameReader::jpegFrame(std::int64_t index) {
  const std::int64_t packet = m_index.packetOfFrame(index);
  if (!reach(packet) || nextPacket() != packet) {
    throw VideoError("frame " + std::to_string(index) + " cannot be read");
  }
  VideoFrame frame;
  frame.index = index;
  frame.jpeg.assign(m_packet->data, m_packet->data + m_packet->size);
  return frame;
}

}  // namespace video
