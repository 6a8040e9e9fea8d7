#include "video/video_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "toolkit/core/image.h"
#include "video/av_handles.h"
#include "video/video_file.h"

namespace video {
namespace {

constexpr int kIoBufferBytes = 64 * 1024;

class FileSource : public ByteSource {
 public:
  FileSource(int fd, std::int64_t size) : m_fd(fd), m_size(size) {}
  ~FileSource() override { ::close(m_fd); }

  int readAt(std::int64_t offset, std::uint8_t* into, int bytes) override {
    for (;;) {
      const ssize_t got = ::pread(m_fd, into, static_cast<std::size_t>(bytes), offset);
      if (got >= 0) return static_cast<int>(got);
      if (errno != EINTR) return AVERROR(errno);
    }
  }
  std::int64_t size() const override { return m_size; }

 private:
  int m_fd;
  std::int64_t m_size;
};

class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

  int readAt(std::int64_t offset, std::uint8_t* into, int bytes) override {
    if (offset < 0 || offset >= size()) return 0;
    const auto n = std::min<std::int64_t>(bytes, size() - offset);
    std::memcpy(into, m_bytes.data() + offset, static_cast<std::size_t>(n));
    return static_cast<int>(n);
  }
  std::int64_t size() const override { return static_cast<std::int64_t>(m_bytes.size()); }

 private:
  std::vector<std::uint8_t> m_bytes;
};

[[noreturn]] void cannotOpen(const std::string& why) {
  throw VideoError("cannot open (" + why + ")");
}

int refuseOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
  return AVERROR(EPERM);
}

// libavformat decodes a few pictures of each stream to learn their format: not one larger than
// a picture may be, whatever size the stream claims.
int findStreamInfo(AVFormatContext* format) {
  std::vector<AVDictionary*> options(format->nb_streams, nullptr);
  for (AVDictionary*& o : options) {
    av_dict_set_int(&o, "max_pixels", toolkit::kMaxPicturePixels, 0);
  }
  const int result = avformat_find_stream_info(format, options.data());
  for (AVDictionary*& o : options) av_dict_free(&o);
  return result;
}

void refuseSize(std::int64_t width, std::int64_t height) {
  if (width * height > toolkit::kMaxPicturePixels) {
    throw VideoError("the pictures are too large (" + std::to_string(width) + " x " +
                     std::to_string(height) + ")");
  }
}

}  // namespace

std::string avErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

std::unique_ptr<ByteSource> fileSource(const std::string& path) {
  // O_NONBLOCK: a FIFO must not hold us until someone writes to it.
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) cannotOpen(std::strerror(errno));
  struct stat st {};
  if (::fstat(fd, &st) != 0) {
    const int error = errno;
    ::close(fd);
    cannotOpen(std::strerror(error));
  }
  if (!S_ISREG(st.st_mode)) {
    ::close(fd);
    cannotOpen(S_ISDIR(st.st_mode) ? std::strerror(EISDIR) : "not a regular file");
  }
  return std::make_unique<FileSource>(fd, static_cast<std::int64_t>(st.st_size));
}

std::unique_ptr<ByteSource> memorySource(std::vector<std::uint8_t> bytes) {
  return std::make_unique<MemorySource>(std::move(bytes));
}

int Container::read(void* opaque, std::uint8_t* into, int bytes) {
  auto* self = static_cast<Container*>(opaque);
  const int got = self->m_source->readAt(self->m_position, into, bytes);
  if (got == 0) return AVERROR_EOF;
  if (got > 0) self->m_position += got;
  return got;
}

std::int64_t Container::seek(void* opaque, std::int64_t offset, int whence) {
  auto* self = static_cast<Container*>(opaque);
  std::int64_t to = offset;
  switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
      return self->m_source->size();
    case SEEK_SET:
      break;
    case SEEK_CUR:
      to = self->m_position + offset;
      break;
    case SEEK_END:
      to = self->m_source->size() + offset;
      break;
    default:
      return AVERROR(EINVAL);
  }
  if (to < 0) return AVERROR(EINVAL);
  self->m_position = to;
  return to;
}

Container::Container(std::unique_ptr<ByteSource> source, const std::string& name)
    : m_source(std::move(source)) {
  try {
    open(name);
    findVideoStream();
  } catch (...) {
    release();
    throw;
  }
}

Container::~Container() { release(); }

void Container::release() {
  avformat_close_input(&m_format);
  if (m_io) {
    av_freep(&m_io->buffer);
    avio_context_free(&m_io);
  }
}

void Container::open(const std::string& name) {
  auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
  m_io = buffer ? avio_alloc_context(buffer, kIoBufferBytes, 0, this, &Container::read, nullptr,
                                     &Container::seek)
                : nullptr;
  if (!m_io) av_free(buffer);
  m_format = avformat_alloc_context();
  if (!m_io || !m_format) throw VideoError("not a video file (out of memory)");
  m_format->pb = m_io;
  m_format->flags |= AVFMT_FLAG_CUSTOM_IO;
  m_format->io_open = &refuseOpen;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "none", 0);
  // On failure libavformat frees the context (and nulls our pointer); the I/O context stays ours.
  int result = avformat_open_input(&m_format, name.c_str(), nullptr, &options);
  av_dict_free(&options);
  if (result >= 0) {
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
      const AVCodecParameters* par = m_format->streams[i]->codecpar;
      m_claimedSizes.emplace_back(par->width, par->height);
    }
    result = findStreamInfo(m_format);
  }
  if (result < 0) throw VideoError("not a video file (" + avErrorText(result) + ")");
}

void Container::findVideoStream() {
  for (unsigned i = 0; i < m_format->nb_streams; ++i) {
    AVStream* s = m_format->streams[i];
    const bool video = s->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
                       !(s->disposition & AV_DISPOSITION_ATTACHED_PIC);
    if (video && !m_stream) {
      m_stream = s;
    } else {
      s->discard = AVDISCARD_ALL;
    }
  }
  if (!m_stream) throw VideoError("no video stream");
  const std::int64_t width = m_stream->codecpar->width, height = m_stream->codecpar->height;
  // The probe refuses to decode a picture of a size the header claims and leaves no size.
  const auto index = static_cast<std::size_t>(m_stream->index);
  if ((width <= 0 || height <= 0) && index < m_claimedSizes.size()) {
    const auto [claimedWidth, claimedHeight] = m_claimedSizes[index];
    if (claimedWidth > 0 && claimedHeight > 0) refuseSize(claimedWidth, claimedHeight);
  }
  if (width <= 0 || height <= 0) throw VideoError("not a video file (no picture size)");
  refuseSize(width, height);
}

}  // namespace video
