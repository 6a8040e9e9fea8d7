#include "clip/frame.h"

namespace clip {
namespace {

std::size_t bufferBytes(const Frame& frame) {
  return frame.jpeg.capacity() + frame.bitmap.capacity() +
         frame.cellSums.capacity() * sizeof(float);
}

}  // namespace

FramePool::FramePool(std::size_t keep, std::size_t keepBytes, const toolkit::ResourceBudget* budget)
    : m_spares(std::make_shared<Spares>()) {
  m_spares->keep = keep;
  m_spares->keepBytes = keepBytes;
  if (budget) m_spares->budget = *budget;
}

FramePtr FramePool::make() {
  std::unique_ptr<Frame> frame;
  {
    std::lock_guard lock(m_spares->mutex);
    if (!m_spares->frames.empty()) {
      frame = std::move(m_spares->frames.back());
      m_spares->frames.pop_back();
      m_spares->bytes -= bufferBytes(*frame);
    }
  }
  if (!frame) frame = std::make_unique<Frame>();
  frame->reservation.reset();
  // The bitmap keeps its size: a decoder that finds the size it needs writes over every byte
  // and so never pays for clearing the buffer first.
  frame->index = -1;
  frame->jpeg.clear();
  frame->picture = Frame::Picture::NotDecoded;
  frame->tooCostly = false;
  frame->width = frame->height = 0;
  frame->rowBytes = 0;
  frame->clean = false;
  frame->withTail = false;
  frame->fromVideo = false;
  frame->cellSize = 0;
  frame->cellSums.clear();
  return FramePtr(frame.release(), [spares = m_spares](Frame* f) {
    std::unique_ptr<Frame> owned(f);
    owned->reservation.reset();
    const std::size_t bytes = bufferBytes(*owned);
    toolkit::Reservation held;
    if (spares->budget) {
      held = spares->budget->tryReserve(static_cast<std::int64_t>(bytes));
      if (!held) return;
    }
    std::lock_guard lock(spares->mutex);
    if (spares->frames.size() < spares->keep && spares->bytes + bytes <= spares->keepBytes) {
      spares->bytes += bytes;
      owned->reservation = std::move(held);
      spares->frames.push_back(std::move(owned));
    }
  });
}

}  // namespace clip
