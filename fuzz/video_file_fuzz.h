#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzing {

// Opens arbitrary bytes as a camera's video through the video reader, from memory, and reads
// its first frames, its last ones and the first again. Every input must end in a VideoError or
// in frames whose sizes agree with what the reader said at opening: no crash, no hang.
void openVideoBytes(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzing
