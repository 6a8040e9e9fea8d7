#include "toolkit/widgets/lightweight.h"

#include <QFontMetrics>
#include <QPainter>

#include "toolkit/widgets/form.h"

namespace toolkit {

ImageControl::ImageControl(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  attach(new CanvasWidget(this, parentWidget()));
}

void ImageControl::setPictureValue(::toolkit::Picture picture) {
  m_picture = std::move(picture);
  fitToPicture();
  widget()->update();
}

void ImageControl::setStretchValue(bool on) {
  m_stretch = on;
  fitToPicture();
  widget()->update();
}

void ImageControl::fitToPicture() {
  if (m_stretch || m_picture.empty()) return;
  setGeometryTwips(leftTwips(), topTwips(), m_picture.widthPixels() * kTwipsPerPixel,
                   m_picture.heightPixels() * kTwipsPerPixel);
}

void ImageControl::setPointerValue(Pointer pointer) {
  m_pointer = pointer;
  applyPointer(widget(), pointer);
}

void ImageControl::paint(QPainter& painter, const QRect&) {
  if (m_picture.empty()) return;
  if (m_stretch) {
    painter.drawImage(QRect(QPoint(0, 0), widget()->size()), m_picture.image());
  } else {
    painter.drawImage(0, 0, m_picture.image());
  }
}

Label::Label(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  attach(new CanvasWidget(this, parentWidget()));
}

void Label::setCaptionValue(std::string caption) {
  m_caption = std::move(caption);
  fitToCaption();
  widget()->update();
}

void Label::setAutoSizeValue(bool on) {
  m_autoSize = on;
  fitToCaption();
}

void Label::setForeColorValue(Color color) {
  m_foreColor = color;
  widget()->update();
}

void Label::setBackColorValue(Color color) {
  m_backColor = color;
  widget()->update();
}

void Label::setBackStyleValue(LabelBackStyle style) {
  m_backStyle = style;
  widget()->update();
}

void Label::setFont(const FontSpec& font) {
  widget()->setFont(toQFont(font));
  fitToCaption();
}

void Label::fitToCaption() {
  if (!m_autoSize) return;
  QFontMetrics metrics(widget()->font());
  QString text = QString::fromStdString(m_caption);
  setGeometryTwips(leftTwips(), topTwips(), metrics.horizontalAdvance(text) * kTwipsPerPixel,
                   metrics.height() * kTwipsPerPixel);
}

int Label::textFlags() const {
  const QFontMetrics metrics(widget()->font());
  const bool wraps = !m_autoSize && widget()->height() >= 2 * metrics.height();
  return Qt::AlignLeft | Qt::AlignTop | (wraps ? Qt::TextWordWrap : 0);
}

QFont Label::fittedFont() const {
  // Our fonts' metrics differ from the original's, and a caption that ran a little past its box
  // is fitted to it rather than cut: a line is narrowed, wrapped lines are made smaller.
  QFont font = widget()->font();
  const QString text = QString::fromStdString(m_caption);
  const QRect area(QPoint(0, 0), widget()->size());
  if (text.isEmpty() || area.isEmpty()) return font;
  if ((textFlags() & Qt::TextWordWrap) == 0) {
    const int needed = QFontMetrics(font).horizontalAdvance(text);
    if (needed > area.width()) font.setStretch(std::max(50, 100 * area.width() / needed));
    return font;
  }
  const bool pixels = font.pixelSize() > 0;
  const double full = pixels ? font.pixelSize() : font.pointSizeF();
  for (int step = 1; step <= 10; ++step) {
    if (QFontMetrics(font).boundingRect(area, textFlags(), text).height() <= area.height()) break;
    const double size = full * (1.0 - 0.05 * step);
    if (pixels) {
      font.setPixelSize(std::max(1, static_cast<int>(size)));
    } else {
      font.setPointSizeF(size);
    }
  }
  return font;
}

void Label::paint(QPainter& painter, const QRect& rect) {
  if (m_backStyle == LabelBackStyle::Opaque) painter.fillRect(rect, toQColor(m_backColor));
  QColor fore = toQColor(m_foreColor);
  if (!widget()->isEnabled()) fore = QColor(128, 128, 128);
  painter.setPen(fore);
  painter.setFont(fittedFont());
  painter.drawText(QRect(QPoint(0, 0), widget()->size()), textFlags(),
                   QString::fromStdString(m_caption));
}

Shape::Shape(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  auto* w = new CanvasWidget(this, parentWidget());
  w->setAttribute(Qt::WA_TransparentForMouseEvents);
  attach(w);
}

void Shape::setBorderWidthValue(Integer width) {
  m_borderWidth = width;
  widget()->update();
}

void Shape::setBorderColorValue(Color color) {
  m_borderColor = color;
  widget()->update();
}

void Shape::paint(QPainter& painter, const QRect&) {
  QRect r(QPoint(0, 0), widget()->size());
  if (r.isEmpty()) return;
  QColor color = toQColor(m_borderColor);
  int t = std::min({std::max<int>(1, m_borderWidth.value()), r.width(), r.height()});
  painter.fillRect(QRect(r.left(), r.top(), r.width(), t), color);
  painter.fillRect(QRect(r.left(), r.bottom() - t + 1, r.width(), t), color);
  painter.fillRect(QRect(r.left(), r.top(), t, r.height()), color);
  painter.fillRect(QRect(r.right() - t + 1, r.top(), t, r.height()), color);
}

}  // namespace toolkit
