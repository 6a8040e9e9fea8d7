#include "app/json_value.h"

#include <charconv>

namespace app {

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

  bool number(JsonValue& out) {
    const char* begin = m_text.data() + m_at;
    const char* end = m_text.data() + m_text.size();
    if (begin == end || !(*begin == '-' || (*begin >= '0' && *begin <= '9'))) return false;
    const auto [next, error] = std::from_chars(begin, end, out.m_number);
    if (error != std::errc()) return false;
    const auto [whole, wholeError] = std::from_chars(begin, next, out.m_integer);
    out.m_exact = wholeError == std::errc() && whole == next;
    out.m_kind = JsonValue::Kind::Number;
    m_at += static_cast<std::size_t>(next - begin);
    return true;
  }

  static void putUtf8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xC0 | code >> 6);
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      out += static_cast<char>(0xE0 | code >> 12);
      out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    }
  }

  bool string(std::string& out) {
    ++m_at;  // the opening quote
    while (m_at < m_text.size()) {
      const char c = m_text[m_at++];
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\') {
        out += c;
        continue;
      }
      if (m_at >= m_text.size()) return false;
      const char e = m_text[m_at++];
      switch (e) {
        case '"':
        case '\\':
        case '/':
          out += e;
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u': {
          std::uint32_t code = 0;
          if (m_at + 4 > m_text.size()) return false;
          const auto [next, error] =
              std::from_chars(m_text.data() + m_at, m_text.data() + m_at + 4, code, 16);
          if (error != std::errc() || next != m_text.data() + m_at + 4) return false;
          m_at += 4;
          putUtf8(out, code);
          break;
        }
        default:
          return false;
      }
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

}  // namespace app
