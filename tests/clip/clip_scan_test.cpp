// The scanner reads in blocks; its matches must be those of a byte-by-byte search, also where a
// pattern straddles a block's edge.

#include "clip/clip_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"

namespace clip {
namespace {

std::int64_t naiveFirst(const std::vector<std::uint8_t>& b, std::string_view p) {
  auto it = std::search(b.begin(), b.end(), p.begin(), p.end());
  return it == b.end() ? 0 : (it - b.begin()) + 1;
}

std::int64_t naiveLast(const std::vector<std::uint8_t>& b, std::string_view p) {
  auto it = std::find_end(b.begin(), b.end(), p.begin(), p.end());
  return it == b.end() ? 0 : (it - b.begin()) + 1;
}

TEST(ClipScannerTest, BlockSearchesFindWhatAByteByByteSearchFinds) {
  testing_support::TempDir dir;
  toolkit::PosixFileSystem fs;
  std::mt19937 rng(7);
  const std::int64_t block = 1 << 16;
  const std::int64_t places[] = {0,         1,     block - 8, block - 5,     block - 4,
                                 block - 1, block, block + 3, 2 * block - 2, 3 * block - 7};
  for (std::int64_t size :
       {std::int64_t{7}, std::int64_t{8}, block - 1, block + 5, 3 * block + 1}) {
    for (std::int64_t at : places) {
      for (std::string_view pattern : {std::string_view("idx1"), std::string_view("movi00dc")}) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
        for (auto& b : bytes) b = static_cast<std::uint8_t>('a' + rng() % 3);
        if (at + static_cast<std::int64_t>(pattern.size()) <= size) {
          std::copy(pattern.begin(), pattern.end(), bytes.begin() + at);
        }
        // A second, partial occurrence cut off by the end of the file must not count.
        std::copy_n(pattern.begin(), std::min<std::size_t>(pattern.size() - 1, bytes.size()),
                    bytes.end() - std::min<std::ptrdiff_t>(pattern.size() - 1, size));
        testing_support::writeBytes(dir.file("f"), bytes);
        auto file = fs.openRead(dir.file("f"));
        ClipScanner scan(*file);
        SCOPED_TRACE(testing::Message() << "size " << size << " at " << at << " " << pattern);
        EXPECT_EQ(scan.findFirst(pattern), naiveFirst(bytes, pattern));
        EXPECT_EQ(scan.findLast(pattern), naiveLast(bytes, pattern));
      }
    }
  }
}

TEST(ClipScannerTest, NumbersReadAcrossTheWindowAndPastTheEnd) {
  testing_support::TempDir dir;
  toolkit::PosixFileSystem fs;
  std::vector<std::uint8_t> bytes(10000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 31);
  testing_support::writeBytes(dir.file("f"), bytes);
  auto file = fs.openRead(dir.file("f"));
  ClipScanner scan(*file);
  auto expect = [&](std::int64_t pos) {
    std::int64_t v = 0;
    for (int i = 3; i >= 0; --i) {
      const auto at = static_cast<std::size_t>(pos - 1 + i);
      v = v * 256 + (at < bytes.size() ? bytes[at] : 0);
    }
    return v;
  };
  // In order (the index), far jumps (the walk), back again, and across the end of the file.
  for (std::int64_t pos : {1, 5, 4093, 4094, 4097, 9000, 17, 4095, 9997, 9998, 10000, 10001}) {
    EXPECT_EQ(scan.unsignedNumber(pos), expect(pos)) << pos;
  }
}

}  // namespace
}  // namespace clip
