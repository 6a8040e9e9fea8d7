#include "video/picture_cache.h"

namespace video {

std::size_t pictureBytes(const AVFrame& picture) {
  std::size_t bytes = 0;
  for (const AVBufferRef* buffer : picture.buf) {
    if (buffer) bytes += buffer->size;
  }
  return bytes;
}

const AVFrame* PictureCache::find(std::int64_t frame) {
  const auto it = m_where.find(frame);
  if (it == m_where.end()) return nullptr;
  m_recent.splice(m_recent.begin(), m_recent, it->second);
  return it->second->second.get();
}

void PictureCache::put(std::int64_t frame, const AVFrame& picture) {
  const std::size_t bytes = pictureBytes(picture);
  if (bytes > m_capacity) return;
  if (const auto it = m_where.find(frame); it != m_where.end()) drop(it->second);
  FramePtr copy(av_frame_alloc());
  if (!copy || av_frame_ref(copy.get(), &picture) < 0) return;
  while (!m_recent.empty() && m_bytes + bytes > m_capacity) drop(std::prev(m_recent.end()));
  m_recent.emplace_front(frame, std::move(copy));
  m_where[frame] = m_recent.begin();
  m_bytes += bytes;
}

void PictureCache::clear() {
  m_recent.clear();
  m_where.clear();
  m_bytes = 0;
}

void PictureCache::drop(std::list<Entry>::iterator it) {
  m_bytes -= pictureBytes(*it->second);
  m_where.erase(it->first);
  m_recent.erase(it);
}

}  // namespace video
