#pragma once

// What the motion search keeps beside the session: the comparison, the search area and the
// phases of the comparison pair. The window and hgvtool each hold one next to their session; a
// fresh one is the state at program start.

#include "search/core/analyse_bmp.h"
#include "search/core/draw_rectangle.h"
#include "toolkit/core/vb_types.h"

namespace search {

struct SearchState {
  ::search::AnalyseBMP AnalyseBMP;
  ::search::DrawRectangle DrawRectangle;
  // The change of comparison buffers: both True at rest. (True, False): the newest frame stands
  // in CellMeansB, the next goes to CellMeansA; (False, True) the other way round.
  Boolean SearchPhaseA = toolkit::kTrue;
  Boolean SearchPhaseB = toolkit::kTrue;
};

// The starting values that Form_Load gives the search: no search box, the phases at rest.
inline void loadStartingValues(SearchState& state) {
  state.DrawRectangle.SearchBox = {};
  state.SearchPhaseA = toolkit::kTrue;
  state.SearchPhaseB = toolkit::kTrue;
}

}  // namespace search
