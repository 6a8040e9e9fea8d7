#pragma once

// Decoded pictures kept by frame number, as the decoder gave them (references to its buffers,
// not copies), the least recently used dropped first once their bytes pass the capacity.

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <utility>

#include "video/av_handles.h"

namespace video {

class PictureCache {
 public:
  explicit PictureCache(std::size_t capacity) : m_capacity(capacity) {}

  // The picture of `frame`, or null; a hit becomes the most recently used. The pointer lives
  // until the next put or clear.
  const AVFrame* find(std::int64_t frame);
  // Keeps a new reference to `picture` as `frame`'s, unless it alone is larger than the cache.
  void put(std::int64_t frame, const AVFrame& picture);
  void clear();
  std::size_t bytes() const { return m_bytes; }

 private:
  using Entry = std::pair<std::int64_t, FramePtr>;
  void drop(std::list<Entry>::iterator it);

  std::size_t m_capacity;
  std::size_t m_bytes = 0;
  std::list<Entry> m_recent;  // most recently used first
  std::unordered_map<std::int64_t, std::list<Entry>::iterator> m_where;
};

// The bytes a picture's buffers hold.
std::size_t pictureBytes(const AVFrame& picture);

}  // namespace video
