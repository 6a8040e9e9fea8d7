#pragma once

// The picture box: a container with its own scale, a picture that sizes the box (AutoSize), and
// drawing that persists (AutoRedraw True) or goes straight to the screen and is lost at the next
// Refresh (AutoRedraw False).
//
// What persists is kept as a base image and, above it, a list of stretched pictures that are
// worked out only where the screen or a reader needs them. A frame zoomed to six times the view
// is a 3588 x 2166 box of which only a view's worth is ever on the screen, so each tick computes
// that part alone, and Image still gives every pixel the whole stretch would give.

#include <QImage>
#include <optional>
#include <vector>

#include "toolkit/widgets/control.h"
#include "toolkit/widgets/picture.h"

namespace toolkit {

enum class LineKind { Line, Box, FilledBox };

// Nearest-neighbour stretching as PaintPicture does it: target pixel (x, y) of `target` shows the
// source pixel at floor(source.left + (x + 0.5 - target.left) * source.width / target.width),
// and likewise down; a target pixel whose centre maps outside `image` is black. Rectangles are in
// pixels and may be fractional. Writes the part of the target that lies in `area` into `out`,
// whose pixel (0, 0) stands for area's top left corner.
void stretchNearest(const QImage& image, const QRectF& source, const QRectF& target, QImage& out,
                    const QRect& area);

class PictureBox : public Control {
  ScaleUnit scaleModeValue() const { return m_scale; }
  void setScaleModeValue(ScaleUnit unit) { m_scale = unit; }
  Single scaleWidthValue() const;
  Single scaleHeightValue() const;
  ::toolkit::Picture pictureValue() const { return m_picture; }
  void setPictureValue(::toolkit::Picture picture);
  ::toolkit::Picture imageValue() const;
  bool autoRedrawValue() const { return m_autoRedraw; }
  void setAutoRedrawValue(bool on);
  bool autoSizeValue() const { return m_autoSize; }
  void setAutoSizeValue(bool on) { m_autoSize = on; }
  Integer drawWidthValue() const { return m_drawWidth; }
  void setDrawWidthValue(Integer width) { m_drawWidth = width; }
  Color backColorValue() const { return m_backColor; }
  void setBackColorValue(Color color);
  Pointer pointerValue() const { return m_pointer; }
  void setPointerValue(Pointer pointer);

 public:
  PictureBox(Form& form, std::string name, Control* container);

  Property<PictureBox, ScaleUnit, &PictureBox::scaleModeValue, &PictureBox::setScaleModeValue>
      ScaleMode{this};
  // The inner size in the current scale.
  ReadOnlyProperty<PictureBox, Single, &PictureBox::scaleWidthValue> ScaleWidth{this};
  ReadOnlyProperty<PictureBox, Single, &PictureBox::scaleHeightValue> ScaleHeight{this};
  // Assigning a picture clears what was drawn and, with AutoSize, sizes the box to the picture.
  Property<PictureBox, ::toolkit::Picture, &PictureBox::pictureValue, &PictureBox::setPictureValue>
      Picture{this};
  // What the box holds now, picture and persistent drawing, at the box's size.
  ReadOnlyProperty<PictureBox, ::toolkit::Picture, &PictureBox::imageValue> Image{this};
  Property<PictureBox, bool, &PictureBox::autoRedrawValue, &PictureBox::setAutoRedrawValue>
      AutoRedraw{this};
  Property<PictureBox, bool, &PictureBox::autoSizeValue, &PictureBox::setAutoSizeValue> AutoSize{
      this};
  Property<PictureBox, Integer, &PictureBox::drawWidthValue, &PictureBox::setDrawWidthValue>
      DrawWidth{this};
  Property<PictureBox, Color, &PictureBox::backColorValue, &PictureBox::setBackColorValue>
      BackColor{this};
  Property<PictureBox, Pointer, &PictureBox::pointerValue, &PictureBox::setPointerValue>
      MousePointer{this};

  // Removes all drawing; the picture stays.
  void Cls();
  // Paints the source rectangle of `picture` stretched into the target rectangle, both in this
  // box's current scale, by stretchNearest.
  void PaintPicture(const ::toolkit::Picture& picture, Single x1, Single y1, Single width1,
                    Single height1, Single x2, Single y2, Single width2, Single height2);
  // Line (x1, y1)-(x2, y2), colour[, B[F]] in the current scale, DrawWidth pixels wide. A box
  // covers both corners.
  void Line(Single x1, Single y1, Single x2, Single y2, Color color,
            LineKind kind = LineKind::Line);
  // Repaints at once; what was drawn with AutoRedraw False is gone afterwards.
  void Refresh();
  // The focus rectangle: a dotted outline in device pixels, drawn by inverting, so that drawing
  // the same rectangle again restores what was there. Right and Bottom lie outside it.
  void DrawFocusRect(const Rect& rect);

  // What the screen shows of the box now, at the box's size: what persists, or the screen layer
  // over it.
  QImage shownImage() const;
  // The same for one part of the box, in box pixels; what a repaint of that part computes.
  QImage shownPart(const QRect& area) const;
  // Bytes of pixels the box keeps beside the pictures it was given: what drawing made of them,
  // and the last repaint's part.
  std::size_t drawnBytes() const;

  ScaleUnit childScale() const override { return m_scale; }

 protected:
  ScaleUnit mouseScale() const override { return m_scale; }
  void paint(QPainter& painter, const QRect& rect) override;
  void resized() override;

 private:
  struct Stretch {
    QImage image;
    QRectF source;
    QRectF target;
  };

  QRect boxRect() const;
  // What persists, in `area` of the box, into `out` (area's size).
  void composePersistent(QImage& out, const QRect& area) const;
  void applyFocusRects(QImage& out, const QRect& area) const;
  // Turns base and stretches into one image of the box's size, for drawing on.
  QImage& persistentSurface();
  // The surface that drawing goes to: the persistent one, or the screen layer.
  QImage& drawingSurface();
  void resetPersistent();
  float unitsToPixels(float v) const {
    return twipsToUnits(unitsToTwips(v, m_scale), ScaleUnit::Pixels);
  }
  float pixelsToUnits(float px) const {
    return twipsToUnits(unitsToTwips(px, ScaleUnit::Pixels), m_scale);
  }

  ScaleUnit m_scale = ScaleUnit::Twips;
  ::toolkit::Picture m_picture;
  // The base of what persists, anchored at the top left; beyond it lies the back colour.
  QImage m_persistent;
  std::vector<Stretch> m_stretches;
  // With AutoRedraw False: drawing that reached only the screen, and the focus rectangles on it.
  std::optional<QImage> m_screen;
  std::vector<QRect> m_focusRects;
  mutable QImage m_paintScratch;
  bool m_autoRedraw = false;
  bool m_autoSize = false;
  Integer m_drawWidth = 1;
  Color m_backColor = kSysButtonFace;
  Pointer m_pointer = Pointer::Default;
};

}  // namespace toolkit
