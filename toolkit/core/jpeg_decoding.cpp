#include "toolkit/core/jpeg_decoding.h"

// jpeglib.h needs the C standard types declared first.
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>

namespace toolkit {
namespace {

// The error manager and the progress monitor of one decompressor. libjpeg hands either back as
// the pointer it was given, so each is the first member of a struct that knows the rest.
struct Guard {
  struct Errors {
    jpeg_error_mgr pub;
    Guard* guard;
  } errors;
  struct Progress {
    jpeg_progress_mgr pub;
    Guard* guard;
  } progress;
  std::jmp_buf jump;
  std::int64_t pictureBlocks = 0;
  std::int64_t blocksRead = 0;  // by the scans begun so far
  int scan = 0;
  volatile bool refused = false;
};

[[noreturn]] void stop(Guard& guard, bool refuse) {
  if (refuse) guard.refused = true;
  std::longjmp(guard.jump, 1);
}

[[noreturn]] void errorExit(j_common_ptr cinfo) {
  Guard& guard = *reinterpret_cast<Guard::Errors*>(cinfo->err)->guard;
  // With a memory limit and no backing store, libjpeg gives up on a coefficient buffer that
  // does not fit.
  stop(guard, cinfo->err->msg_code == JERR_NO_BACKING_STORE);
}

// Messages are counted (num_warnings), never printed.
void outputMessage(j_common_ptr) {}

std::int64_t blocksOf(const jpeg_component_info& c) {
  return std::int64_t{c.width_in_blocks} * std::int64_t{c.height_in_blocks};
}

// Called before each row of MCUs a scan reads, and so before the first of each new scan.
void onProgress(j_common_ptr common) {
  auto* cinfo = reinterpret_cast<j_decompress_ptr>(common);
  Guard& guard = *reinterpret_cast<Guard::Progress*>(cinfo->progress)->guard;
  if (cinfo->input_scan_number == guard.scan) return;
  guard.scan = cinfo->input_scan_number;
  for (int i = 0; i < cinfo->comps_in_scan; ++i)
    guard.blocksRead += blocksOf(*cinfo->cur_comp_info[i]);
  if (guard.scan > kMaxJpegScans || guard.blocksRead > kMaxJpegBlockPasses * guard.pictureBlocks) {
    stop(guard, true);
  }
}

J_COLOR_SPACE colorSpaceOf(PixelOrder order) {
  switch (order) {
    case PixelOrder::Rgb:
      return JCS_EXT_RGB;
    case PixelOrder::Bgrx:
      return JCS_EXT_BGRX;
    case PixelOrder::Bgr:
      return JCS_EXT_BGR;
  }
  return JCS_EXT_RGB;
}

// A decompressor over `jpeg` with the guard's error manager, progress monitor and memory limit,
// destroyed with this.
class Decompressor {
 public:
  Decompressor(std::span<const std::uint8_t> jpeg, Guard& guard) {
    guard.errors.guard = &guard;
    guard.progress.guard = &guard;
    cinfo.err = jpeg_std_error(&guard.errors.pub);
    guard.errors.pub.error_exit = errorExit;
    guard.errors.pub.output_message = outputMessage;
    jpeg_create_decompress(&cinfo);
    cinfo.mem->max_memory_to_use = static_cast<long>(kMaxJpegWorkBytes);
    guard.progress.pub.progress_monitor = onProgress;
    cinfo.progress = &guard.progress.pub;
    jpeg_mem_src(&cinfo, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
  }
  ~Decompressor() { jpeg_destroy_decompress(&cinfo); }
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;

  jpeg_decompress_struct cinfo;
};

// After jpeg_start_decompress: the rows, band by band, into `top`.
void readRows(jpeg_decompress_struct& cinfo, std::uint8_t* top, std::ptrdiff_t pitch,
              const JpegOutput& output) {
  JSAMPROW rows[16];
  const auto height = static_cast<int>(cinfo.output_height);
  while (cinfo.output_scanline < cinfo.output_height) {
    const auto first = static_cast<int>(cinfo.output_scanline);
    const int count = std::min(16, height - first);
    for (int i = 0; i < count; ++i) rows[i] = top + static_cast<std::ptrdiff_t>(first + i) * pitch;
    const auto read =
        static_cast<int>(jpeg_read_scanlines(&cinfo, rows, static_cast<JDIMENSION>(count)));
    if (output.rowsDone && read > 0) output.rowsDone(first + read);
  }
  jpeg_finish_decompress(&cinfo);
}

}  // namespace

std::optional<JpegCost> jpegCost(std::span<const std::uint8_t> jpeg) {
  Guard guard;
  Decompressor d(jpeg, guard);
  if (setjmp(guard.jump) != 0) return std::nullopt;
  jpeg_read_header(&d.cinfo, TRUE);
  JpegCost cost;
  cost.width = static_cast<int>(d.cinfo.image_width);
  cost.height = static_cast<int>(d.cinfo.image_height);
  if (jpeg_has_multiple_scans(&d.cinfo)) {
    // The coefficient buffer holds each component's blocks, rounded up to whole MCUs.
    for (int i = 0; i < d.cinfo.num_components; ++i) {
      const jpeg_component_info& c = d.cinfo.comp_info[i];
      const auto across = (std::int64_t{c.width_in_blocks} + c.h_samp_factor - 1) /
                          c.h_samp_factor * c.h_samp_factor;
      const auto down = (std::int64_t{c.height_in_blocks} + c.v_samp_factor - 1) / c.v_samp_factor *
                        c.v_samp_factor;
      cost.workBytes += across * down * static_cast<std::int64_t>(sizeof(JBLOCK));
    }
  }
  return cost;
}

JpegResult decodeJpegRows(std::span<const std::uint8_t> jpeg, const JpegOutput& output) {
  Guard guard;
  Decompressor d(jpeg, guard);
  jpeg_decompress_struct& cinfo = d.cinfo;
  // Written after setjmp and read after a longjmp: volatile, so never kept in a register.
  volatile int width = 0, height = 0;
  volatile bool allocated = false;
  if (setjmp(guard.jump) == 0) {
    jpeg_read_header(&cinfo, TRUE);
    for (int i = 0; i < cinfo.num_components; ++i) {
      guard.pictureBlocks += blocksOf(cinfo.comp_info[i]);
    }
    cinfo.out_color_space = colorSpaceOf(output.order);
    cinfo.scale_num = static_cast<unsigned>(std::clamp(output.eighths, 1, 8));
    cinfo.scale_denom = 8;
    jpeg_calc_output_dimensions(&cinfo);
    width = static_cast<int>(cinfo.output_width);
    height = static_cast<int>(cinfo.output_height);
    // A stream of several scans is read whole here, before the output is allocated: a refused
    // one never costs its picture's memory.
    jpeg_start_decompress(&cinfo);
    std::ptrdiff_t pitch = 0;
    allocated = true;
    std::uint8_t* top = output.allocate(width, height, pitch);
    if (!top) return JpegResult::Failed;
    readRows(cinfo, top, pitch, output);
    return cinfo.err->num_warnings == 0 ? JpegResult::Clean : JpegResult::Warned;
  }
  if (guard.refused) return JpegResult::Refused;
  if (cinfo.err->num_warnings == 0) return JpegResult::Failed;
  // A fatal error after a warning leaves the rows not reached as they were: all of them when it
  // came before any row.
  if (!allocated) {
    std::ptrdiff_t pitch = 0;
    if (width <= 0 || !output.allocate(width, height, pitch)) return JpegResult::Failed;
  }
  return JpegResult::Warned;
}

}  // namespace toolkit
