#pragma once

#include <gtest/gtest.h>

#include "clip/separate_mjpg.h"
#include "tests/support/faulty_file_system.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/message_box.h"
#include "clip/clip_writer.h"

namespace clip {

// A fresh reader over a temp folder that is also its program folder, with every box recorded.
class ClipFixture : public ::testing::Test {
 protected:
  ClipFixture() : platform{files, messages, dir.path()}, reader(platform) {}

  // Distinct small "pictures": the reader never decodes them, so any bytes do.
  static std::vector<std::uint8_t> picture(std::size_t size, std::uint8_t seed) {
    std::vector<std::uint8_t> p(size);
    for (std::size_t i = 0; i < size; ++i) p[i] = static_cast<std::uint8_t>(seed + i * 7);
    return p;
  }
  static std::vector<clip::ClipFrame> frames(std::initializer_list<std::size_t> sizes) {
    std::vector<clip::ClipFrame> out;
    std::uint8_t seed = 1;
    for (auto s : sizes) out.push_back({picture(s, seed++), {}, {}, "00dc"});
    return out;
  }
  static clip::ClipLayout layout(int width = 640, int height = 480) {
    clip::ClipLayout l;
    l.width = width;
    l.height = height;
    return l;
  }

  std::string write(const std::vector<std::uint8_t>& bytes, const std::string& name = "c.hgv") {
    const std::string path = dir.file(name);
    testing_support::writeBytes(path, bytes);
    return path;
  }
  std::string writeClip(const clip::ClipLayout& l, const std::vector<clip::ClipFrame>& f,
                        const std::string& name = "c.hgv") {
    return write(clip::buildClip(l, f), name);
  }

  // Header check and index scan, as opening does; returns the frame count (0 if refused).
  int open(const std::string& path) {
    if (!reader.InitialAviInfo(path)) return 0;
    return reader.SaveAviChunk(path).value();
  }

  const std::vector<toolkit::MessageBoxRequest>& boxes() const { return messages.boxes(); }

  testing_support::TempDir dir;
  testing_support::FaultyFileSystem files;
  toolkit::RecordingMessageSink messages;
  toolkit::Platform platform;
  SeparateMJPG reader;
};

inline void putU32(std::vector<std::uint8_t>& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

}  // namespace clip
