#pragma once

// A reader of JSON, for what hgvtool itself writes and reads back (the scan's records). Strings
// keep any bytes the writer passed through, so a clip's path of any bytes comes back as it went.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace app {

class JsonValue {
 public:
  enum class Kind { Null, Bool, Number, String, Array, Object };

  // One whole JSON value and nothing after it but white space; nullopt for anything else,
  // including nesting deeper than 64.
  static std::optional<JsonValue> parse(std::string_view text);

  Kind kind() const { return m_kind; }
  bool isNull() const { return m_kind == Kind::Null; }
  bool boolean() const { return m_kind == Kind::Bool && m_bool; }
  double number() const { return m_kind == Kind::Number ? m_number : 0; }
  // Whole numbers are kept exactly, beyond the 53 bits a double holds (times in nanoseconds).
  long long integer() const {
    return m_kind != Kind::Number ? 0 : m_exact ? m_integer : static_cast<long long>(m_number);
  }
  const std::string& string() const { return m_string; }  // empty unless a string
  const std::vector<JsonValue>& array() const { return m_array; }
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

}  // namespace app
