#pragma once

// The variables of the module DrawRectangle that the windows test and that start-up resets. The
// module's procedures come with the search area box.

#include "toolkit/core/vb_types.h"
#include "toolkit/widgets/geometry.h"

namespace review {

struct DrawRectangle {
  // The user is choosing the search area on the picture.
  toolkit::Boolean SearchAreaEditing = toolkit::kFalse;
  // The box in pixels of the view.
  toolkit::Rect SearchBox;
};

}  // namespace review
