#pragma once

// The value types the program's logic is written in. Integer and Long are checked: a result that
// does not fit raises the run-time error "Overflow" instead of wrapping, because the program's
// limits (32,767 frames, 2 GB clips) are defined by exactly those overflows.

#include <cmath>
#include <compare>
#include <concepts>
#include <cstdint>
#include <limits>

#include "toolkit/core/runtime_error.h"

namespace toolkit {

// A 16-bit Boolean: True is -1, and every test asks whether the value is not 0.
using Boolean = std::int16_t;
inline constexpr Boolean kTrue = -1;
inline constexpr Boolean kFalse = 0;
constexpr Boolean toBoolean(bool b) { return b ? kTrue : kFalse; }

using Single = float;

// Rounds to the nearest integer, halves to the even one, as every float-to-integer conversion of
// the program does.
inline double roundHalfEven(double v) { return std::nearbyint(v); }

template <std::signed_integral T>
class Checked {
 public:
  using value_type = T;

  constexpr Checked() = default;

  // Any integer converts if it fits; otherwise "Overflow".
  template <std::integral U>
  constexpr Checked(U v) : m_v(narrow(static_cast<long long>(v))) {}  // NOLINT: implicit by design

  // Rounds half to even; out of range (or NaN) is "Overflow".
  static Checked fromDouble(double v) {
    double r = roundHalfEven(v);
    if (!(r >= static_cast<double>(std::numeric_limits<T>::min()) &&
          r <= static_cast<double>(std::numeric_limits<T>::max()))) {
      throw RuntimeError::of(ErrorNumber::Overflow);
    }
    return Checked(static_cast<T>(r));
  }

  constexpr T value() const { return m_v; }

  friend constexpr Checked operator+(Checked a, Checked b) { return wide(a) + wide(b); }
  friend constexpr Checked operator-(Checked a, Checked b) { return wide(a) - wide(b); }
  friend constexpr Checked operator*(Checked a, Checked b) { return wide(a) * wide(b); }
  // Integer division \ truncates; by zero is a run-time error in the old toolkit too.
  friend Checked operator/(Checked a, Checked b) {
    if (b.m_v == 0) throw RuntimeError::of(ErrorNumber::DivisionByZero);
    return wide(a) / wide(b);
  }
  constexpr Checked operator-() const { return -wide(*this); }
  Checked& operator+=(Checked o) { return *this = *this + o; }
  Checked& operator-=(Checked o) { return *this = *this - o; }
  Checked& operator++() { return *this = *this + Checked(1); }
  Checked& operator--() { return *this = *this - Checked(1); }

  friend constexpr bool operator==(Checked a, Checked b) = default;
  friend constexpr auto operator<=>(Checked a, Checked b) = default;

 private:
  static constexpr long long wide(Checked c) { return c.m_v; }
  static constexpr T narrow(long long v) {
    if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) {
      throw RuntimeError::of(ErrorNumber::Overflow);
    }
    return static_cast<T>(v);
  }

  T m_v = 0;
};

using Integer = Checked<std::int16_t>;
using Long = Checked<std::int32_t>;

}  // namespace toolkit
