#pragma once

// Clips of a still scene in which squares come and go, made without a window: the tests of the
// search, the scan and the window share them, and those of the scan link no Qt.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"

namespace testing_support {

// A still, textured scene in which light squares stand during chosen runs of frames: the only
// changes between frames are where a square comes or goes.
struct Square {
  int x, y, size;
  int from, to;  // shown on frames [from, to)
};
std::vector<std::uint8_t> sceneJpeg(int width, int height, const std::vector<Square>& squares,
                                    int index);

// A test over a temp folder in which it makes clips.
class SceneClipTest : public ::testing::Test {
 protected:
  std::string file(const std::string& name) const { return m_dir.file(name); }
  // A clip of these frames in the temp folder.
  std::string writeClip(const std::string& name,
                        const std::vector<std::vector<std::uint8_t>>& jpegs, int width, int height);
  // A clip of `count` frames of the scene of `squares`.
  std::string sceneClip(const std::string& name, int count, const std::vector<Square>& squares,
                        int width = 640, int height = 480);
  // The JPEG of frame `index` of the last clip made.
  const std::vector<std::uint8_t>& jpegOf(int index) const { return m_jpegs.at(index); }

  TempDir m_dir;
  toolkit::PosixFileSystem m_files;
  std::vector<std::vector<std::uint8_t>> m_jpegs;
};

}  // namespace testing_support
