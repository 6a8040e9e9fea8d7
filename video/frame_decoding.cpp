#include "video/frame_reader.h"

namespace video {
namespace {

// Errors in a row after which a decoder is taken to be stuck rather than passing over damage.
constexpr int kMaxErrorsInARow = 256;

}  // namespace

bool FrameReader::startRun(std::int64_t packet) {
  m_running = false;
  if (!reach(packet)) return false;
  avcodec_flush_buffers(m_codec.get());
  m_running = true;
  m_draining = false;
  m_runStart = packet;
  m_runStartKey = m_index.keyOf(packet);
  m_lastFrameOut = -1;
  return true;
}

bool FrameReader::decodingOnReaches(std::int64_t frame) const {
  if (!m_running || frame <= m_lastFrameOut) return false;
  // Draining, the decoder has every packet: what it still holds comes out.
  const std::int64_t next = m_holding ? m_heldPacket : m_nextPacket;
  if (!m_draining && (next < 0 || m_index.startFor(frame) > next)) return false;
  return m_runStart == 0 || m_index.keyOf(m_index.packetOfFrame(frame)) >= m_runStartKey;
}

std::int64_t FrameReader::takePicture(const AVFrame& picture) {
  const std::int64_t key =
      picture.pts != AV_NOPTS_VALUE ? picture.pts : picture.best_effort_timestamp;
  if (key == AV_NOPTS_VALUE) return -1;
  const std::int64_t frame = m_index.frameWithKey(key, m_lastFrameOut);
  if (frame < 0) return -1;
  // Pictures shown before the keyframe a run started from may refer to pictures before it.
  if (m_runStart != 0 && m_index.keyOf(m_index.packetOfFrame(frame)) < m_runStartKey) return -1;
  m_lastFrameOut = frame;
  m_cache.put(frame, picture);
  return frame;
}

void FrameReader::feedDecoder() {
  const std::int64_t packet = nextPacket();
  const bool end = packet == -2;
  if (end) m_draining = true;
  const int sent = avcodec_send_packet(m_codec.get(), end ? nullptr : m_packet.get());
  // A damaged packet is refused, and its picture does not come out; the next ones may.
  if (sent == AVERROR(ENOMEM)) throw VideoError("out of memory");
}

FramePtr FrameReader::decodeUntil(std::int64_t frame) {
  int errors = 0;
  for (;;) {
    const int got = avcodec_receive_frame(m_codec.get(), m_picture.get());
    if (got == 0) {
      errors = 0;
      ++m_framesDecoded;
      const std::int64_t out = takePicture(*m_picture);
      if (out == frame) {
        FramePtr picture(av_frame_alloc());
        if (!picture) throw VideoError("out of memory");
        av_frame_move_ref(picture.get(), m_picture.get());
        return picture;
      }
      av_frame_unref(m_picture.get());
      if (out > frame) return nullptr;
    } else if (got == AVERROR(EAGAIN) && !m_draining) {
      feedDecoder();
    } else if (got == AVERROR_EOF || got == AVERROR(EAGAIN)) {
      m_running = false;
      return nullptr;
    } else if (got == AVERROR(ENOMEM)) {
      throw VideoError("out of memory");
    } else if (++errors > kMaxErrorsInARow) {
      m_running = false;
      return nullptr;
    }
  }
}

}  // namespace video
