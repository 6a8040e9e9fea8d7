#pragma once

// The container of a video opened through libavformat, reading only the bytes we hand it: a file
// of the user's or bytes in memory. A demuxer that would open anything else (a playlist's
// entries, a reference movie's media, an image sequence) is refused, so a file cannot make us
// read another one or reach the network.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

namespace video {

// Bytes at random positions; the size is fixed when the source is made.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Up to `bytes` bytes at `offset` into `into`: how many were read, 0 past the end, or a negative
  // AVERROR.
  virtual int readAt(std::int64_t offset, std::uint8_t* into, int bytes) = 0;
  virtual std::int64_t size() const = 0;
};

// A regular file. Throws VideoError "cannot open (...)" for one that is missing or unreadable,
// a folder, a FIFO or a device (opened without waiting for a writer).
std::unique_ptr<ByteSource> fileSource(const std::string& path);
std::unique_ptr<ByteSource> memorySource(std::vector<std::uint8_t> bytes);

class Container {
 public:
  // Opens the container and finds its first video stream (an attached cover picture is not
  // one); every other stream is discarded. `name` is what the demuxers' probes see of the
  // file's name. Throws VideoError: "not a video file (...)", "no video stream", or a picture
  // size that is missing or larger than a picture may be.
  Container(std::unique_ptr<ByteSource> source, const std::string& name);
  ~Container();
  Container(const Container&) = delete;
  Container& operator=(const Container&) = delete;

  AVFormatContext* format() const { return m_format; }
  AVStream* stream() const { return m_stream; }
  std::int64_t fileSize() const { return m_source->size(); }

 private:
  static int read(void* opaque, std::uint8_t* into, int bytes);
  static std::int64_t seek(void* opaque, std::int64_t offset, int whence);
  void open(const std::string& name);
  void findVideoStream();
  void release();

  std::unique_ptr<ByteSource> m_source;
  std::int64_t m_position = 0;
  AVIOContext* m_io = nullptr;
  AVFormatContext* m_format = nullptr;
  AVStream* m_stream = nullptr;
  // The picture size of each stream as its header claims it, before the probe decodes any.
  std::vector<std::pair<std::int64_t, std::int64_t>> m_claimedSizes;
};

}  // namespace video
