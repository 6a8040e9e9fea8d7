#include "video/video_file.h"

#include <algorithm>

extern "C" {
#include <libavutil/log.h>
}

#include "toolkit/core/image.h"
#include "video/frame_reader.h"
#include "video/video_facts.h"

namespace video {
namespace {

// More decoding threads than this gain nothing on a camera's pictures.
constexpr int kMaxThreads = 16;

}  // namespace

void silenceLibraryLog() { av_log_set_level(AV_LOG_QUIET); }

std::unique_ptr<VideoFile> VideoFile::open(const std::string& path, const Options& options) {
  return std::make_unique<FrameReader>(fileSource(path), path, options);
}

std::unique_ptr<VideoFile> VideoFile::openBytes(std::vector<std::uint8_t> bytes,
                                                const std::string& name, const Options& options) {
  return std::make_unique<FrameReader>(memorySource(std::move(bytes)), name, options);
}

FrameReader::FrameReader(std::unique_ptr<ByteSource> source, const std::string& name,
                         const Options& options)
    : m_container(std::move(source), name),
      m_index(
          PacketIndex::build(m_container.format(), m_container.stream(), m_container.fileSize())),
      m_facts(readFacts(m_container.format(), m_container.stream(), m_index.frameCount())),
      m_cache(options.cacheBytes),
      m_bitmaps(std::clamp(options.threads, 1, kMaxThreads)),
      m_packet(av_packet_alloc()),
      m_picture(av_frame_alloc()) {
  if (!m_packet || !m_picture) throw VideoError("out of memory");
  if (m_facts.frameCount == 0) throw VideoError("no frames");
  if (!m_facts.jpegFrames) openDecoder(options.threads);
}

void FrameReader::openDecoder(int threads) {
  const AVStream* stream = m_container.stream();
  const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!decoder) throw VideoError("no decoder for " + m_facts.codec + " video");
  m_codec.reset(avcodec_alloc_context3(decoder));
  if (!m_codec) throw VideoError("out of memory");
  int result = avcodec_parameters_to_context(m_codec.get(), stream->codecpar);
  m_codec->pkt_timebase = stream->time_base;
  m_codec->thread_count = std::clamp(threads, 1, kMaxThreads);
  // The decoder refuses a picture larger than one may be, whatever the stream's header said.
  m_codec->max_pixels = toolkit::kMaxPicturePixels;
  if (result >= 0) result = avcodec_open2(m_codec.get(), decoder, nullptr);
  if (result < 0) {
    throw VideoError("cannot decode " + m_facts.codec + " video (" + avErrorText(result) + ")");
  }
}

void FrameReader::frameInto(std::int64_t index, VideoFrame& frame) {
  if (index < 0 || index >= m_facts.frameCount) {
    throw VideoError("no frame " + std::to_string(index) + " (the video has " +
                     std::to_string(m_facts.frameCount) + ")");
  }
  if (m_facts.jpegFrames) {
    VideoFrame jpeg = jpegFrame(index);
    frame.index = jpeg.index;
    frame.jpeg = std::move(jpeg.jpeg);
    // Emptied, not freed: the caller's buffer stays its own.
    frame.bitmap.clear();
    frame.width = frame.height = 0;
    frame.rowBytes = 0;
    return;
  }
  if (const AVFrame* cached = m_cache.find(index)) return m_bitmaps.make(index, *cached, frame);

  const std::int64_t start = m_index.startFor(index);
  const bool reached = decodingOnReaches(index) || startRun(start);
  FramePtr picture = reached ? decodeUntil(index) : nullptr;
  // A decoder drops a picture it cannot decode without those before its keyframe (HEVC's
  // leading pictures after a CRA, H.264's before a recovery point): from the keyframe before.
  const std::int64_t earlier = m_index.keyframeBefore(start);
  if (!picture && earlier >= 0 && startRun(earlier)) picture = decodeUntil(index);
  if (!picture) throw VideoError("frame " + std::to_string(index) + " could not be decoded");
  m_bitmaps.make(index, *picture, frame);
}

}  // namespace video
