#pragma once

// The module DrawRectangle: the search area in the three forms that must stay apart because the
// view can be fitted or zoomed while the search works on the picture's own pixels.
//
//   SearchBox   pixels of the view, where the red box is drawn;
//   the shares  the box's edges as fractions of the view, which survive a change of zoom;
//   SearchArea  pixels of the picture, top left at 0, 0: the only form the search reads.
//
// The procedures here are the arithmetic of the module's procedures; the window sets the scale
// of its boxes, measures the view and shows the box around them (search/form1_search_area.cpp).
// Every conversion to a Long rounds half to even.

#include "toolkit/core/rect.h"
#include "toolkit/core/vb_types.h"

namespace search {

using toolkit::Boolean;
using toolkit::Long;
using toolkit::Rect;
using toolkit::Single;

// A size in pixels: of the view, or of the clip's pictures.
struct PixelSize {
  Long Width;
  Long Height;
};

struct DrawRectangle {
  // The user is choosing the search area on the picture: from a click on "Set Motion Search
  // Area" until the settings dialog closes.
  Boolean SearchAreaEditing = toolkit::kFalse;
  Rect SearchBox;
  Rect SearchArea;
  Single BoxLeftShare = 0;
  Single BoxRightShare = 0;
  Single BoxTopShare = 0;
  Single BoxBottomShare = 0;
  // The box the Default button put on show and its area; all zero at every other time.
  Rect DefaultBox;
  Rect DefaultArea;
  // Copies of SearchBox and SearchArea at the last OK; all zero before the first OK of the run.
  Rect SavedBox;
  Rect SavedArea;

  // A new clip's default: margins of 50 pixels left and right and 80 top and bottom of the view
  // at fit, and the same shares of the picture. A view too small for the margins gives an
  // inverted box, inside which nothing is ever found.
  void InitSearchArea(PixelSize view, PixelSize clip);
  // SearchBox from the shares, for the view as it stands now; DefaultBox instead while it stands.
  void RefreshSearchBox(PixelSize view);
  // The Default button: DefaultArea and DefaultBox from the default shares of `base` (picBase);
  // the box in pixels of `shown` (picShowAVI) while zoomed, else with the margins. The module's
  // own shares stay.
  void RestoreDefaultBox(PixelSize base, bool zoomActive, PixelSize shown, PixelSize clip);
  // OK: SearchBox and SearchArea from the shares, or from DefaultBox and DefaultArea after
  // Default (which also takes the default shares of `base`); then the saved copies.
  void CommitSearchArea(PixelSize view, PixelSize base, PixelSize clip);
  // Cancel: back to the copies of the last OK, if there was one.
  void RevertSearchArea();
  // The end of a valid drag: the box pulled back into the view with a margin of 2 pixels, and
  // the shares from it.
  void ApplyDraggedBox(PixelSize view);

 private:
  struct Shares {
    Single left, right, top, bottom;
  };
  static Shares defaultShares(PixelSize base);
  static Rect areaOf(const Shares& shares, PixelSize size);
  void setShares(const Shares& shares);
  Shares shares() const { return {BoxLeftShare, BoxRightShare, BoxTopShare, BoxBottomShare}; }
};

}  // namespace search
