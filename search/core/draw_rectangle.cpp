#include "search/core/draw_rectangle.h"

#include "toolkit/core/runtime_error.h"

namespace search {
namespace {

constexpr std::int32_t kSideMargin = 50;
constexpr std::int32_t kTopMargin = 80;
constexpr std::int32_t kPullBack = 2;

// A / B as the old toolkit's "/": in double, and by zero a run-time error.
Single ratio(double a, Long b) {
  if (b == Long(0)) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::DivisionByZero);
  return static_cast<Single>(a / b.value());
}

// A Single times a Long is worked out in double.
Long times(Single share, Long size) {
  return Long::fromDouble(static_cast<double>(share) * size.value());
}

}  // namespace

DrawRectangle::Shares DrawRectangle::defaultShares(PixelSize base) {
  const Long w = base.Width, h = base.Height;
  return {ratio(kSideMargin, w), ratio((w - Long(kSideMargin)).value(), w), ratio(kTopMargin, h),
          ratio((h - Long(kTopMargin)).value(), h)};
}

Rect DrawRectangle::areaOf(const Shares& s, PixelSize size) {
  return {times(s.left, size.Width), times(s.top, size.Height), times(s.right, size.Width),
          times(s.bottom, size.Height)};
}

void DrawRectangle::setShares(const Shares& s) {
  BoxLeftShare = s.left;
  BoxRightShare = s.right;
  BoxTopShare = s.top;
  BoxBottomShare = s.bottom;
}

void DrawRectangle::InitSearchArea(PixelSize view, PixelSize clip) {
  setShares(defaultShares(view));
  SearchArea = areaOf(shares(), clip);
  SearchBox = {kSideMargin, kTopMargin, view.Width - Long(kSideMargin),
               view.Height - Long(kTopMargin)};
}

void DrawRectangle::RefreshSearchBox(PixelSize view) {
  SearchBox = areaOf(shares(), view);
  if (!DefaultBox.allZero()) SearchBox = DefaultBox;
}

void DrawRectangle::RestoreDefaultBox(PixelSize base, bool zoomActive, PixelSize shown,
                                      PixelSize clip) {
  const Shares s = defaultShares(base);
  DefaultArea = areaOf(s, clip);
  if (zoomActive) {
    DefaultBox = areaOf(s, shown);
  } else {
    DefaultBox = {kSideMargin, kTopMargin, base.Width - Long(kSideMargin),
                  base.Height - Long(kTopMargin)};
  }
}

void DrawRectangle::CommitSearchArea(PixelSize view, PixelSize base, PixelSize clip) {
  if (DefaultBox.allZero()) {
    SearchBox = areaOf(shares(), view);
    SearchArea = areaOf(shares(), clip);
  } else {
    SearchBox = DefaultBox;
    SearchArea = DefaultArea;
    setShares(defaultShares(base));
  }
  SavedBox = SearchBox;
  SavedArea = SearchArea;
}

void DrawRectangle::RevertSearchArea() {
  if (SavedBox.allZero()) return;
  SearchBox = SavedBox;
  SearchArea = SavedArea;
}

void DrawRectangle::ApplyDraggedBox(PixelSize view) {
  if (SearchBox.Top < Long(0)) SearchBox.Top = kPullBack;
  if (SearchBox.Left < Long(0)) SearchBox.Left = kPullBack;
  if (view.Height < SearchBox.Bottom) SearchBox.Bottom = view.Height - Long(kPullBack);
  if (view.Width < SearchBox.Right) SearchBox.Right = view.Width - Long(kPullBack);
  BoxLeftShare = ratio(SearchBox.Left.value(), view.Width);
  BoxRightShare = ratio(SearchBox.Right.value(), view.Width);
  BoxTopShare = ratio(SearchBox.Top.value(), view.Height);
  BoxBottomShare = ratio(SearchBox.Bottom.value(), view.Height);
}

}  // namespace search
