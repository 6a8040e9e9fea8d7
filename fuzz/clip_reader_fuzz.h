#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzing {

// Opens arbitrary bytes as a clip the way the window does, then extracts and decodes frames.
// Every input must end in a box or a result: no crash, no hang, and no allocation beyond the
// input's own size (plus the fixed frame tables of at most 32,768 entries each).
void openClipBytes(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzing
