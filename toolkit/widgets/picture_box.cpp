#include "toolkit/widgets/picture_box.h"

#include <QPainter>
#include <algorithm>

namespace toolkit {

PictureBox::PictureBox(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  auto* w = new CanvasWidget(this, parentWidget());
  w->setAttribute(Qt::WA_OpaquePaintEvent);
  w->setFocusPolicy(Qt::StrongFocus);
  attach(w);
  resetPersistent();
}

Single PictureBox::scaleWidthValue() const {
  return pixelsToUnits(static_cast<float>(widget()->width()));
}

Single PictureBox::scaleHeightValue() const {
  return pixelsToUnits(static_cast<float>(widget()->height()));
}

void PictureBox::setPictureValue(::toolkit::Picture picture) {
  m_picture = std::move(picture);
  if (m_autoSize && !m_picture.empty()) {
    // The natural size of a picture: one pixel is kTwipsPerPixel twips.
    setGeometryTwips(leftTwips(), topTwips(), m_picture.widthPixels() * kTwipsPerPixel,
                     m_picture.heightPixels() * kTwipsPerPixel);
  }
  resetPersistent();
}

void PictureBox::resetPersistent() {
  if (m_picture.empty()) {
    m_persistent = QImage();
  } else if (!m_picture.image().hasAlphaChannel()) {
    // Shared with the picture until something draws on it.
    m_persistent = m_picture.image();
  } else {
    m_persistent = QImage(m_picture.image().size(), QImage::Format_RGB32);
    m_persistent.fill(toQColor(m_backColor));
    QPainter painter(&m_persistent);
    painter.drawImage(0, 0, m_picture.image());
  }
  m_screen.reset();
  widget()->update();
}

void PictureBox::ensureBacking(bool overwritten) const {
  QSize size = widget()->size().expandedTo(QSize(1, 1));
  if (overwritten) {
    // Every pixel is about to be painted over: no need to copy or clear what was there.
    if (m_persistent.size() != size || !m_persistent.isDetached()) {
      m_persistent = QImage(size, QImage::Format_RGB32);
    }
    return;
  }
  if (m_persistent.size() == size) return;
  QImage fitted(size, QImage::Format_RGB32);
  fitted.fill(toQColor(m_backColor));
  if (!m_persistent.isNull()) {
    QPainter painter(&fitted);
    painter.drawImage(0, 0, m_persistent);
  }
  m_persistent = std::move(fitted);
}

void PictureBox::resized() {
  // The backing image keeps what was drawn; it takes the new size when next drawn on or read, so
  // that setting Height and then Width costs nothing.
  m_screen.reset();
  widget()->update();
}

void PictureBox::setAutoRedrawValue(bool on) {
  m_autoRedraw = on;
  if (on && m_screen) {
    m_screen.reset();
    widget()->update();
  }
}

void PictureBox::setBackColorValue(Color color) {
  m_backColor = color;
  resetPersistent();
}

void PictureBox::setPointerValue(Pointer pointer) {
  m_pointer = pointer;
  applyPointer(widget(), pointer);
}

QImage& PictureBox::drawingSurface(bool overwritten) {
  if (m_autoRedraw) {
    ensureBacking(overwritten);
    m_screen.reset();
    return m_persistent;
  }
  ensureBacking(false);
  if (!m_screen) m_screen = m_persistent;
  return *m_screen;
}

void PictureBox::Cls() { resetPersistent(); }

void PictureBox::PaintPicture(const ::toolkit::Picture& picture, Single x1, Single y1,
                              Single width1, Single height1, Single x2, Single y2, Single width2,
                              Single height2) {
  if (picture.empty()) return;
  QRectF target(unitsToPixels(x1), unitsToPixels(y1), unitsToPixels(width1),
                unitsToPixels(height1));
  QRectF source(unitsToPixels(x2), unitsToPixels(y2), unitsToPixels(width2),
                unitsToPixels(height2));
  const QImage& image = picture.image();
  bool overwritten = target == QRectF(QPointF(0, 0), QSizeF(widget()->size())) &&
                     QRectF(image.rect()).contains(source) && !image.hasAlphaChannel();
  {
    QPainter painter(&drawingSurface(overwritten));
    painter.drawImage(target, image, source);
  }
  widget()->update();
}

void PictureBox::Line(Single x1, Single y1, Single x2, Single y2, Color color, LineKind kind) {
  int ax = static_cast<int>(roundHalfEven(unitsToPixels(x1)));
  int ay = static_cast<int>(roundHalfEven(unitsToPixels(y1)));
  int bx = static_cast<int>(roundHalfEven(unitsToPixels(x2)));
  int by = static_cast<int>(roundHalfEven(unitsToPixels(y2)));
  QColor qcolor = toQColor(color);
  int width = std::max<int>(1, m_drawWidth.value());
  {
    QPainter painter(&drawingSurface());
    if (kind == LineKind::FilledBox) {
      painter.fillRect(QRect(QPoint(std::min(ax, bx), std::min(ay, by)),
                             QPoint(std::max(ax, bx), std::max(ay, by))),
                       qcolor);
    } else if (kind == LineKind::Box) {
      QRect r(QPoint(std::min(ax, bx), std::min(ay, by)),
              QPoint(std::max(ax, bx), std::max(ay, by)));
      // Each edge as a filled band inside the corners, so the outline covers both corners exactly.
      int t = std::min({width, r.width(), r.height()});
      painter.fillRect(QRect(r.left(), r.top(), r.width(), t), qcolor);
      painter.fillRect(QRect(r.left(), r.bottom() - t + 1, r.width(), t), qcolor);
      painter.fillRect(QRect(r.left(), r.top(), t, r.height()), qcolor);
      painter.fillRect(QRect(r.right() - t + 1, r.top(), t, r.height()), qcolor);
    } else {
      QPen pen(qcolor);
      pen.setWidth(width);
      painter.setPen(pen);
      painter.drawLine(ax, ay, bx, by);
    }
  }
  widget()->update();
}

void PictureBox::Refresh() {
  m_screen.reset();
  widget()->repaint();
}

void PictureBox::DrawFocusRect(const Rect& rect) {
  QImage& surface = drawingSurface();
  int left = std::max(0, rect.Left.value());
  int top = std::max(0, rect.Top.value());
  int right = std::min(surface.width(), rect.Right.value());
  int bottom = std::min(surface.height(), rect.Bottom.value());
  if (right <= left || bottom <= top) return;
  // Every pixel of the outline is visited once, and every other one inverted, so a second call
  // undoes the first.
  auto invert = [&](int x, int y) {
    if (((x + y) & 1) != 0) return;
    auto* line = reinterpret_cast<QRgb*>(surface.scanLine(y));
    line[x] ^= 0x00FFFFFFu;
  };
  for (int x = left; x < right; ++x) {
    invert(x, top);
    if (bottom - 1 > top) invert(x, bottom - 1);
  }
  for (int y = top + 1; y < bottom - 1; ++y) {
    invert(left, y);
    if (right - 1 > left) invert(right - 1, y);
  }
  widget()->update();
}

::toolkit::Picture PictureBox::imageValue() const {
  ensureBacking(false);
  return ::toolkit::Picture(m_persistent);
}

QImage PictureBox::shownImage() const {
  if (m_screen) return *m_screen;
  ensureBacking(false);
  return m_persistent;
}

void PictureBox::paint(QPainter& painter, const QRect& rect) {
  const QImage& shown = m_screen ? *m_screen : m_persistent;
  painter.fillRect(rect, toQColor(m_backColor));
  QRect source = rect & shown.rect();
  if (!source.isEmpty()) painter.drawImage(source.topLeft(), shown, source);
}

}  // namespace toolkit
