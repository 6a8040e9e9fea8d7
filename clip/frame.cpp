#include "clip/frame.h"

namespace clip {

FramePool::FramePool(std::size_t keep) : m_spares(std::make_shared<Spares>()) {
  m_spares->keep = keep;
}

FramePtr FramePool::make() {
  std::unique_ptr<Frame> frame;
  {
    std::lock_guard lock(m_spares->mutex);
    if (!m_spares->frames.empty()) {
      frame = std::move(m_spares->frames.back());
      m_spares->frames.pop_back();
    }
  }
  if (!frame) frame = std::make_unique<Frame>();
  // The bitmap keeps its size: a decoder that finds the size it needs writes over every byte
  // and so never pays for clearing the buffer first.
  frame->index = -1;
  frame->jpeg.clear();
  frame->picture = Frame::Picture::NotDecoded;
  frame->clean = false;
  frame->withTail = false;
  frame->cellSize = 0;
  frame->cellSums.clear();
  return FramePtr(frame.release(), [spares = m_spares](Frame* f) {
    std::unique_ptr<Frame> owned(f);
    std::lock_guard lock(spares->mutex);
    if (spares->frames.size() < spares->keep) spares->frames.push_back(std::move(owned));
  });
}

}  // namespace clip
