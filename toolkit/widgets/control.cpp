#include "toolkit/widgets/control.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>

#include "toolkit/widgets/form.h"
#include "toolkit/widgets/host.h"

namespace toolkit {
namespace {

int toButton(Qt::MouseButton button) {
  switch (button) {
    case Qt::LeftButton:
      return kLeftButton;
    case Qt::RightButton:
      return kRightButton;
    case Qt::MiddleButton:
      return kMiddleButton;
    default:
      return 0;
  }
}

int toButtons(Qt::MouseButtons buttons) {
  int result = 0;
  if (buttons & Qt::LeftButton) result |= kLeftButton;
  if (buttons & Qt::RightButton) result |= kRightButton;
  if (buttons & Qt::MiddleButton) result |= kMiddleButton;
  return result;
}

int toShift(Qt::KeyboardModifiers modifiers) {
  int result = 0;
  if (modifiers & Qt::ShiftModifier) result |= 1;
  if (modifiers & Qt::ControlModifier) result |= 2;
  if (modifiers & Qt::AltModifier) result |= 4;
  return result;
}

}  // namespace

Control::Control(Form& form, std::string name, Control* container)
    : m_form(form), m_name(std::move(name)), m_container(container) {}

Control::~Control() { m_form.host().controlGone(this); }

Host& Control::host() const { return m_form.host(); }

void Control::attach(QWidget* widget) {
  m_widget = widget;
  applyGeometry();
  m_widget->setVisible(m_visible);
}

ScaleUnit Control::containerScale() const {
  return m_container ? m_container->childScale() : ScaleUnit::Twips;
}

QWidget* Control::parentWidget() const {
  return m_container ? m_container->childParent() : m_form.window();
}

ScaleUnit Control::mouseScale() const { return containerScale(); }

Single Control::leftValue() const { return twipsToUnits(m_left, containerScale()); }
Single Control::topValue() const { return twipsToUnits(m_top, containerScale()); }
Single Control::widthValue() const { return twipsToUnits(m_width, containerScale()); }
Single Control::heightValue() const { return twipsToUnits(m_height, containerScale()); }

void Control::setLeftValue(Single v) {
  m_left = unitsToTwips(v, containerScale());
  applyGeometry();
}
void Control::setTopValue(Single v) {
  m_top = unitsToTwips(v, containerScale());
  applyGeometry();
}
void Control::setWidthValue(Single v) {
  m_width = unitsToTwips(v, containerScale());
  applyGeometry();
}
void Control::setHeightValue(Single v) {
  m_height = unitsToTwips(v, containerScale());
  applyGeometry();
}

void Control::Move(Single left, Single top) {
  m_left = unitsToTwips(left, containerScale());
  m_top = unitsToTwips(top, containerScale());
  applyGeometry();
}

void Control::Move(Single left, Single top, Single width, Single height) {
  ScaleUnit unit = containerScale();
  setGeometryTwips(unitsToTwips(left, unit), unitsToTwips(top, unit), unitsToTwips(width, unit),
                   unitsToTwips(height, unit));
}

void Control::setGeometryTwips(float left, float top, float width, float height) {
  m_left = left;
  m_top = top;
  m_width = width;
  m_height = height;
  applyGeometry();
}

void Control::applyGeometry() {
  if (!m_widget) return;
  QSize before = m_widget->size();
  m_widget->setGeometry(twipsToPixels(m_left), twipsToPixels(m_top),
                        std::max(0, twipsToPixels(m_width)), std::max(0, twipsToPixels(m_height)));
  if (m_widget->size() != before) resized();
}

void Control::setVisibleValue(bool v) {
  m_visible = v;
  if (m_widget) m_widget->setVisible(v);
}

void Control::setEnabledValue(bool v) {
  m_enabled = v;
  if (m_widget) m_widget->setEnabled(v);
}

void Control::SetFocus() {
  if (m_widget && m_widget->isVisible() && m_widget->isEnabled()) {
    m_widget->setFocus(Qt::OtherFocusReason);
  }
}

void Control::click() {
  if (!m_widget) return;
  QPointF point(m_widget->width() / 2.0, m_widget->height() / 2.0);
  // Qt's buttons take clicks only on their indicator and caption.
  if (qobject_cast<QAbstractButton*>(m_widget)) point.setX(std::min(8.0, point.x()));
  QPointF global = m_widget->mapToGlobal(point);
  QMouseEvent press(QEvent::MouseButtonPress, point, global, Qt::LeftButton, Qt::LeftButton,
                    Qt::NoModifier);
  QCoreApplication::sendEvent(m_widget, &press);
  QMouseEvent release(QEvent::MouseButtonRelease, point, global, Qt::LeftButton, Qt::NoButton,
                      Qt::NoModifier);
  QCoreApplication::sendEvent(m_widget, &release);
}

void Control::fire(const std::function<void()>& handler) {
  if (handler) host().dispatch(handler);
}

void Control::mouseEvent(MouseAction action, QMouseEvent* event) {
  Control* target = host().capture();
  QPointF pos = event->position();
  if (target && target != this && target->widget()) {
    pos = target->widget()->mapFromGlobal(event->globalPosition());
  } else {
    target = this;
  }
  target->deliverMouse(action, toButton(event->button()), toButtons(event->buttons()),
                       toShift(event->modifiers()), pos);
}

void Control::deliverMouse(MouseAction action, int button, int buttons, int shift, QPointF pos) {
  Single x = unitsToTwips(static_cast<float>(pos.x()), ScaleUnit::Pixels);
  Single y = unitsToTwips(static_cast<float>(pos.y()), ScaleUnit::Pixels);
  x = twipsToUnits(x, mouseScale());
  y = twipsToUnits(y, mouseScale());
  switch (action) {
    case MouseAction::Down:
      m_pressed = button == kLeftButton;
      if (onMouseDown) fire([&] { onMouseDown(Integer(button), Integer(shift), x, y); });
      break;
    case MouseAction::Move:
      if (onMouseMove) fire([&] { onMouseMove(Integer(buttons), Integer(shift), x, y); });
      break;
    case MouseAction::Up: {
      bool click = m_pressed && button == kLeftButton && m_widget &&
                   QRectF(QPointF(0, 0), QSizeF(m_widget->size())).contains(pos);
      m_pressed = false;
      if (onMouseUp) fire([&] { onMouseUp(Integer(button), Integer(shift), x, y); });
      if (click) fire(onClick);
      break;
    }
  }
}

CanvasWidget::CanvasWidget(Control* control, QWidget* parent)
    : QWidget(parent), m_control(control) {
  setMouseTracking(true);
}

void CanvasWidget::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  m_control->paint(painter, event->rect());
}

void CanvasWidget::mousePressEvent(QMouseEvent* event) {
  m_control->mouseEvent(MouseAction::Down, event);
}
void CanvasWidget::mouseMoveEvent(QMouseEvent* event) {
  m_control->mouseEvent(MouseAction::Move, event);
}
void CanvasWidget::mouseReleaseEvent(QMouseEvent* event) {
  m_control->mouseEvent(MouseAction::Up, event);
}
void CanvasWidget::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  m_control->gotFocus();
}

QFont toQFont(const FontSpec& wanted) {
  // Arial and MS Sans Serif are not here; Liberation Sans is metrically compatible with Arial and
  // close to MS Sans Serif at these sizes.
  QFont font(QStringLiteral("Liberation Sans"));
  font.setStyleHint(QFont::SansSerif);
  // Points at the old toolkit's 96 dots per inch, in logical pixels like all geometry here.
  font.setPixelSize(std::max(1, static_cast<int>(wanted.points * 96.0 / 72.0 + 0.5)));
  font.setBold(wanted.bold);
  return font;
}

QColor toQColor(Color color) {
  if (color < 0) {
    switch (static_cast<std::uint32_t>(color)) {
      case 0x8000000A:
        return QColor(180, 180, 180);
      case 0x80000008:
        return QColor(0, 0, 0);
      case 0x80000005:
        return QColor(255, 255, 255);
      case 0x8000000F:
        return QColor(240, 240, 240);
      case 0x80000012:
        return QColor(0, 0, 0);
      default:
        return QColor(240, 240, 240);
    }
  }
  return QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

}  // namespace toolkit
