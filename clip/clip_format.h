#pragma once

// The byte layout of a clip, shared by the reader (clip/separate_mjpg.cpp) and the writer
// (clip/clip_writer.cpp). All numbers are little-endian; offsets count from 0.
//
//   0    "RIFF"  u32 riff size  "AVI "
//   12   "LIST"  u32 size       "hdrl"
//   24   "avih"  u32 cb = 56    56 bytes of main header: dwMicroSecPerFrame, dwMaxBytesPerSec,
//                               dwPaddingGranularity, dwFlags, dwTotalFrames, dwInitialFrames,
//                               dwStreams, dwSuggestedBufferSize, dwWidth (64), dwHeight (68),
//                               dwReserved[4]
//   88   "LIST"  u32 size       "strl"
//   100  "strh"  u32 56         stream header
//   164  "strf"  u32 40         BITMAPINFOHEADER
//   212  "JUNK"  u32 size       padding (the size must fit 16 bits)
//   ...  "LIST"  u32 size       "movi", then one chunk per picture:
//                "00dc" u32 size  <a whole JPEG file>   (no pad byte: the reader counts none)
//   ...  "idx1"  u32 entry bytes, 16 per picture: "00dc" u32 flags u32 offset u32 size
//
// The reader walks no chunk tree: it tests the tags at the fixed offsets, finds the rightmost
// "idx1" and the leftmost "movi00dc", and steps from chunk to chunk by the index's sizes.

#include <array>
#include <cstdint>
#include <string_view>

namespace clip::format {

inline constexpr std::int64_t kRiffOffset = 0;         // "RIFF", size, form type: 12 bytes
inline constexpr std::int64_t kMainHeaderOffset = 24;  // "avih" and 60 more bytes: 64 in all
inline constexpr std::int64_t kMainHeaderRecordBytes = 64;
inline constexpr std::int64_t kMicroSecPerFrameOffset = 32;  // dwMicroSecPerFrame
inline constexpr std::int64_t kWidthOffset = 64;
inline constexpr std::int64_t kHeightOffset = 68;
inline constexpr std::int64_t kStreamListOffset = 88;
inline constexpr std::int64_t kJunkOffset = 212;  // "JUNK", size: 8 bytes
inline constexpr std::int64_t kJunkDataOffset = 220;

inline constexpr std::string_view kRiffTag = "RIFF";
inline constexpr std::string_view kAviFormType = "AVI ";
inline constexpr std::string_view kMainHeaderTag = "avih";
inline constexpr std::string_view kJunkTag = "JUNK";
inline constexpr std::string_view kIndexTag = "idx1";
inline constexpr std::string_view kFrameTag = "00dc";
inline constexpr std::string_view kFirstFrameMarker = "movi00dc";

inline constexpr std::int64_t kIndexEntryBytes = 16;
inline constexpr std::int64_t kIndexEntrySizeOffset = 12;
inline constexpr std::uint32_t kIndexKeyFrameFlag = 0x10;

// Frame numbers are 16-bit: a clip holds at most this many.
inline constexpr int kMaxFrames = 32767;

}  // namespace clip::format
