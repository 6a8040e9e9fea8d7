#include "toolkit/core/hand_over_request.h"

#include "toolkit/core/little_endian.h"

namespace toolkit {
namespace {

constexpr std::size_t kSizeBytes = 4;

std::size_t encodedSize(const std::vector<std::string>& parts) {
  std::size_t size = kSizeBytes;
  for (const std::string& part : parts) size += kSizeBytes + part.size();
  return size;
}

}  // namespace

bool handOverRequestFits(const std::vector<std::string>& parts) {
  return parts.size() <= kMaxHandOverParts && encodedSize(parts) <= kMaxHandOverRequestBytes;
}

std::vector<std::uint8_t> encodeHandOverRequest(const std::vector<std::string>& parts) {
  std::vector<std::uint8_t> out;
  out.reserve(encodedSize(parts));
  putFixed32(out, static_cast<std::uint32_t>(encodedSize(parts) - kSizeBytes));
  for (const std::string& part : parts) {
    putFixed32(out, static_cast<std::uint32_t>(part.size()));
    out.insert(out.end(), part.begin(), part.end());
  }
  return out;
}

HandOverDecode decodeHandOverRequest(const std::uint8_t* data, std::size_t size) {
  using Status = HandOverDecode::Status;
  if (size < kSizeBytes) return {};
  // Compared in 64 bits: a body size near 4 GiB must not wrap past the limit.
  const std::uint64_t whole = std::uint64_t{decodeFixed32(data)} + kSizeBytes;
  if (whole > kMaxHandOverRequestBytes) return {Status::Refused, {}};
  if (size < whole) return {};
  if (size > whole) return {Status::Refused, {}};

  HandOverDecode decoded{Status::Request, {}};
  std::size_t at = kSizeBytes;
  while (at < size) {
    if (size - at < kSizeBytes || decoded.parts.size() == kMaxHandOverParts) {
      return {Status::Refused, {}};
    }
    const std::uint32_t length = decodeFixed32(data + at);
    at += kSizeBytes;
    if (length > size - at) return {Status::Refused, {}};
    decoded.parts.emplace_back(reinterpret_cast<const char*>(data + at), length);
    at += length;
  }
  return decoded;
}

}  // namespace toolkit
