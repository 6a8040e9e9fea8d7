#pragma once

// The bytes a later start of the window program sends to the running one: a list of strings.
//
//   request := fixed32 body_size, body                    (little-endian, 4 + body_size bytes)
//   body    := { fixed32 part_size, part_size bytes }*     (at most kMaxHandOverParts parts)
//
// A whole request is at most kMaxHandOverRequestBytes: a clip's path is at most PATH_MAX, so
// anything larger is no request of ours. A connection carries one request and nothing after it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace toolkit {

inline constexpr std::size_t kMaxHandOverRequestBytes = 64 * 1024;
inline constexpr std::size_t kMaxHandOverParts = 16;

// REQUIRES: the encoding fits the limits above (handOverRequestFits).
std::vector<std::uint8_t> encodeHandOverRequest(const std::vector<std::string>& parts);
bool handOverRequestFits(const std::vector<std::string>& parts);

struct HandOverDecode {
  enum class Status { NeedMore, Request, Refused };
  Status status = Status::NeedMore;
  std::vector<std::string> parts;  // the request, when status is Request
};

// Decodes the bytes a connection has sent so far. Until they hold as many bytes as the size in
// front says, only that size is read (NeedMore, or Refused when it is over the limit), so a
// request that arrives a byte at a time is parsed once. Refused: over the limit, bytes after the
// request, a part that runs past the body, or too many parts.
HandOverDecode decodeHandOverRequest(const std::uint8_t* data, std::size_t size);

}  // namespace toolkit
