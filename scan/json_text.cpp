#include "scan/json_text.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace scan {

namespace {

// A journal line is shallow: this is far more than it holds, and far less than could exhaust a
// reader.
constexpr int kMostDepth = 64;

}  // namespace

std::optional<nlohmann::json> parseJson(std::string_view text) {
  // The library passes over a byte order mark; a line of the journal never starts with one.
  if (text.substr(0, 3) == "\xEF\xBB\xBF") return std::nullopt;
  bool tooDeep = false;
  const nlohmann::json::parser_callback_t refuseDeep =
      [&tooDeep](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
        tooDeep = tooDeep || depth > kMostDepth;
        return !tooDeep;
      };
  nlohmann::json value = nlohmann::json::parse(text.begin(), text.end(), refuseDeep, false);
  if (tooDeep || value.is_discarded()) return std::nullopt;
  return value;
}

const nlohmann::json& member(const nlohmann::json& object, const char* key) {
  static const nlohmann::json none;
  if (!object.is_object()) return none;
  const auto found = object.find(key);
  return found == object.end() ? none : *found;
}

std::optional<long long> wholeNumber(const nlohmann::json& value) {
  if (value.is_number_unsigned()) {
    const auto n = value.get<std::uint64_t>();
    if (n > static_cast<std::uint64_t>(std::numeric_limits<long long>::max())) return std::nullopt;
    return static_cast<long long>(n);
  }
  if (value.is_number_integer()) return value.get<std::int64_t>();
  return std::nullopt;
}

namespace {

void writeJson(const nlohmann::ordered_json& value, std::string& out) {
  if (value.is_array()) {
    out += '[';
    for (auto item = value.begin(); item != value.end(); ++item) {
      if (item != value.begin()) out += ", ";
      writeJson(*item, out);
    }
    out += ']';
  } else if (value.is_object()) {
    out += '{';
    for (auto item = value.begin(); item != value.end(); ++item) {
      if (item != value.begin()) out += ", ";
      writeJson(nlohmann::ordered_json(item.key()), out);
      out += ": ";
      writeJson(item.value(), out);
    }
    out += '}';
  } else {
    out += value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  }
}

}  // namespace

std::string jsonText(const nlohmann::ordered_json& value) {
  std::string out;
  writeJson(value, out);
  return out;
}

nlohmann::ordered_json secondsJson(double seconds) {
  // Rounded as printf rounds, so that the library's shortest text is the one the files have
  // always had; multiplying by a million would round some halves the other way.
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", seconds);
  const double rounded = std::strtod(text, nullptr);
  // Within a long long's range every whole double is exact.
  if (rounded == std::floor(rounded) && std::fabs(rounded) < 9e15) {
    return static_cast<long long>(rounded);
  }
  return rounded;
}

std::size_t utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the second byte's range, narrowed for some leads
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong
    if (lead == 0xF4) high = 0x8F;  // beyond U+10FFFF
  } else {
    return 0;
  }
  if (text.size() < length || byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  }
  return length;
}

bool isUtf8(std::string_view text) {
  for (std::size_t at = 0, length; at < text.size(); at += length) {
    if ((length = utf8SequenceLength(text.substr(at))) == 0) return false;
  }
  return true;
}

std::string validUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = utf8SequenceLength(text.substr(at));
    if (length == 0) {
      out += "\xEF\xBF\xBD";
      ++at;
    } else {
      out.append(text.substr(at, length));
      at += length;
    }
  }
  return out;
}

}  // namespace scan
