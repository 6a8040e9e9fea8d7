#pragma once

#include "toolkit/core/vb_types.h"

namespace toolkit {

// A rectangle handed whole to the outline drawing; Right and Bottom lie just outside it.
struct Rect {
  Long Left;
  Long Top;
  Long Right;
  Long Bottom;

  bool allZero() const {
    return Left == Long(0) && Top == Long(0) && Right == Long(0) && Bottom == Long(0);
  }
  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace toolkit
