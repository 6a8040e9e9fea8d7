#pragma once

// A reader of JSON, for what hgvtool itself writes and reads back (the scan's records), and the
// writing of its strings. It takes only what RFC 8259 allows: strings of valid UTF-8 (a path of
// other bytes travels beside its string, as the writer puts it) and finite numbers.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace scan {

class JsonValue {
 public:
  enum class Kind { Null, Bool, Number, String, Array, Object };

  // One whole JSON value and nothing after it but white space; nullopt for anything else,
  // including nesting deeper than 64, a string that is not UTF-8, a lone surrogate and a number
  // out of a double's range.
  static std::optional<JsonValue> parse(std::string_view text);

  Kind kind() const { return m_kind; }
  bool isNull() const { return m_kind == Kind::Null; }
  bool boolean() const { return m_kind == Kind::Bool && m_bool; }
  double number() const { return m_kind == Kind::Number ? m_number : 0; }
  // Whole numbers are kept exactly, beyond the 53 bits a double holds (times in nanoseconds).
  long long integer() const {
    return m_kind != Kind::Number ? 0 : m_exact ? m_integer : static_cast<long long>(m_number);
  }
  // A number written without fraction or exponent that fits 64 bits.
  bool isInteger() const { return m_kind == Kind::Number && m_exact; }
  const std::string& string() const { return m_string; }  // empty unless a string
  const std::vector<JsonValue>& array() const { return m_array; }
  const std::vector<std::pair<std::string, JsonValue>>& members() const { return m_object; }
  // A member of an object, or null when there is none.
  const JsonValue& operator[](std::string_view key) const;
  bool has(std::string_view key) const;

 private:
  friend class JsonParser;
  Kind m_kind = Kind::Null;
  bool m_bool = false;
  double m_number = 0;
  long long m_integer = 0;
  bool m_exact = false;
  std::string m_string;
  std::vector<JsonValue> m_array;
  std::vector<std::pair<std::string, JsonValue>> m_object;
};

// The length of the UTF-8 sequence at the start of `text`: 1 to 4, or 0 where none starts there
// (a stray byte, an overlong form, a surrogate, a code beyond U+10FFFF, a cut-off sequence).
std::size_t utf8SequenceLength(std::string_view text);
bool isUtf8(std::string_view text);
// `text` with each byte that starts no UTF-8 sequence replaced by U+FFFD.
std::string validUtf8(std::string_view text);

// A string as a JSON string literal, escapes included; a byte that is not UTF-8 becomes U+FFFD.
std::string jsonString(const std::string& s);

}  // namespace scan
