#include "toolkit/widgets/frame.h"

#include <QFontMetrics>
#include <QPainter>

namespace toolkit {

Frame::Frame(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  attach(new CanvasWidget(this, parentWidget()));
}

void Frame::setCaptionValue(std::string caption) {
  m_caption = std::move(caption);
  widget()->update();
}

void Frame::setForeColorValue(Color color) {
  m_foreColor = color;
  widget()->update();
}

void Frame::setBorder(bool border) {
  m_border = border;
  widget()->update();
}

void Frame::setFont(const FontSpec& font) {
  widget()->setFont(toQFont(font));
  widget()->update();
}

void Frame::paint(QPainter& painter, const QRect& rect) {
  painter.fillRect(rect, toQColor(kSysButtonFace));
  QRect r(QPoint(0, 0), widget()->size());
  QFontMetrics metrics(widget()->font());
  QString text = QString::fromStdString(m_caption);
  int lineY = text.isEmpty() ? 0 : metrics.height() / 2;
  if (m_border) {
    // The etched line: dark grey with a white line beside it.
    QRect box = r.adjusted(0, lineY, -2, -2);
    painter.setPen(QColor(160, 160, 160));
    painter.drawRect(box);
    painter.setPen(Qt::white);
    painter.drawRect(box.translated(1, 1));
  }
  if (!text.isEmpty()) {
    QRect textRect(8, 0, metrics.horizontalAdvance(text) + 4, metrics.height());
    painter.fillRect(textRect, toQColor(kSysButtonFace));
    painter.setFont(widget()->font());
    painter.setPen(widget()->isEnabled() ? toQColor(m_foreColor) : QColor(128, 128, 128));
    painter.drawText(textRect.adjusted(2, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, text);
  }
}

}  // namespace toolkit
