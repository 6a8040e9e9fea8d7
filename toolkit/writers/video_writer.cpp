#include "toolkit/writers/video_writer.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/mathematics.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <exception>
#include <span>

namespace toolkit {
namespace {

constexpr int kIoBufferBytes = 64 * 1024;

std::string avError(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace

std::int64_t defaultWmvBitRate(const VideoSpec& video) {
  const double fps = static_cast<double>(video.frameDurationDen) /
                     static_cast<double>(std::max<std::int64_t>(video.frameDurationNum, 1));
  const double bits = 0.1 * video.width * video.height * std::clamp(fps, 1.0, 60.0);
  return std::clamp(static_cast<std::int64_t>(bits), std::int64_t{100'000},
                    std::int64_t{8'000'000});
}

struct VideoWriter::State {
  WritableFile& file;
  std::int64_t position = 0;
  std::int64_t size = 0;
  std::exception_ptr fileError;

  AVFormatContext* format = nullptr;
  AVIOContext* io = nullptr;
  AVCodecContext* codec = nullptr;
  AVStream* stream = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  SwsContext* scale = nullptr;
  int width = 0, height = 0;
  std::int64_t pictures = 0;
  bool finished = false;

  explicit State(WritableFile& f) : file(f) {}

  ~State() {
    sws_freeContext(scale);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
    if (io) {
      av_freep(&io->buffer);
      avio_context_free(&io);
    }
    avformat_free_context(format);
  }

  // What a write of the muxer meets: our file, whose errors wait here until the library returns.
  static int writePacket(void* opaque, const std::uint8_t* data, int size) {
    auto* s = static_cast<State*>(opaque);
    try {
      s->file.writeAt(s->position, std::span(data, static_cast<std::size_t>(size)));
    } catch (...) {
      if (!s->fileError) s->fileError = std::current_exception();
      return AVERROR(EIO);
    }
    s->position += size;
    s->size = std::max(s->size, s->position);
    return size;
  }
#if LIBAVFORMAT_VERSION_MAJOR < 61
  static int writePacketMutable(void* opaque, std::uint8_t* data, int size) {
    return writePacket(opaque, data, size);
  }
#endif

  static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
    auto* s = static_cast<State*>(opaque);
    switch (whence & ~AVSEEK_FORCE) {
      case AVSEEK_SIZE:
        return s->size;
      case SEEK_SET:
        s->position = offset;
        return s->position;
      case SEEK_CUR:
        s->position += offset;
        return s->position;
      case SEEK_END:
        s->position = s->size + offset;
        return s->position;
      default:
        return -1;
    }
  }

  // A failed library call: the file's own error if that was the cause, else the library's words.
  // The container, written through `file`.
  void openContainer(bool mp4);
  // The encoder, at the picture's size and the video's frame duration.
  void openEncoder(const AVCodec* encoder, const VideoSpec& video, bool mp4);
  // The stream and its header, and the frame and converter each picture goes through.
  void openStream();

  void check(int code, const char* what) {
    if (fileError) std::rethrow_exception(fileError);
    if (code < 0) throw VideoError(std::string(what) + ": " + avError(code));
  }

  void writePackets() {
    for (;;) {
      const int got = avcodec_receive_packet(codec, packet);
      if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
      check(got, "The video encoder failed");
      // Every picture lasts one frame; without it the muxer gives the last one no time, and
      // players drop it.
      if (packet->duration == 0) packet->duration = 1;
      av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
      packet->stream_index = stream->index;
      const int written = av_interleaved_write_frame(format, packet);
      check(written, "The video could not be written");
    }
  }
};

void VideoWriter::State::openContainer(bool mp4) {
  check(avformat_alloc_output_context2(&format, nullptr, mp4 ? "mp4" : "asf", nullptr),
        "The video container could not be made");
  auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
#if LIBAVFORMAT_VERSION_MAJOR < 61
  io = avio_alloc_context(buffer, kIoBufferBytes, 1, this, nullptr, &State::writePacketMutable,
                          &State::seek);
#else
  io = avio_alloc_context(buffer, kIoBufferBytes, 1, this, nullptr, &State::writePacket,
                          &State::seek);
#endif
  if (!io) {
    av_free(buffer);
    throw VideoError("Out of memory.");
  }
  format->pb = io;
  format->flags |= AVFMT_FLAG_CUSTOM_IO;
}

void VideoWriter::State::openEncoder(const AVCodec* encoder, const VideoSpec& video, bool mp4) {
  codec = avcodec_alloc_context3(encoder);
  frame = av_frame_alloc();
  packet = av_packet_alloc();
  if (!codec || !frame || !packet) throw VideoError("Out of memory.");
  // The codec's time base must fit 16 bits.
  int num = 0, den = 0;
  av_reduce(&num, &den, std::max<std::int64_t>(video.frameDurationNum, 1),
            std::max<std::int64_t>(video.frameDurationDen, 1), 65535);
  codec->time_base = {std::max(num, 1), std::max(den, 1)};
  codec->framerate = {codec->time_base.den, codec->time_base.num};
  codec->width = width;
  codec->height = height;
  codec->pix_fmt = AV_PIX_FMT_YUV420P;
  AVDictionary* options = nullptr;
  if (mp4) {
    // A constant quality that keeps camera footage clean, made quickly; every player takes it.
    av_dict_set(&options, "preset", "veryfast", 0);
    av_dict_set(&options, "crf", "23", 0);
    codec->profile = FF_PROFILE_H264_HIGH;
  } else {
    codec->bit_rate = video.bitRate > 0 ? video.bitRate : defaultWmvBitRate(video);
    codec->gop_size = 12;
  }
  if (format->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  const int opened = avcodec_open2(codec, encoder, &options);
  av_dict_free(&options);
  check(opened, "The video encoder refused the pictures");
}

void VideoWriter::State::openStream() {
  stream = avformat_new_stream(format, nullptr);
  if (!stream) throw VideoError("Out of memory.");
  check(avcodec_parameters_from_context(stream->codecpar, codec),
        "The video stream could not be made");
  stream->time_base = codec->time_base;
  check(avformat_write_header(format, nullptr), "The video could not be written");

  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = width;
  frame->height = height;
  check(av_frame_get_buffer(frame, 0), "Out of memory");
  scale = sws_getContext(width, height, AV_PIX_FMT_RGB24, width, height, AV_PIX_FMT_YUV420P,
                         SWS_BICUBIC, nullptr, nullptr, nullptr);
  if (!scale) throw VideoError("The pictures could not be converted for the video.");
}

VideoWriter::VideoWriter(WritableFile& file, const VideoSpec& video)
    : m_state(std::make_unique<State>(file)) {
  State& s = *m_state;
  s.width = video.width & ~1;
  s.height = video.height & ~1;
  if (s.width < 2 || s.height < 2) throw VideoError("The picture is too small for a video.");

  // The encoder's notes (coefficients clipped and the like) are not the user's business.
  av_log_set_level(AV_LOG_ERROR);
  const bool mp4 = video.format == VideoFormat::Mp4;
  const AVCodec* encoder =
      mp4 ? avcodec_find_encoder_by_name("libx264") : avcodec_find_encoder(AV_CODEC_ID_WMV2);
  if (!encoder) {
    throw VideoError(mp4 ? "This system has no H.264 encoder (libx264)."
                         : "This system has no Windows Media Video encoder.");
  }
  s.openContainer(mp4);
  s.openEncoder(encoder, video, mp4);
  s.openStream();
}

VideoWriter::~VideoWriter() = default;

void VideoWriter::addPicture(const RgbImage& picture) {
  State& s = *m_state;
  if (picture.width < s.width || picture.height < s.height) {
    throw VideoError("A picture is smaller than the video.");
  }
  s.check(av_frame_make_writable(s.frame), "Out of memory");
  const std::uint8_t* source[1] = {picture.pixels.data()};
  const int stride[1] = {picture.width * 3};
  sws_scale(s.scale, source, stride, 0, s.height, s.frame->data, s.frame->linesize);
  s.frame->pts = s.pictures++;
  s.check(avcodec_send_frame(s.codec, s.frame), "The video encoder refused a picture");
  s.writePackets();
}

void VideoWriter::finish() {
  State& s = *m_state;
  if (s.finished) return;
  s.check(avcodec_send_frame(s.codec, nullptr), "The video encoder failed");
  s.writePackets();
  s.check(av_write_trailer(s.format), "The video could not be completed");
  avio_flush(s.io);
  s.check(s.io->error, "The video could not be completed");
  s.finished = true;
}

}  // namespace toolkit
