#include <string>
#include <string_view>

#include "video/av_handles.h"
#include "video/packet_index.h"
#include "video/video_file.h"

namespace video {
namespace {

// Packets read before MP4's index is trusted: enough to see a composition offset where the
// stream has one.
constexpr int kPacketsCompared = 32;
// AVI's index gives the position of a chunk's header, its packets that of the data behind it.
constexpr std::int64_t kAviChunkHeader = 8;

void checkCount(std::int64_t count) {
  if (count > PacketIndex::kMaxPackets) {
    throw VideoError("too many frames (more than " + std::to_string(PacketIndex::kMaxPackets) +
                     ")");
  }
}

bool isMov(const AVFormatContext* format) {
  return std::string_view(format->iformat->name).starts_with("mov,");
}

bool isAvi(const AVFormatContext* format) {
  return std::string_view(format->iformat->name) == "avi";
}

// Whether the container's index holds every packet the header counts. AVI's grows with the
// packets read where the file has none, MP4's misses the fragments of a fragmented movie and the
// samples an edit list dropped.
bool indexComplete(const AVStream* stream) {
  const int entries = avformat_index_get_entries_count(stream);
  return entries > 0 && stream->nb_frames == entries;
}

bool sameAsEntry(AVStream* stream, std::int64_t packet, const AVPacket* read) {
  const AVIndexEntry* entry = avformat_index_get_entry(stream, static_cast<int>(packet));
  return entry && read->pts == entry->timestamp && read->dts == entry->timestamp &&
         read->pos == entry->pos;
}

// The index entries up to the first whose data does not lie wholly in the file: a truncated tail
// is a writer that died, and its frames are those it finished.
void fromEntries(PacketIndex& index, AVStream* stream, std::int64_t fileSize,
                 std::int64_t headerBytes, bool positionsKnown) {
  const int count = avformat_index_get_entries_count(stream);
  checkCount(count);
  for (int i = 0; i < count; ++i) {
    const AVIndexEntry* entry = avformat_index_get_entry(stream, i);
    if (entry->pos < 0 || entry->size < 0 || entry->pos > fileSize - headerBytes - entry->size) {
      break;
    }
    index.add(entry->timestamp,
              positionsKnown ? entry->pos + headerBytes : PacketIndex::kUnknownPos,
              entry->flags & AVINDEX_KEYFRAME, !(entry->flags & AVINDEX_DISCARD_FRAME));
  }
}

std::int64_t keyOf(const AVPacket* packet, std::int64_t previous) {
  if (packet->pts != AV_NOPTS_VALUE) return packet->pts;
  if (packet->dts != AV_NOPTS_VALUE) return packet->dts;
  return previous + 1;
}

// Every packet of the stream, read (not decoded) from the start, where the demuxer is after
// opening. Reading stops at the first error, as a player's does. False when an MP4's own index
// turned out to be enough after its first packets.
bool byReading(PacketIndex& index, AVFormatContext* format, AVStream* stream) {
  // MP4 and MOV index every sample but keep its composition offset to themselves: their index
  // is the frames' own timestamps only where no packet has one.
  const bool tryMovIndex =
      isMov(format) && indexComplete(stream) && stream->codecpar->video_delay == 0;
  PacketPtr packet(av_packet_alloc());
  if (!packet) throw VideoError("out of memory");
  std::int64_t previous = -1;
  bool entriesAgree = tryMovIndex;
  while (av_read_frame(format, packet.get()) >= 0) {
    if (packet->stream_index == stream->index) {
      const std::int64_t n = index.packetCount();
      checkCount(n + 1);
      if (entriesAgree && n < kPacketsCompared) entriesAgree = sameAsEntry(stream, n, packet.get());
      if (entriesAgree && n + 1 == kPacketsCompared) return false;
      previous = keyOf(packet.get(), previous);
      index.add(previous, packet->pos, packet->flags & AV_PKT_FLAG_KEY,
                !(packet->flags & AV_PKT_FLAG_DISCARD));
    }
    av_packet_unref(packet.get());
  }
  return !entriesAgree;
}

}  // namespace

PacketIndex PacketIndex::build(AVFormatContext* format, AVStream* stream, std::int64_t fileSize) {
  PacketIndex index;
  if (isAvi(format) && indexComplete(stream)) {
    // AVI has no presentation times: a frame's timestamp is its number, which no two share.
    fromEntries(index, stream, fileSize, kAviChunkHeader, false);
  } else if (!byReading(index, format, stream)) {
    index = PacketIndex();
    fromEntries(index, stream, fileSize, 0, true);
  }
  index.finish();
  return index;
}

}  // namespace video
