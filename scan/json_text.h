#pragma once

// JSON as hgvtool writes it and reads back what it wrote (the scan's records), through
// nlohmann/json. The reader takes only what RFC 8259 allows: strings of valid UTF-8 (a path of
// other bytes travels beside its string, as the writer puts it) and finite numbers.

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace scan {

// One whole JSON value and nothing after it but white space; nullopt for anything else,
// including nesting deeper than 64, a string that is not UTF-8, a lone surrogate and a number
// out of a double's range.
std::optional<nlohmann::json> parseJson(std::string_view text);

// A member of an object, or null when there is none (or `object` is not an object).
const nlohmann::json& member(const nlohmann::json& object, const char* key);

// A number written without fraction or exponent that fits 64 bits signed; nullopt for anything
// else.
std::optional<long long> wholeNumber(const nlohmann::json& value);

// The length of the UTF-8 sequence at the start of `text`: 1 to 4, or 0 where none starts there
// (a stray byte, an overlong form, a surrogate, a code beyond U+10FFFF, a cut-off sequence).
std::size_t utf8SequenceLength(std::string_view text);
bool isUtf8(std::string_view text);
// `text` with each byte that starts no UTF-8 sequence replaced by U+FFFD.
std::string validUtf8(std::string_view text);

// `value` as the program writes JSON: the library's text for every string and number, with ", "
// between items and ": " after a key, as our files have always had them.
std::string jsonText(const nlohmann::ordered_json& value);
// A number of seconds as the files give it: a whole number as an integer, else rounded to the
// microsecond (so that 0.1 * 3 is written 0.3).
nlohmann::ordered_json secondsJson(double seconds);
// A string as JSON holds it: each byte that starts no UTF-8 sequence replaced by U+FFFD.
inline nlohmann::ordered_json textJson(std::string_view s) { return validUtf8(s); }

}  // namespace scan
