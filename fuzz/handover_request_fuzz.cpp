#include "fuzz/handover_request_fuzz.h"

#include <algorithm>
#include <cstdlib>

#include "app/window_start.h"
#include "toolkit/core/hand_over_request.h"

namespace fuzzing {
namespace {

using toolkit::HandOverDecode;
using Status = HandOverDecode::Status;

void check(bool holds) {
  if (!holds) std::abort();
}

// What the window does with a decoded request: a start it accepts is one a later start could
// have sent, and sending that again reads back the same.
void checkAnswer(const std::vector<std::string>& parts) {
  const std::optional<app::WindowStart> start = app::readHandOverRequest(parts);
  if (!start) return;
  const std::vector<std::string> again = app::handOverRequest(*start);
  check(toolkit::handOverRequestFits(again));
  const std::optional<app::WindowStart> reread = app::readHandOverRequest(again);
  check(reread && reread->clip == start->clip && reread->frame == start->frame);
}

}  // namespace

void handOverRequestBytes(const std::uint8_t* data, std::size_t size) {
  const HandOverDecode whole = toolkit::decodeHandOverRequest(data, size);
  if (size > toolkit::kMaxHandOverRequestBytes) check(whole.status == Status::Refused);
  if (whole.status == Status::Request) {
    check(toolkit::handOverRequestFits(whole.parts));
    check(toolkit::encodeHandOverRequest(whole.parts) ==
          std::vector<std::uint8_t>(data, data + size));
    checkAnswer(whole.parts);
  }

  // As the bytes arrive: until the size in front says the request is whole there is nothing to
  // decide, and what is decided then stands whatever follows.
  std::size_t have = 0;
  for (std::size_t piece = 1; have < size; piece = piece % 7 + (have % 5) + 1) {
    have = std::min(size, have + piece);
    const HandOverDecode now = toolkit::decodeHandOverRequest(data, have);
    if (now.status == Status::NeedMore) continue;
    if (now.status == Status::Request) {
      check(whole.status == Status::Refused || (have == size && whole.parts == now.parts));
    } else {
      check(whole.status == Status::Refused);
    }
    return;
  }
  check(whole.status == Status::NeedMore);
}

}  // namespace fuzzing

#ifdef HG_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzing::handOverRequestBytes(data, size);
  return 0;
}
#endif
