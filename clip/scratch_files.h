#pragma once

// The scratch files of the program folder, written here and nowhere else:
//
//   "Temp.jpg"  the bytes of the frame last extracted, written at the start of a file that is
//               never shortened: after a shorter frame, the tail of a longer one stays behind it;
//   "1.bmp"     the bitmap of the frame last compared, or no file when it had no picture;
//   "temp.bmp"  the marked picture of the last search result.
//
// Nobody reads them while a search runs, so a search holds the writes back (hold()) and writes
// them when it ends (flush()); the files then hold exactly what writing every frame would have
// left. Outside a search every put is written at once. In Mode::Memory nothing is written at all
// (a batch scan wants the results only), but "Temp.jpg" is still followed in memory: a frame that
// does not end cleanly is decoded with the tail the file gives it, and that must not depend on
// whether the file is written.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "clip/frame.h"
#include "toolkit/core/file_system.h"

namespace clip {

class ScratchFiles {
 public:
  enum class Mode { Files, Memory };

  // `folder`: the program folder, without a closing separator. `files` must outlive this.
  ScratchFiles(toolkit::FileSystem& files, const std::string& folder);

  void setMode(Mode mode) { m_mode = mode; }
  Mode mode() const { return m_mode; }

  const std::string& jpegPath() const { return m_jpegPath; }
  const std::string& bitmapPath() const { return m_bitmapPath; }
  const std::string& markedPath() const { return m_markedPath; }

  // "Temp.jpg": the frame's bytes at the start of the file (a video's picture as its JPEG). A
  // write that fails raises its run-time error and changes nothing that jpegFile() reports.
  void putJpeg(const FramePtr& frame);
  // What "Temp.jpg" holds after the puts so far, whether written yet or not.
  std::span<const std::uint8_t> jpegFile();

  // "1.bmp": the frame's bitmap, or no file when the frame has no picture. A bitmap that cannot
  // be written leaves no file (or an empty one) behind, silently, as the converter did.
  void putBitmap(FramePtr frame);

  // "temp.bmp": the whole bitmap file that `make` gives, made only if it is to be written: a
  // later put while the writes are held back replaces it unmade. Raises the write's run-time
  // error.
  void putMarked(std::function<std::vector<std::uint8_t>()> make);

  // Holds every write back until the matching flush(). Holds nest: a search holds its writes
  // inside a run of searches that holds them too, and only the outermost flush() writes.
  void hold() { ++m_holds; }
  bool held() const { return m_holds > 0; }
  // Ends one hold; the last writes what was held back. A failing "Temp.jpg" or "temp.bmp" raises
  // its run-time error after the other files are written.
  void flush();

  // Deletes the file at `path` if there is one (any path: the program's cleanup goes through
  // here), forgetting what it held.
  void remove(const std::string& path);

 private:
  void loadJpegFile();
  void putJpegBytes(std::span<const std::uint8_t> jpeg);
  void makeVideoJpeg();
  void writeJpeg(std::size_t bytes);
  void writeBitmap(const Frame* frame);
  void writeMarked();

  toolkit::FileSystem& m_files;
  std::string m_jpegPath;
  std::string m_bitmapPath;
  std::string m_markedPath;
  Mode m_mode = Mode::Files;
  int m_holds = 0;

  // What "Temp.jpg" holds; read from the disk before the first put, as a stale file of an
  // earlier run lends its tail too.
  std::vector<std::uint8_t> m_jpeg;
  bool m_jpegKnown = false;
  std::size_t m_jpegPending = 0;  // bytes at the start not yet written

  FramePtr m_videoFrame;   // a video's frame whose JPEG "Temp.jpg" holds, not made yet
  FramePtr m_bitmapFrame;  // held back for "1.bmp"
  bool m_bitmapPending = false;
  std::function<std::vector<std::uint8_t>()> m_marked;  // held back for "temp.bmp"
};

}  // namespace clip
