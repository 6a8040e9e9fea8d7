#include "toolkit/writers/synthetic_scene.h"

#include <algorithm>
#include <cmath>

namespace toolkit {
namespace {

std::uint32_t hash(std::uint32_t x, std::uint32_t y, std::uint32_t seed) {
  std::uint32_t h = x * 0x8da6b343u ^ y * 0xd8163841u ^ seed * 0xcb1ab31fu;
  h ^= h >> 13;
  h *= 0x5bd1e995u;
  h ^= h >> 15;
  return h;
}

double lattice(int x, int y, std::uint32_t seed) {
  return static_cast<double>(
             hash(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), seed) & 0xffff) /
         65535.0;
}

// Smoothly interpolated value noise, in [0, 1].
double valueNoise(double x, double y, std::uint32_t seed) {
  const int x0 = static_cast<int>(std::floor(x));
  const int y0 = static_cast<int>(std::floor(y));
  double fx = x - x0, fy = y - y0;
  fx = fx * fx * (3 - 2 * fx);
  fy = fy * fy * (3 - 2 * fy);
  const double a = lattice(x0, y0, seed), b = lattice(x0 + 1, y0, seed);
  const double c = lattice(x0, y0 + 1, seed), d = lattice(x0 + 1, y0 + 1, seed);
  return (a + (b - a) * fx) + ((c + (d - c) * fx) - (a + (b - a) * fx)) * fy;
}

double fractal(double x, double y, std::uint32_t seed) {
  double sum = 0, amp = 0.5, freq = 1;
  for (int octave = 0; octave < 5; ++octave) {
    sum += amp * valueNoise(x * freq, y * freq, seed + static_cast<std::uint32_t>(octave));
    amp *= 0.5;
    freq *= 2.03;
  }
  return sum / 0.97;
}

std::uint8_t clampByte(double v) { return static_cast<std::uint8_t>(std::clamp(v, 0.0, 255.0)); }

}  // namespace

SyntheticScene::SyntheticScene(SceneOptions options) : m_options(options) {
  const int w = m_options.width, h = m_options.height;
  m_background.resize(static_cast<std::size_t>(w) * h * 3);
  const double scale = 640.0 / std::max(w, 1);
  for (int y = 0; y < h; ++y) {
    const double depth = static_cast<double>(y) / std::max(h - 1, 1);  // 0 far, 1 near
    for (int x = 0; x < w; ++x) {
      const double sx = x * scale, sy = y * scale;
      const double broad = fractal(sx / 90.0, sy / 60.0, m_options.seed);
      const double grass = fractal(sx / (6.0 + 10 * (1 - depth)), sy / 3.0, m_options.seed + 17);
      const double bushes = fractal(sx / 40.0, sy / 40.0, m_options.seed + 41);
      double r = 70 + 60 * broad + 40 * grass;
      double g = 85 + 70 * broad + 55 * grass;
      double b = 45 + 30 * broad + 20 * grass;
      if (bushes > 0.62) {  // dark shrubs
        const double k = std::min(1.0, (bushes - 0.62) * 6);
        r -= 45 * k;
        g -= 30 * k;
        b -= 20 * k;
      }
      const double haze = 1 - depth;  // distant ground is paler
      r += 25 * haze;
      g += 25 * haze;
      b += 35 * haze;
      auto* p = &m_background[(static_cast<std::size_t>(y) * w + x) * 3];
      p[0] = clampByte(r);
      p[1] = clampByte(g);
      p[2] = clampByte(b);
    }
  }
}

RgbImage SyntheticScene::frame(int index) const {
  const int w = m_options.width, h = m_options.height;
  RgbImage img{w, h, m_background};
  const auto frameSeed = m_options.seed * 7919u + static_cast<std::uint32_t>(index) * 104729u;
  if (m_options.sensorNoise > 0) {
    const int span = 2 * m_options.sensorNoise + 1;
    for (std::size_t i = 0; i < img.pixels.size(); ++i) {
      const int n = static_cast<int>(hash(static_cast<std::uint32_t>(i), 0, frameSeed) % span) -
                    m_options.sensorNoise;
      img.pixels[i] = static_cast<std::uint8_t>(std::clamp(img.pixels[i] + n, 0, 255));
    }
  }
  if (index < m_options.enterFrame || index >= m_options.leaveFrame) return img;

  // The animal: a brown body with a darker back and a head, walking along a line in the lower
  // middle of the picture, crossing the whole width over its frames.
  const double t =
      (index - m_options.enterFrame + 0.5) / (m_options.leaveFrame - m_options.enterFrame);
  const double bodyW = 0.16 * w, bodyH = 0.09 * h;
  const double cx = -bodyW + t * (w + 2 * bodyW);
  const double cy = 0.62 * h + 0.01 * h * std::sin(t * 40);
  const double headR = bodyH * 0.55;
  const double hx = cx + bodyW * 0.55, hy = cy - bodyH * 0.45;
  const int x0 = std::max(0, static_cast<int>(cx - bodyW) - 2);
  const int x1 = std::min(w, static_cast<int>(hx + headR) + 2);
  const int y0 = std::max(0, static_cast<int>(hy - headR) - 2);
  const int y1 = std::min(h, static_cast<int>(cy + bodyH * 1.8) + 2);
  for (int y = y0; y < y1; ++y) {
    for (int x = x0; x < x1; ++x) {
      const double dx = (x - cx) / (bodyW * 0.5), dy = (y - cy) / (bodyH * 0.5);
      const double hdx = (x - hx) / headR, hdy = (y - hy) / headR;
      const bool body = dx * dx + dy * dy <= 1;
      const bool head = hdx * hdx + hdy * hdy <= 1;
      const double legPhase = std::sin(t * 60 + (x - cx) * 0.2);
      const bool legs = std::abs(dx) < 0.8 && y > cy && y < cy + bodyH * (1.4 + 0.2 * legPhase) &&
                        std::fmod(std::abs(x - cx + 1000), bodyW * 0.3) < bodyW * 0.06;
      if (!body && !head && !legs) continue;
      const double fur = fractal(x / 3.0, y / 3.0, m_options.seed + 99);
      const double shade = body ? 1 - 0.35 * std::max(0.0, -dy) : 0.85;
      auto* p = &img.pixels[(static_cast<std::size_t>(y) * w + x) * 3];
      p[0] = clampByte((120 + 60 * fur) * shade);
      p[1] = clampByte((80 + 40 * fur) * shade);
      p[2] = clampByte((45 + 25 * fur) * shade);
    }
  }
  return img;
}

}  // namespace toolkit
