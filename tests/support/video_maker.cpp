#include "tests/support/video_maker.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <cstring>
#include <stdexcept>

namespace testing_support {
namespace {

void check(int code, const std::string& what) {
  if (code < 0) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    throw std::runtime_error(what + ": " + text);
  }
}

// An output file: the muxer's context, its file and its one video stream.
class Muxer {
 public:
  Muxer(const std::string& path, const std::string& container) {
    check(avformat_alloc_output_context2(&m_format, nullptr, container.c_str(), path.c_str()),
          "muxer " + container);
    check(avio_open(&m_format->pb, path.c_str(), AVIO_FLAG_WRITE), "open " + path);
    stream = avformat_new_stream(m_format, nullptr);
    if (!stream) throw std::runtime_error("no stream");
  }
  ~Muxer() {
    if (m_format) avio_closep(&m_format->pb);
    avformat_free_context(m_format);
  }
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;

  bool globalHeader() const { return m_format->oformat->flags & AVFMT_GLOBALHEADER; }
  void header(const std::string& creationTime, bool faststart) {
    if (!creationTime.empty())
      av_dict_set(&m_format->metadata, "creation_time", creationTime.c_str(), 0);
    AVDictionary* options = nullptr;
    if (faststart) av_dict_set(&options, "movflags", "+faststart", 0);
    const int written = avformat_write_header(m_format, &options);
    av_dict_free(&options);
    check(written, "header");
  }
  // `packet` in the time base `from`.
  void write(AVPacket* packet, AVRational from) {
    av_packet_rescale_ts(packet, from, stream->time_base);
    packet->stream_index = stream->index;
    check(av_interleaved_write_frame(m_format, packet), "write");
  }
  void finish() { check(av_write_trailer(m_format), "trailer"); }

  AVStream* stream = nullptr;

 private:
  AVFormatContext* m_format = nullptr;
};

struct Encoder {
  AVCodecContext* codec = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  SwsContext* scale = nullptr;
  ~Encoder() {
    sws_freeContext(scale);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
  }
};

std::string gopParams(const VideoRecipe& r) {
  const std::string gop = std::to_string(r.gop);
  return "keyint=" + gop + ":min-keyint=" + gop +
         ":scenecut=0:bframes=" + std::to_string(r.bframes) +
         ":open-gop=" + (r.openGop ? "1" : "0");
}

void openEncoder(Encoder& e, const VideoRecipe& r, bool globalHeader) {
  const AVCodec* codec = avcodec_find_encoder_by_name(r.encoder.c_str());
  if (!codec) throw std::runtime_error("no encoder " + r.encoder);
  e.codec = avcodec_alloc_context3(codec);
  e.frame = av_frame_alloc();
  e.packet = av_packet_alloc();
  AVCodecContext* c = e.codec;
  c->width = r.width;
  c->height = r.height;
  c->time_base = {r.rateDen, r.rateNum};
  c->framerate = {r.rateNum, r.rateDen};
  c->gop_size = r.gop;
  c->max_b_frames = r.bframes;
  c->thread_count = r.threads;
  const bool jpeg = r.encoder == "mjpeg";
  c->pix_fmt = jpeg || r.fullRange ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
  if (r.fullRange) c->color_range = AVCOL_RANGE_JPEG;
  if (r.colorspace >= 0) c->colorspace = static_cast<AVColorSpace>(r.colorspace);
  if (globalHeader) c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  AVDictionary* options = nullptr;
  if (r.encoder == "libx264") {
    av_dict_set(&options, "preset", r.preset.c_str(), 0);
    av_dict_set(&options, "x264-params", gopParams(r).c_str(), 0);
  } else if (r.encoder == "libx265") {
    av_dict_set(&options, "preset", r.preset.c_str(), 0);
    av_dict_set(&options, "x265-params", (gopParams(r) + ":log-level=error").c_str(), 0);
  }
  const int opened = avcodec_open2(c, codec, &options);
  av_dict_free(&options);
  check(opened, "encoder " + r.encoder);
  e.frame->format = c->pix_fmt;
  e.frame->width = r.width;
  e.frame->height = r.height;
  check(av_frame_get_buffer(e.frame, 0), "frame");
  e.scale = sws_getContext(r.width, r.height, AV_PIX_FMT_RGB24, r.width, r.height, c->pix_fmt,
                           SWS_BICUBIC, nullptr, nullptr, nullptr);
  if (!e.scale) throw std::runtime_error("no converter");
}

void paint(Encoder& e, const toolkit::RgbImage& picture) {
  check(av_frame_make_writable(e.frame), "frame");
  const std::uint8_t* rows[1] = {picture.pixels.data()};
  const int strides[1] = {picture.width * 3};
  sws_scale(e.scale, rows, strides, 0, picture.height, e.frame->data, e.frame->linesize);
}

void drain(Encoder& e, Muxer& out, const VideoRecipe& r, int& packets) {
  for (;;) {
    const int got = avcodec_receive_packet(e.codec, e.packet);
    if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
    check(got, "encode");
    // The first NAL unit's length and header stay, so that the packet still reaches the
    // decoder as a picture; what follows is noise.
    if (packets++ == r.damagedPacket) {
      for (int i = 5; i < e.packet->size; ++i) {
        e.packet->data[i] = static_cast<std::uint8_t>(i * 37 + 11);
      }
    }
    if (e.packet->duration == 0) e.packet->duration = 1;
    out.write(e.packet, e.codec->time_base);
  }
}

}  // namespace

void makeVideo(const std::string& path, const VideoRecipe& recipe) {
  Muxer out(path, recipe.container);
  Encoder e;
  openEncoder(e, recipe, out.globalHeader());
  check(avcodec_parameters_from_context(out.stream->codecpar, e.codec), "parameters");
  out.stream->time_base = e.codec->time_base;
  out.header(recipe.creationTime, recipe.faststart);

  toolkit::SceneOptions options = recipe.scene;
  options.width = recipe.width;
  options.height = recipe.height;
  const toolkit::SyntheticScene scene(options);
  int packets = 0;
  // Without noise the meadow alone is the same picture every time: converted once, so that a
  // long video of it takes no longer than the encoder does.
  bool meadowPainted = false;
  for (int i = 0; i < recipe.frames; ++i) {
    const bool meadow =
        options.sensorNoise == 0 && (i < options.enterFrame || i >= options.leaveFrame);
    if (!meadow || !meadowPainted) paint(e, scene.frame(i));
    meadowPainted = meadow;
    check(av_frame_make_writable(e.frame), "frame");
    e.frame->pts = i;
    check(avcodec_send_frame(e.codec, e.frame), "encode");
    drain(e, out, recipe, packets);
  }
  check(avcodec_send_frame(e.codec, nullptr), "flush");
  drain(e, out, recipe, packets);
  out.finish();
}

void writeJpegVideo(const std::string& path, const std::string& container,
                    const std::vector<std::vector<std::uint8_t>>& jpegs, int width, int height,
                    int rateNum, int rateDen) {
  Muxer out(path, container);
  AVCodecParameters* par = out.stream->codecpar;
  par->codec_type = AVMEDIA_TYPE_VIDEO;
  par->codec_id = AV_CODEC_ID_MJPEG;
  par->width = width;
  par->height = height;
  par->format = AV_PIX_FMT_YUVJ420P;
  const AVRational rate{rateDen, rateNum};
  out.stream->time_base = rate;
  out.stream->avg_frame_rate = {rateNum, rateDen};
  out.header("", false);
  AVPacket* packet = av_packet_alloc();
  for (std::size_t i = 0; i < jpegs.size(); ++i) {
    check(av_new_packet(packet, static_cast<int>(jpegs[i].size())), "packet");
    if (!jpegs[i].empty()) std::memcpy(packet->data, jpegs[i].data(), jpegs[i].size());
    packet->pts = packet->dts = static_cast<std::int64_t>(i);
    packet->duration = 1;
    packet->flags |= AV_PKT_FLAG_KEY;
    out.write(packet, rate);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  out.finish();
}

void writeSoundOnly(const std::string& path) {
  Muxer out(path, "mov");
  AVCodecParameters* sound = out.stream->codecpar;
  sound->codec_type = AVMEDIA_TYPE_AUDIO;
  sound->codec_id = AV_CODEC_ID_PCM_S16LE;
  sound->sample_rate = 8000;
  av_channel_layout_default(&sound->ch_layout, 1);
  sound->bits_per_coded_sample = 16;
  sound->block_align = 2;
  out.stream->time_base = {1, 8000};
  out.header("", false);
  AVPacket* packet = av_packet_alloc();
  for (int k = 0; k < 10; ++k) {
    check(av_new_packet(packet, 1600), "packet");
    std::memset(packet->data, 0, 1600);
    packet->pts = packet->dts = k * 800;
    packet->duration = 800;
    out.write(packet, {1, 8000});
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  out.finish();
}

void quietLibav() { av_log_set_level(AV_LOG_QUIET); }

}  // namespace testing_support
