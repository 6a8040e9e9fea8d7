// How long opening a clip takes (header check and index scan) for the largest clip there can be,
// 32,767 frames of about 60 KB, and what one extraction to the scratch file costs. The clip is a
// sparse file: only its headers and index hold real bytes.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "clip/separate_mjpg.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"
#include "clip/clip_writer.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main() {
  const auto folder = std::filesystem::temp_directory_path() / "hg-open-bench";
  std::filesystem::create_directories(folder);
  const std::string path = (folder / "big.hgv").string();
  toolkit::PosixFileSystem fs;
  {
    auto file = fs.openWrite(path);
    file->truncate(0);
    clip::ClipLayout layout;
    layout.width = 1280;
    layout.height = 720;
    clip::ClipWriter writer(*file, layout);
    for (int k = 0; k < 32767; ++k)
      writer.addSparseFrame(58000 + static_cast<std::uint32_t>(k * 37 % 4000));
    std::printf("clip: 32767 frames, %.2f GB (sparse)\n",
                static_cast<double>(writer.finish()) / 1e9);
  }

  toolkit::RecordingMessageSink sink;
  toolkit::Platform platform{fs, sink, folder.string()};
  std::vector<double> opens;
  int frames = 0;
  for (int run = 0; run < 15; ++run) {
    clip::SeparateMJPG reader(platform);
    const auto start = Clock::now();
    if (reader.InitialAviInfo(path)) frames = reader.SaveAviChunk(path).value();
    opens.push_back(seconds(Clock::now() - start));
  }
  std::printf("open (header check + index scan), warm, median of 15: %.4f s, %d frames\n",
              median(opens), frames);

  clip::SeparateMJPG reader(platform);
  reader.InitialAviInfo(path);
  reader.SaveAviChunk(path);
  const int extractions = 2000;
  const auto start = Clock::now();
  for (int i = 0; i < extractions; ++i) reader.ExtractCurrentJpg(path, (i * 7919) % 32767);
  std::printf("one extraction of ~60 KB to Temp.jpg: %.1f us\n",
              seconds(Clock::now() - start) / extractions * 1e6);
  std::printf("boxes shown: %zu\n", sink.boxes().size());
  std::printf("open_seconds %.4f\n", median(opens));

  std::filesystem::remove_all(folder);
  return sink.boxes().empty() && frames == 32767 ? 0 : 1;
}
