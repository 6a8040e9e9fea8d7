extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <filesystem>

#include "clip/separate_mjpg.h"
#include "export/core/exports.h"
#include "tests/support/media_facts.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"

namespace testing_support {

namespace fs = std::filesystem;

VideoFacts readVideo(const std::string& path) {
  VideoFacts facts;
  AVFormatContext* format = nullptr;
  if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0) return facts;
  avformat_find_stream_info(format, nullptr);
  const int index = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index >= 0) {
    AVStream* stream = format->streams[index];
    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    facts.codec = decoder ? decoder->name : "";
    facts.width = stream->codecpar->width;
    facts.height = stream->codecpar->height;
    facts.fps = av_q2d(stream->r_frame_rate);
    AVCodecContext* codec = avcodec_alloc_context3(decoder);
    avcodec_parameters_to_context(codec, stream->codecpar);
    avcodec_open2(codec, decoder, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    const auto drain = [&] {
      while (avcodec_receive_frame(codec, frame) == 0) ++facts.pictures;
    };
    while (av_read_frame(format, packet) >= 0) {
      if (packet->stream_index == index) avcodec_send_packet(codec, packet);
      av_packet_unref(packet);
      drain();
    }
    avcodec_send_packet(codec, nullptr);
    drain();
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
  }
  avformat_close_input(&format);
  return facts;
}

ClipFacts readClip(const std::string& path, const std::string& folder) {
  fs::create_directories(folder);
  toolkit::PosixFileSystem files;
  toolkit::RecordingMessageSink sink;
  toolkit::Platform platform{files, sink, folder};
  clip::SeparateMJPG reader(platform);
  ClipFacts facts;
  facts.admitted = reader.InitialAviInfo(path) != toolkit::kFalse;
  if (!facts.admitted) return facts;
  facts.width = reader.ClipWidth.value();
  facts.height = reader.ClipHeight.value();
  const int count = reader.SaveAviChunk(path).value();
  for (int i = 0; i < count; ++i)
    facts.frames.push_back(readBytes(reader.ExtractCurrentJpg(path, i)));
  // The scratch file keeps the longest frame's length: cut each to its own size.
  for (int i = 0; i < count; ++i) facts.frames[i].resize(reader.FrameSizes[i]);
  facts.microSecPerFrame = exporting::clipMicroSecPerFrame(reader);
  return facts;
}

}  // namespace testing_support
