#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzing {

// Decodes arbitrary bytes as a frame's JPEG the way a search does (search::FrameDecoder, with the
// cell sums it makes band by band) and as the window does (toolkit::decodeJpeg). Every input must
// end in a picture or a refusal, never a crash or a hang, and within the limits on a picture's
// size and cost; both decoders agree on whether there is a picture, why not, and its pixels, and
// the cell sums are those of the finished picture.
void decodeFrameBytes(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzing
