#pragma once

// The clip reader: admits a file as a clip by tags at fixed offsets, builds the frame tables, and
// reads one frame at a time as a Frame, whose bytes go to the scratch file "Temp.jpg". The byte
// layout it relies on is in clip/clip_format.h.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "clip/frame.h"
#include "clip/scratch_files.h"
#include "toolkit/core/platform.h"
#include "toolkit/core/vb_types.h"

namespace video {
class VideoFile;
struct VideoFacts;
}  // namespace video

namespace clip {

class ClipScanner;

// Where a frame's bytes lie in its clip.
struct FramePlace {
  std::int32_t frame = 0;
  std::int64_t offset = 0;  // from 0
  std::int32_t size = 0;
};

// Reads a frame's bytes into `out` as extraction does: a frame larger than the whole file is
// "Input past end of file" (62); a file shorter than the frame's end leaves zeros in the rest.
void readFrameBytes(toolkit::ReadableFile& file, const FramePlace& place,
                    std::vector<std::uint8_t>& out);

// Frames that are at hand before the clip is read for them: frames decoded ahead on other threads
// during a search.
class FrameSource {
 public:
  virtual ~FrameSource() = default;
  // Frame `index` of the clip at `path`, its bytes read by readFrameBytes, or nullptr when the
  // source does not have it and the clip must be read.
  virtual FramePtr take(const std::string& path, std::int32_t index) = 0;
};

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::Long;

// The module's variables and procedures. A fresh object is the state at program start.
class SeparateMJPG {
 public:
  explicit SeparateMJPG(toolkit::Platform& platform);
  ~SeparateMJPG();
  SeparateMJPG(const SeparateMJPG&) = delete;
  SeparateMJPG& operator=(const SeparateMJPG&) = delete;

  // Whether `path` is read as a clip: its name ends in ".hgv" in any case, or its first bytes
  // carry the tags the header check tests. A file that cannot be read goes that way too, and the
  // header check says why. Any other file is a camera's video.
  static bool isClipFile(toolkit::FileSystem& files, const std::string& path);

  // Opens `path` as a camera's video. When it cannot, one box names the file and the reason, and
  // nothing here changes: a clip or video that was open stays open. When it can, ClipPath,
  // ClipWidth, ClipHeight and MicroSecPerFrame hold the video's values, JunkSize is 0, and
  // SaveAviChunk gives its frame count.
  Boolean OpenVideo(const std::string& path);
  // The facts of the open video; nullptr while the open file is a clip.
  const video::VideoFacts* videoFacts() const;
  // Frame `frame` as a JPEG, as a clip of this footage holds it: a clip's or an MJPEG video's
  // own bytes, else the video's picture encoded at quality 95. Raises "Subscript out of range"
  // (9) for a frame outside the footage, and the reading's run-time errors.
  std::vector<std::uint8_t> frameJpeg(Long frame);

  // Header check. True when admitted; then ClipPath, ClipWidth, ClipHeight, JunkSize and
  // MicroSecPerFrame hold the file's values. Refusals and errors are reported in message boxes.
  Boolean InitialAviInfo(const std::string& path);

  // Index scan. The frame count (0 after a run-time error, which it reports in a box, or when the
  // index holds no whole entry). Fills IndexSizes, FrameSizes, FramePositions.
  Long SaveAviChunk(const std::string& path);
  // Whether the last SaveAviChunk ended with its error box; a 0 without one is a silent refusal.
  bool scanShowedBox() const { return m_scanShowedBox; }

  // Reads frame `frame` of the clip at `path` and puts its bytes into "Temp.jpg" through the
  // scratch files; returns that path. Sets ExtractedFrame, ExtractedSize, ExtractedPosition first.
  // Run-time errors propagate as toolkit::RuntimeError; the caller handles them.
  std::string ExtractCurrentJpg(const std::string& path, Long frame);

  // The frame of the last extraction that reached "Temp.jpg": the frame the scratch file holds.
  // nullptr before the first.
  const FramePtr& lastExtracted() const { return m_lastExtracted; }
  // Where frame `frame` lies, by the tables; "Subscript out of range" (9) for a frame outside
  // them and for one of size 0 or less.
  FramePlace placeOf(Long frame) const;

  // The decoding threads of a video opened from now on; 0 is one a core. Its pictures do not
  // depend on them.
  int VideoThreads = 0;

  // Frames to take before reading the clip; nullptr reads every frame. Not owned.
  void setFrameSource(FrameSource* source) { m_source = source; }
  ScratchFiles& scratch() { return m_scratch; }

  // Variables, named as the rest of the program knows them.
  std::string ClipPath;
  Long ClipWidth;
  Long ClipHeight;
  Integer JunkSize;
  std::uint32_t MicroSecPerFrame = 0;  // as the clip says it: 0 when it does not say
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
  FramePtr videoFrame(std::int32_t index);
  Long videoFrameCount();
  std::string extractVideoFrame(Long frame);

  // The open video, when the open file is one.
  std::unique_ptr<video::VideoFile> m_video;

  toolkit::Platform& m_platform;
  bool m_scanShowedBox = false;
  ScratchFiles m_scratch;
  FramePool m_pool;
  FrameSource* m_source = nullptr;
  FramePtr m_lastExtracted;
};

}  // namespace clip
