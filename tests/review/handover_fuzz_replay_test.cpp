// Runs the hand-over request's fuzz target over thousands of damaged requests made from good
// ones: flipped bytes, extreme sizes, cuts, bytes added, two requests run together. Set
// HG_WRITE_FUZZ_CORPUS to a folder to also write the undamaged seeds there for a libFuzzer run.

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "fuzz/handover_request_fuzz.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/hand_over_request.h"
#include "toolkit/core/little_endian.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> seeds() {
  std::vector<Bytes> out;
  for (const std::vector<std::string>& request : std::vector<std::vector<std::string>>{
           {"raise"},
           {"open", "/clips/garden.HGV", "7"},
           {"open", "/clips/a b/Yard 2.hgv", ""},
           {"open", "/" + std::string(4000, 'd') + ".HGV", "32767"},
           {"open", "garden.HGV", ""},
           {"open", "/clips/x.HGV", "-1"},
           {},
       }) {
    out.push_back(toolkit::encodeHandOverRequest(request));
  }
  return out;
}

void mutate(Bytes& bytes, const std::vector<Bytes>& base, std::mt19937& rng) {
  const std::uint32_t extremes[] = {0, 1, 3, 4, 0xfffc, 0xfffd, 0x10000, 0x7fffffff, 0xffffffff};
  const std::size_t at = bytes.empty() ? 0 : rng() % bytes.size();
  switch (rng() % 6) {
    case 0:
      if (!bytes.empty()) bytes[at] ^= static_cast<std::uint8_t>(1 + rng() % 255);
      break;
    case 1:
      if (at + 4 <= bytes.size()) toolkit::encodeFixed32(bytes.data() + at, extremes[rng() % 9]);
      break;
    case 2:
      bytes.resize(at);
      break;
    case 3:
      bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), rng() % 9, 0);
      break;
    case 4: {
      const Bytes& other = base[rng() % base.size()];
      bytes.insert(bytes.end(), other.begin(), other.end());
      break;
    }
    default:
      bytes.push_back(static_cast<std::uint8_t>(rng()));
  }
}

TEST(HandOverFuzzReplayTest, DamagedRequestsAreTakenOrRefusedWithinTheLimit) {
  const std::vector<Bytes> base = seeds();
  if (const char* dir = std::getenv("HG_WRITE_FUZZ_CORPUS")) {
    for (std::size_t i = 0; i < base.size(); ++i) {
      testing_support::writeBytes(std::string(dir) + "/seed" + std::to_string(i), base[i]);
    }
  }
  for (const Bytes& seed : base) fuzzing::handOverRequestBytes(seed.data(), seed.size());
  const Bytes largest =
      toolkit::encodeHandOverRequest({std::string(toolkit::kMaxHandOverRequestBytes - 8, 'p')});
  fuzzing::handOverRequestBytes(largest.data(), largest.size());
  Bytes over = largest;
  over.push_back(0);
  fuzzing::handOverRequestBytes(over.data(), over.size());

  std::mt19937 rng(2024);
  for (int round = 0; round < 6000; ++round) {
    Bytes bytes = base[rng() % base.size()];
    const int edits = 1 + static_cast<int>(rng() % 3);
    for (int e = 0; e < edits; ++e) mutate(bytes, base, rng);
    fuzzing::handOverRequestBytes(bytes.data(), bytes.size());
  }
}

}  // namespace
