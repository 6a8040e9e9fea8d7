#pragma once

// Owning handles of libav's objects, each freed by its own library call.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <memory>
#include <string>

namespace video {

struct FrameFree {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFree {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct CodecFree {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};

using FramePtr = std::unique_ptr<AVFrame, FrameFree>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFree>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecFree>;

// libav's words for an error code, as av_strerror gives them.
std::string avErrorText(int code);

}  // namespace video
