#include "scan/json_value.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace scan {

class JsonParser {
 public:
  explicit JsonParser(std::string_view text) : m_text(text) {}

  bool value(JsonValue& out, int depth) {
    if (depth > 64) return false;
    space();
    if (m_at >= m_text.size()) return false;
    const char c = m_text[m_at];
    if (c == '{') return object(out, depth);
    if (c == '[') return array(out, depth);
    if (c == '"') {
      out.m_kind = JsonValue::Kind::String;
      return string(out.m_string);
    }
    if (word("true")) return set(out, true);
    if (word("false")) return set(out, false);
    if (word("null")) return true;
    return number(out);
  }

  bool atEnd() {
    space();
    return m_at == m_text.size();
  }

 private:
  void space() {
    while (m_at < m_text.size() && (m_text[m_at] == ' ' || m_text[m_at] == '\t' ||
                                    m_text[m_at] == '\n' || m_text[m_at] == '\r')) {
      ++m_at;
    }
  }
  bool eat(char c) {
    space();
    if (m_at >= m_text.size() || m_text[m_at] != c) return false;
    ++m_at;
    return true;
  }
  bool word(std::string_view w) {
    if (m_text.substr(m_at, w.size()) != w) return false;
    m_at += w.size();
    return true;
  }
  static bool set(JsonValue& out, bool b) {
    out.m_kind = JsonValue::Kind::Bool;
    out.m_bool = b;
    return true;
  }

  // The grammar of RFC 8259: -?(0|[1-9][0-9]*)(.[0-9]+)?([eE][+-]?[0-9]+)?, nothing more, so
  // that "inf", "nan", "0x10" and "01" are refused; a number beyond a double's range is too.
  bool number(JsonValue& out) {
    const std::size_t start = m_at;
    std::size_t at = m_at;
    const auto digits = [&] {
      const std::size_t from = at;
      while (at < m_text.size() && m_text[at] >= '0' && m_text[at] <= '9') ++at;
      return at > from;
    };
    if (at < m_text.size() && m_text[at] == '-') ++at;
    if (at < m_text.size() && m_text[at] == '0') {
      ++at;
    } else if (!digits()) {
      return false;
    }
    const std::size_t whole = at;
    if (at < m_text.size() && m_text[at] == '.' && (++at, !digits())) return false;
    if (at < m_text.size() && (m_text[at] == 'e' || m_text[at] == 'E')) {
      ++at;
      if (at < m_text.size() && (m_text[at] == '+' || m_text[at] == '-')) ++at;
      if (!digits()) return false;
    }
    const char* begin = m_text.data() + start;
    const char* end = m_text.data() + at;
    const auto [next, error] = std::from_chars(begin, end, out.m_number);
    if (error != std::errc() || next != end || !std::isfinite(out.m_number)) return false;
    const auto [last, wholeError] = std::from_chars(begin, end, out.m_integer);
    out.m_exact = whole == at && wholeError == std::errc() && last == end;
    out.m_kind = JsonValue::Kind::Number;
    m_at = at;
    return true;
  }

  static void putUtf8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xC0 | code >> 6);
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      out += static_cast<char>(0xE0 | code >> 12);
      out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | code >> 18);
      out += static_cast<char>(0x80 | (code >> 12 & 0x3F));
      out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    }
  }

  bool hex4(std::uint32_t& code) {
    if (m_at + 4 > m_text.size()) return false;
    const char* begin = m_text.data() + m_at;
    for (const char* c = begin; c != begin + 4; ++c) {
      if (!std::isxdigit(static_cast<unsigned char>(*c))) return false;
    }
    std::from_chars(begin, begin + 4, code, 16);
    m_at += 4;
    return true;
  }

  // After "\u": one code point, a surrogate pair taken together; a lone surrogate is refused, as
  // it stands for no character and has no UTF-8 form.
  bool escapedCode(std::string& out) {
    std::uint32_t code = 0;
    if (!hex4(code)) return false;
    if (code >= 0xDC00 && code <= 0xDFFF) return false;
    if (code >= 0xD800 && code <= 0xDBFF) {
      std::uint32_t low = 0;
      if (!word("\\u") || !hex4(low) || low < 0xDC00 || low > 0xDFFF) return false;
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
    putUtf8(out, code);
    return true;
  }

  bool string(std::string& out) {
    ++m_at;  // the opening quote
    while (m_at < m_text.size()) {
      const char c = m_text[m_at];
      if (c == '"') {
        ++m_at;
        return true;
      }
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\') {
        const std::size_t length = utf8SequenceLength(m_text.substr(m_at));
        if (length == 0) return false;
        out.append(m_text.substr(m_at, length));
        m_at += length;
        continue;
      }
      if (++m_at >= m_text.size()) return false;
      const char e = m_text[m_at++];
      if (e == 'u') {
        if (!escapedCode(out)) return false;
        continue;
      }
      constexpr std::string_view kEscapes = "\"\\/bfnrt", kMeanings = "\"\\/\b\f\n\r\t";
      const std::size_t k = kEscapes.find(e);
      if (k == std::string_view::npos) return false;
      out += kMeanings[k];
    }
    return false;
  }

  bool array(JsonValue& out, int depth) {
    ++m_at;
    out.m_kind = JsonValue::Kind::Array;
    if (eat(']')) return true;
    do {
      out.m_array.emplace_back();
      if (!value(out.m_array.back(), depth + 1)) return false;
    } while (eat(','));
    return eat(']');
  }

  bool object(JsonValue& out, int depth) {
    ++m_at;
    out.m_kind = JsonValue::Kind::Object;
    if (eat('}')) return true;
    do {
      space();
      if (m_at >= m_text.size() || m_text[m_at] != '"') return false;
      std::string key;
      if (!string(key) || !eat(':')) return false;
      out.m_object.emplace_back(std::move(key), JsonValue());
      if (!value(out.m_object.back().second, depth + 1)) return false;
    } while (eat(','));
    return eat('}');
  }

  std::string_view m_text;
  std::size_t m_at = 0;
};

std::optional<JsonValue> JsonValue::parse(std::string_view text) {
  JsonParser parser(text);
  JsonValue value;
  if (!parser.value(value, 0) || !parser.atEnd()) return std::nullopt;
  return value;
}

const JsonValue& JsonValue::operator[](std::string_view key) const {
  static const JsonValue kNull;
  for (const auto& [name, value] : m_object) {
    if (name == key) return value;
  }
  return kNull;
}

bool JsonValue::has(std::string_view key) const {
  for (const auto& member : m_object) {
    if (member.first == key) return true;
  }
  return false;
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

std::string jsonString(const std::string& s) {
  std::string out = "\"";
  for (std::size_t at = 0; at < s.size();) {
    const auto c = static_cast<unsigned char>(s[at]);
    const std::size_t length = utf8SequenceLength(std::string_view(s).substr(at));
    if (length > 1) {
      out.append(s, at, length);
    } else if (length == 0) {
      out += "\xEF\xBF\xBD";  // U+FFFD: JSON is UTF-8, and this byte is none of it
    } else if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c == '\n' || c == '\r' || c == '\t') {
      out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out += static_cast<char>(c);
    }
    at += std::max<std::size_t>(length, 1);
  }
  return out + "\"";
}

}  // namespace scan
