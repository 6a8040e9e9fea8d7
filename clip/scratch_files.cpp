#include "clip/scratch_files.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"

namespace clip {

using toolkit::RuntimeError;

ScratchFiles::ScratchFiles(toolkit::FileSystem& files, const std::string& folder)
    : m_files(files),
      m_jpegPath(toolkit::inFolder(folder, "Temp.jpg")),
      m_bitmapPath(toolkit::inFolder(folder, "1.bmp")),
      m_markedPath(toolkit::inFolder(folder, "temp.bmp")) {}

void ScratchFiles::loadJpegFile() {
  if (m_jpegKnown) return;
  m_jpeg.clear();
  if (m_mode == Mode::Files) {
    try {
      if (m_files.exists(m_jpegPath)) {
        const std::string old = toolkit::readWholeFile(m_files, m_jpegPath);
        m_jpeg.assign(old.begin(), old.end());
      }
    } catch (const RuntimeError&) {
      // A file that cannot be read lends no tail that anyone could see either.
    }
  }
  m_jpegKnown = true;
}

void ScratchFiles::putJpeg(const FramePtr& frame) {
  if (!frame->fromVideo) {
    m_videoFrame.reset();
    putJpegBytes(frame->jpeg);
    return;
  }
  // Encoding a video's picture costs more than decoding it: made only when the file is written
  // or read.
  m_videoFrame = frame;
  if (m_mode == Mode::Files && !held()) makeVideoJpeg();
}

void ScratchFiles::makeVideoJpeg() {
  if (!m_videoFrame) return;
  const FramePtr frame = std::move(m_videoFrame);
  m_videoFrame.reset();
  putJpegBytes(videoFrameJpeg(*frame));
}

void ScratchFiles::putJpegBytes(std::span<const std::uint8_t> jpeg) {
  loadJpegFile();
  const std::size_t size = jpeg.size();
  if (m_mode == Mode::Files && !held()) {
    m_files.openWrite(m_jpegPath)->writeAt(0, jpeg);
  } else if (m_mode == Mode::Files) {
    m_jpegPending = std::max(m_jpegPending, size);
  }
  if (m_jpeg.size() < size) m_jpeg.resize(size);
  if (size > 0) std::memcpy(m_jpeg.data(), jpeg.data(), size);
}

std::span<const std::uint8_t> ScratchFiles::jpegFile() {
  makeVideoJpeg();
  loadJpegFile();
  return m_jpeg;
}

void ScratchFiles::putBitmap(FramePtr frame) {
  if (m_mode != Mode::Files) return;
  if (held()) {
    m_bitmapFrame = std::move(frame);
    m_bitmapPending = true;
    return;
  }
  writeBitmap(frame.get());
}

void ScratchFiles::putMarked(std::function<std::vector<std::uint8_t>()> make) {
  if (m_mode != Mode::Files) return;
  m_marked = std::move(make);
  if (!held()) writeMarked();
}

void ScratchFiles::flush() {
  if (m_holds > 0 && --m_holds > 0) return;
  std::optional<RuntimeError> failed;
  try {
    makeVideoJpeg();
  } catch (const RuntimeError& e) {
    failed = e;
  }
  if (m_jpegPending > 0) {
    const std::size_t bytes = m_jpegPending;
    m_jpegPending = 0;
    try {
      writeJpeg(bytes);
    } catch (const RuntimeError& e) {
      failed = e;
    }
  }
  if (m_bitmapPending) {
    m_bitmapPending = false;
    writeBitmap(m_bitmapFrame.get());
    m_bitmapFrame.reset();
  }
  if (m_marked) {
    try {
      writeMarked();
    } catch (const RuntimeError& e) {
      if (!failed) failed = e;
    }
  }
  if (failed) throw *failed;
}

void ScratchFiles::writeJpeg(std::size_t bytes) {
  m_files.openWrite(m_jpegPath)->writeAt(0, std::span(m_jpeg).first(bytes));
}

void ScratchFiles::writeBitmap(const Frame* frame) {
  if (!frame || !frame->decoded()) {
    toolkit::discardFile(m_files, m_bitmapPath);
    return;
  }
  try {
    auto out = m_files.openWrite(m_bitmapPath);
    out->writeAt(0, frame->bitmap);
    out->truncate(static_cast<std::int64_t>(frame->bitmap.size()));
  } catch (const RuntimeError&) {
    toolkit::discardFile(m_files, m_bitmapPath);
  }
}

void ScratchFiles::writeMarked() {
  const auto make = std::move(m_marked);
  m_marked = nullptr;
  toolkit::writeWholeFile(m_files, m_markedPath, make());
}

void ScratchFiles::remove(const std::string& path) {
  if (path == m_jpegPath) {
    m_videoFrame.reset();
    m_jpeg.clear();
    m_jpegKnown = false;
    m_jpegPending = 0;
  }
  if (m_files.exists(path)) m_files.remove(path);
}

}  // namespace clip
