#include "toolkit/widgets/picture_box.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstring>

namespace toolkit {
namespace {

constexpr QRgb kBlack = 0xFF000000u;

// The pixels whose centres lie in [from, to): first and one past the last.
std::pair<int, int> centresWithin(double from, double to) {
  return {static_cast<int>(std::ceil(from - 0.5)), static_cast<int>(std::ceil(to - 0.5))};
}

bool covers(const QRectF& target, const QRect& area) {
  return target.left() <= area.left() + 0.5 && area.right() + 0.5 < target.right() &&
         target.top() <= area.top() + 0.5 && area.bottom() + 0.5 < target.bottom();
}

// Inverts every other pixel of the outline of `rect` (box pixels), as far as it lies in `area`;
// `out` holds `area`.
void invertOutline(QImage& out, const QRect& area, const QRect& rect) {
  auto invert = [&](int x, int y) {
    if (((x + y) & 1) != 0 || !area.contains(x, y)) return;
    auto* line = reinterpret_cast<QRgb*>(out.scanLine(y - area.top()));
    line[x - area.left()] ^= 0x00FFFFFFu;
  };
  const int left = rect.left(), top = rect.top();
  const int right = rect.left() + rect.width(), bottom = rect.top() + rect.height();
  for (int x = left; x < right; ++x) {
    invert(x, top);
    if (bottom - 1 > top) invert(x, bottom - 1);
  }
  for (int y = top + 1; y < bottom - 1; ++y) {
    invert(left, y);
    if (right - 1 > left) invert(right - 1, y);
  }
}

}  // namespace

void stretchNearest(const QImage& image, const QRectF& source, const QRectF& target, QImage& out,
                    const QRect& area) {
  if (target.width() <= 0 || target.height() <= 0) return;
  auto [x0, x1] = centresWithin(target.left(), target.right());
  auto [y0, y1] = centresWithin(target.top(), target.bottom());
  x0 = std::max(x0, area.left());
  x1 = std::min(x1, area.left() + area.width());
  y0 = std::max(y0, area.top());
  y1 = std::min(y1, area.top() + area.height());
  if (x0 >= x1 || y0 >= y1) return;

  const double xScale = source.width() / target.width();
  const double yScale = source.height() / target.height();
  std::vector<int> columns(static_cast<std::size_t>(x1 - x0));
  for (int x = x0; x < x1; ++x) {
    const double u = std::floor(source.left() + (x + 0.5 - target.left()) * xScale);
    columns[static_cast<std::size_t>(x - x0)] =
        u >= 0 && u < image.width() ? static_cast<int>(u) : -1;
  }
  for (int y = y0; y < y1; ++y) {
    const double v = std::floor(source.top() + (y + 0.5 - target.top()) * yScale);
    auto* dst = reinterpret_cast<QRgb*>(out.scanLine(y - area.top())) + (x0 - area.left());
    if (v < 0 || v >= image.height()) {
      std::fill(dst, dst + (x1 - x0), kBlack);
      continue;
    }
    const auto* src = reinterpret_cast<const QRgb*>(image.constScanLine(static_cast<int>(v)));
    for (std::size_t i = 0; i < columns.size(); ++i) {
      dst[i] = columns[i] >= 0 ? src[columns[i]] | kBlack : kBlack;
    }
  }
}

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

QRect PictureBox::boxRect() const {
  return QRect(QPoint(0, 0), widget()->size().expandedTo(QSize(1, 1)));
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
  m_stretches.clear();
  m_screen.reset();
  m_focusRects.clear();
  widget()->update();
}

void PictureBox::composePersistent(QImage& out, const QRect& area) const {
  // Below a stretch that covers the whole area nothing shows: start there.
  std::size_t first = 0;
  bool covered = false;
  for (std::size_t i = m_stretches.size(); i-- > 0;) {
    if (covers(m_stretches[i].target, area)) {
      first = i;
      covered = true;
      break;
    }
  }
  if (!covered) {
    out.fill(toQColor(m_backColor));
    const QRect base = area & m_persistent.rect();
    for (int y = base.top(); y <= base.bottom() && !base.isEmpty(); ++y) {
      std::memcpy(out.scanLine(y - area.top()) + 4 * (base.left() - area.left()),
                  m_persistent.constScanLine(y) + 4 * base.left(),
                  static_cast<std::size_t>(base.width()) * 4);
    }
  }
  for (std::size_t i = first; i < m_stretches.size(); ++i) {
    stretchNearest(m_stretches[i].image, m_stretches[i].source, m_stretches[i].target, out, area);
  }
}

void PictureBox::applyFocusRects(QImage& out, const QRect& area) const {
  for (const QRect& rect : m_focusRects) invertOutline(out, area, rect);
}

QImage& PictureBox::persistentSurface() {
  const QRect box = boxRect();
  if (m_stretches.empty() && m_persistent.size() == box.size()) return m_persistent;
  QImage full(box.size(), QImage::Format_RGB32);
  composePersistent(full, box);
  m_persistent = std::move(full);
  m_stretches.clear();
  return m_persistent;
}

QImage& PictureBox::drawingSurface() {
  if (m_autoRedraw) {
    m_screen.reset();
    m_focusRects.clear();
    return persistentSurface();
  }
  if (!m_screen) {
    QImage full(boxRect().size(), QImage::Format_RGB32);
    composePersistent(full, boxRect());
    m_screen = std::move(full);
  }
  return *m_screen;
}

void PictureBox::resized() {
  // What persists keeps its pixels; it is worked out at the new size when next shown or read,
  // so that setting Height and then Width costs nothing. The screen layer goes with the repaint.
  m_screen.reset();
  m_focusRects.clear();
  widget()->update();
}

void PictureBox::setAutoRedrawValue(bool on) {
  m_autoRedraw = on;
  if (on && (m_screen || !m_focusRects.empty())) {
    m_screen.reset();
    m_focusRects.clear();
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

void PictureBox::Cls() { resetPersistent(); }

void PictureBox::PaintPicture(const ::toolkit::Picture& picture, Single x1, Single y1,
                              Single width1, Single height1, Single x2, Single y2, Single width2,
                              Single height2) {
  if (picture.empty()) return;
  const QRectF target(unitsToPixels(x1), unitsToPixels(y1), unitsToPixels(width1),
                      unitsToPixels(height1));
  const QRectF source(unitsToPixels(x2), unitsToPixels(y2), unitsToPixels(width2),
                      unitsToPixels(height2));
  QImage image = picture.image();
  if (image.hasAlphaChannel()) image = image.convertToFormat(QImage::Format_RGB32);
  if (m_autoRedraw) {
    m_screen.reset();
    m_focusRects.clear();
    if (covers(target, boxRect())) {
      m_persistent = QImage();
      m_stretches.clear();
    }
    m_stretches.push_back({std::move(image), source, target});
  } else {
    QImage& surface = drawingSurface();
    stretchNearest(image, source, target, surface, surface.rect());
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
  m_focusRects.clear();
  widget()->repaint();
}

void PictureBox::DrawFocusRect(const Rect& rect) {
  const QRect r(QPoint(rect.Left.value(), rect.Top.value()),
                QPoint(rect.Right.value() - 1, rect.Bottom.value() - 1));
  if (r.width() <= 0 || r.height() <= 0) return;
  if (m_autoRedraw) {
    QImage& surface = persistentSurface();
    invertOutline(surface, surface.rect(), r);
  } else if (auto same = std::find(m_focusRects.begin(), m_focusRects.end(), r);
             same != m_focusRects.end()) {
    // Inverting twice restores the pixels, whatever was inverted in between.
    m_focusRects.erase(same);
  } else {
    m_focusRects.push_back(r);
  }
  widget()->update();
}

::toolkit::Picture PictureBox::imageValue() const {
  const QRect box = boxRect();
  if (m_stretches.empty() && m_persistent.size() == box.size()) {
    return ::toolkit::Picture(m_persistent);
  }
  QImage full(box.size(), QImage::Format_RGB32);
  composePersistent(full, box);
  return ::toolkit::Picture(full);
}

QImage PictureBox::shownPart(const QRect& area) const {
  QImage out(area.size(), QImage::Format_RGB32);
  if (m_screen) {
    out.fill(toQColor(m_backColor));
    QPainter painter(&out);
    painter.drawImage(QPoint(0, 0), *m_screen, area);
  } else {
    composePersistent(out, area);
  }
  applyFocusRects(out, area);
  return out;
}

std::size_t PictureBox::drawnBytes() const {
  const auto bytes = [](const QImage& image) {
    return static_cast<std::size_t>(image.sizeInBytes());
  };
  const bool shared = !m_picture.empty() && m_persistent.cacheKey() == m_picture.image().cacheKey();
  return (shared ? 0 : bytes(m_persistent)) + (m_screen ? bytes(*m_screen) : 0) +
         bytes(m_paintScratch);
}

QImage PictureBox::shownImage() const { return shownPart(boxRect()); }

void PictureBox::paint(QPainter& painter, const QRect& rect) {
  // Only what can be seen through the containers is worked out: a zoomed frame is far larger.
  const QRect area = rect & boxRect() & widget()->visibleRegion().boundingRect();
  if (area.isEmpty()) return;
  if (m_paintScratch.size() != area.size()) {
    m_paintScratch = QImage(area.size(), QImage::Format_RGB32);
  }
  if (m_screen) {
    m_paintScratch = shownPart(area);
  } else {
    composePersistent(m_paintScratch, area);
    applyFocusRects(m_paintScratch, area);
  }
  painter.drawImage(area.topLeft(), m_paintScratch);
}

}  // namespace toolkit
