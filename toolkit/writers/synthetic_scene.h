#pragma once

// A made-up outdoor scene for sample clips, tests and benchmarks: a textured meadow seen by a
// fixed camera, faint sensor noise in every frame, and an animal that walks across during a
// chosen run of frames. The same options always give the same pictures.

#include <cstdint>
#include <vector>

#include "toolkit/core/image.h"

namespace toolkit {

struct SceneOptions {
  int width = 640;
  int height = 480;
  std::uint32_t seed = 1;
  // The animal is in the picture on frames [enterFrame, leaveFrame), walking left to right.
  int enterFrame = 20;
  int leaveFrame = 40;
  int sensorNoise = 2;  // peak amplitude of the per-frame noise, in levels of 255
};

class SyntheticScene {
 public:
  explicit SyntheticScene(SceneOptions options);

  RgbImage frame(int index) const;
  const SceneOptions& options() const { return m_options; }

 private:
  SceneOptions m_options;
  std::vector<std::uint8_t> m_background;  // RGB
};

}  // namespace toolkit
