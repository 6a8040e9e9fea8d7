#include "clip/clip_scan.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "toolkit/core/little_endian.h"
#include "toolkit/core/runtime_error.h"

namespace clip {
namespace {

constexpr std::int64_t kBlockBytes = 1 << 16;
constexpr std::int64_t kWindowBytes = 1 << 12;

}  // namespace

void ClipScanner::readAt(std::int64_t pos, std::uint8_t* out, std::size_t n) {
  std::memset(out, 0, n);
  if (pos < 1 || pos > m_length) return;
  const std::int64_t offset = pos - 1;
  const auto inWindow = [&] {
    return m_windowStart >= 0 && offset >= m_windowStart &&
           offset + static_cast<std::int64_t>(n) <=
               m_windowStart + static_cast<std::int64_t>(m_window.size());
  };
  if (!inWindow()) {
    // Reads that follow on from the window are the index being read entry by entry: take a
    // whole window. Jumps elsewhere are the walk from chunk to chunk: take just a little.
    const bool sequential =
        m_windowStart >= 0 && offset >= m_windowStart &&
        offset < m_windowStart + static_cast<std::int64_t>(m_window.size()) + kWindowBytes;
    const std::int64_t want = sequential ? kWindowBytes : 16;
    m_window.resize(static_cast<std::size_t>(std::min(want, m_length - offset)));
    m_window.resize(m_file.readAt(offset, m_window));
    m_windowStart = offset;
  }
  const auto from = static_cast<std::size_t>(offset - m_windowStart);
  std::memcpy(out, m_window.data() + from, std::min(n, m_window.size() - from));
}

toolkit::Long ClipScanner::number(std::int64_t pos) {
  std::int64_t v = unsignedNumber(pos);
  if (v > INT32_MAX) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::Overflow);
  return static_cast<std::int32_t>(v);
}

std::int64_t ClipScanner::unsignedNumber(std::int64_t pos) {
  std::uint8_t b[4];
  readAt(pos, b, 4);
  return toolkit::decodeFixed32(b);
}

bool ClipScanner::tagAt(std::int64_t pos, std::string_view tag) {
  std::uint8_t b[8];
  readAt(pos, b, tag.size());
  return std::memcmp(b, tag.data(), tag.size()) == 0;
}

bool ClipScanner::isFrameTag(std::int64_t pos) {
  std::uint8_t b[4];
  readAt(pos, b, 4);
  auto digit = [](std::uint8_t c) { return c >= '0' && c <= '9'; };
  return digit(b[0]) && digit(b[1]) && b[2] == 'd' && (b[3] == 'c' || b[3] == 'b');
}

std::int64_t ClipScanner::findLast(std::string_view pattern) {
  const auto n = static_cast<std::int64_t>(pattern.size());
  std::int64_t end = m_length - n + 1;  // one past the last 0-based start that can match
  while (end > 0) {
    const std::int64_t start = std::max<std::int64_t>(0, end - kBlockBytes);
    const std::int64_t bytes = end - start + n - 1;
    m_block.resize(static_cast<std::size_t>(bytes));
    m_file.readAt(start, m_block);
    std::string_view view(reinterpret_cast<const char*>(m_block.data()), m_block.size());
    if (auto at = view.rfind(pattern); at != std::string_view::npos) {
      return start + static_cast<std::int64_t>(at) + 1;
    }
    end = start;
  }
  return 0;
}

std::int64_t ClipScanner::findFirst(std::string_view pattern) {
  const auto n = static_cast<std::int64_t>(pattern.size());
  for (std::int64_t start = 0; start + n <= m_length; start += kBlockBytes) {
    const std::int64_t bytes = std::min(kBlockBytes + n - 1, m_length - start);
    m_block.resize(static_cast<std::size_t>(bytes));
    m_file.readAt(start, m_block);
    std::string_view view(reinterpret_cast<const char*>(m_block.data()), m_block.size());
    if (auto at = view.find(pattern); at != std::string_view::npos) {
      return start + static_cast<std::int64_t>(at) + 1;
    }
  }
  return 0;
}

}  // namespace clip
