#pragma once

// The clip reader: admits a file as a clip by tags at fixed offsets, builds the frame tables, and
// copies one frame at a time to the scratch file "Temp.jpg". The byte layout it relies on is in
// clip/clip_format.h.

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/core/platform.h"
#include "toolkit/core/vb_types.h"

namespace clip {

class ClipScanner;

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::Long;

// The module's variables and procedures. A fresh object is the state at program start.
class SeparateMJPG {
 public:
  explicit SeparateMJPG(toolkit::Platform& platform) : m_platform(platform) {}

  // Header check. True when admitted; then ClipPath, ClipWidth, ClipHeight and JunkSize hold the
  // file's values. Refusals and errors are reported in message boxes.
  Boolean InitialAviInfo(const std::string& path);

  // Index scan. The frame count (0 after a run-time error, which it reports in a box, or when the
  // index holds no whole entry). Fills IndexSizes, FrameSizes, FramePositions.
  Integer SaveAviChunk(const std::string& path);
  // Whether the last SaveAviChunk ended with its error box; a 0 without one is a silent refusal.
  bool scanShowedBox() const { return m_scanShowedBox; }

  // Copies frame `frame`'s bytes to "Temp.jpg" in the program folder and returns that path.
  // Sets ExtractedFrame, ExtractedSize, ExtractedPosition first. Run-time errors propagate as
  // toolkit::RuntimeError; the caller handles them.
  std::string ExtractCurrentJpg(const std::string& path, Integer frame);

  // Variables, named as the rest of the program knows them.
  std::string ClipPath;
  Long ClipWidth;
  Long ClipHeight;
  Integer JunkSize;
  Long IndexEntryCount;
  std::vector<std::int32_t> IndexSizes;      // 0 .. IndexEntryCount
  std::vector<std::int32_t> FrameSizes;      // 0 .. IndexEntryCount
  std::vector<std::int32_t> FramePositions;  // 0 .. IndexEntryCount, file positions from 1
  Long ExtractedFrame;
  Long ExtractedPosition;
  Long ExtractedSize;
  Long DisplayWidth;
  Long DisplayHeight;

 private:
  Integer recoverCutOffRecording(ClipScanner& scan);

  toolkit::Platform& m_platform;
  bool m_scanShowedBox = false;
};

}  // namespace clip
