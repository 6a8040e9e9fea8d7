#include "fuzz/clip_reader_fuzz.h"

#include <cstdlib>

#include "clip/separate_mjpg.h"
#include "tests/support/memory_file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/runtime_error.h"

namespace fuzzing {
namespace {

class CountingSink : public toolkit::MessageSink {
 public:
  void show(const toolkit::MessageBoxRequest&) override { ++boxes; }
  int boxes = 0;
};

}  // namespace

void openClipBytes(const std::uint8_t* data, std::size_t size) {
  testing_support::MemoryFileSystem fs;
  fs.files["/clip.hgv"].assign(data, data + size);
  CountingSink sink;
  toolkit::Platform platform{fs, sink, ""};
  clip::SeparateMJPG reader(platform);
  if (!reader.InitialAviInfo("/clip.hgv")) {
    if (sink.boxes != 1) std::abort();  // a refused file gets exactly one box
    return;
  }
  const int total = reader.SaveAviChunk("/clip.hgv").value();
  if (total < 0 || reader.FrameSizes.size() > 32769) std::abort();
  // The first frames and the last, as opening and stepping would reach them.
  for (int frame : {0, 1, 2, total - 1, total}) {
    if (frame < 0) continue;
    try {
      const std::string scratch = reader.ExtractCurrentJpg("/clip.hgv", frame);
      if (fs.files[scratch].size() > size) std::abort();
      auto& bytes = fs.files[scratch];
      (void)toolkit::decodeJpeg(bytes);
    } catch (const toolkit::RuntimeError&) {
    }
  }
}

}  // namespace fuzzing

#ifdef HG_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzing::openClipBytes(data, size);
  return 0;
}
#endif
