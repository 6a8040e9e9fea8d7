#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzing {

// Takes arbitrary bytes as a later start's connection would deliver them, in pieces of varied
// sizes, decodes them as the running window does, and checks what the window would do with the
// request. Every input ends in a request or a refusal, never over the limit: no crash, no hang,
// no allocation beyond the input's own size.
void handOverRequestBytes(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzing
