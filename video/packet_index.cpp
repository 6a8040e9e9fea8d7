#include "video/packet_index.h"

#include <algorithm>
#include <numeric>

namespace video {
namespace {

constexpr std::uint8_t kKeyframe = 1;
constexpr std::uint8_t kShown = 2;

}  // namespace

void PacketIndex::add(std::int64_t key, std::int64_t pos, bool keyframe, bool shown) {
  const auto packet = static_cast<std::int32_t>(m_keys.size());
  m_keys.push_back(key);
  m_pos.push_back(pos);
  m_flags.push_back(static_cast<std::uint8_t>((keyframe ? kKeyframe : 0) | (shown ? kShown : 0)));
  if (keyframe) m_keyframes.push_back(packet);
}

void PacketIndex::finish() {
  m_byKey.resize(m_keys.size());
  std::iota(m_byKey.begin(), m_byKey.end(), 0);
  std::stable_sort(m_byKey.begin(), m_byKey.end(),
                   [this](std::int32_t a, std::int32_t b) { return m_keys[a] < m_keys[b]; });
  m_frames.clear();
  for (std::int32_t packet : m_byKey) {
    if (m_flags[packet] & kShown) m_frames.push_back(packet);
  }
  m_keys.shrink_to_fit();
  m_pos.shrink_to_fit();
  m_flags.shrink_to_fit();
  m_frames.shrink_to_fit();
  m_keyframes.shrink_to_fit();
}

bool PacketIndex::matches(std::int64_t packet, std::int64_t key, std::int64_t pos) const {
  if (packet < 0 || packet >= packetCount() || m_keys[packet] != key) return false;
  return pos == kUnknownPos || m_pos[packet] == kUnknownPos || m_pos[packet] == pos;
}

std::int64_t PacketIndex::packetWith(std::int64_t key, std::int64_t pos) const {
  auto it = std::lower_bound(m_byKey.begin(), m_byKey.end(), key,
                             [this](std::int32_t p, std::int64_t k) { return m_keys[p] < k; });
  for (; it != m_byKey.end() && m_keys[*it] == key; ++it) {
    if (matches(*it, key, pos)) return *it;
  }
  return -1;
}

std::int64_t PacketIndex::frameWithKey(std::int64_t key, std::int64_t after) const {
  const auto first =
      std::lower_bound(m_frames.begin(), m_frames.end(), key,
                       [this](std::int32_t p, std::int64_t k) { return m_keys[p] < k; });
  if (first == m_frames.end() || m_keys[*first] != key) return -1;
  const std::int64_t frame = first - m_frames.begin();
  // Equal keys are told apart by the order they come out in.
  if (frame <= after && after + 1 < frameCount() && m_keys[m_frames[after + 1]] == key) {
    return after + 1;
  }
  return frame;
}

std::int64_t PacketIndex::startFor(std::int64_t frame) const {
  const std::int32_t packet = m_frames[frame];
  const std::int64_t key = m_keys[packet];
  auto it = std::upper_bound(m_keyframes.begin(), m_keyframes.end(), packet);
  while (it != m_keyframes.begin()) {
    --it;
    if (m_keys[*it] <= key) return *it;
  }
  return 0;
}

std::int64_t PacketIndex::keyframeBefore(std::int64_t packet) const {
  if (packet <= 0) return -1;
  auto it = std::lower_bound(m_keyframes.begin(), m_keyframes.end(), packet);
  return it == m_keyframes.begin() ? 0 : *(it - 1);
}

}  // namespace video
