#include "video/video_facts.h"

#include <cmath>
#include <limits>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/rational.h>
}

namespace video {
namespace {

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
std::int64_t daysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

bool digits(std::string_view text, std::size_t at, std::size_t count, int& value) {
  if (at + count > text.size()) return false;
  value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + (text[i] - '0');
  }
  return true;
}

bool isLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int daysIn(int y, int m) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && isLeap(y) ? 29 : kDays[m - 1];
}

}  // namespace

std::optional<std::int64_t> parseCreationTime(std::string_view text) {
  int year, month, day, hour, minute, second;
  if (!digits(text, 0, 4, year) || text.size() < 19 || text[4] != '-' ||
      !digits(text, 5, 2, month) || text[7] != '-' || !digits(text, 8, 2, day) ||
      (text[10] != 'T' && text[10] != ' ') || !digits(text, 11, 2, hour) || text[13] != ':' ||
      !digits(text, 14, 2, minute) || text[16] != ':' || !digits(text, 17, 2, second)) {
    return std::nullopt;
  }
  std::size_t at = 19;
  if (at < text.size() && text[at] == '.') {
    ++at;
    const std::size_t first = at;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
    if (at == first) return std::nullopt;
  }
  if (at < text.size() && text[at] == 'Z') ++at;
  if (at != text.size()) return std::nullopt;
  if (month < 1 || month > 12 || day < 1 || day > daysIn(year, month) || hour > 23 || minute > 59 ||
      second > 60) {
    return std::nullopt;
  }
  return daysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
}

VideoFacts readFacts(const AVFormatContext* format, const AVStream* stream,
                     std::int64_t frameCount) {
  VideoFacts facts;
  const AVCodecParameters* par = stream->codecpar;
  facts.codec = avcodec_get_name(par->codec_id);
  facts.container = format->iformat->name;
  facts.width = par->width;
  facts.height = par->height;
  facts.frameCount = frameCount;
  facts.jpegFrames = par->codec_id == AV_CODEC_ID_MJPEG;

  AVRational rate = stream->avg_frame_rate;
  if (rate.num <= 0 || rate.den <= 0) rate = stream->r_frame_rate;
  if (rate.num > 0 && rate.den > 0) {
    int num = 0, den = 1;
    av_reduce(&num, &den, rate.num, rate.den, std::numeric_limits<std::int32_t>::max());
    facts.rateNum = num;
    facts.rateDen = den;
    const double micro = std::round(1e6 * den / num);
    facts.microSecPerFrame =
        micro > std::numeric_limits<std::uint32_t>::max() ? 0 : static_cast<std::uint32_t>(micro);
    facts.durationSeconds = static_cast<double>(frameCount) * den / num;
  }

  if (const AVDictionaryEntry* tag = av_dict_get(format->metadata, "creation_time", nullptr, 0)) {
    facts.creationTime = parseCreationTime(tag->value);
  }
  return facts;
}

}  // namespace video
