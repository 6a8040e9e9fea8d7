#pragma once

// The base of every control: a name, a container, geometry in the container's scale, Visible,
// Enabled, focus and the mouse events. Geometry is kept as given (Single); the widget stands at
// the rounded pixel values.

#include <QWidget>
#include <functional>
#include <string>

#include "toolkit/core/vb_types.h"
#include "toolkit/widgets/geometry.h"
#include "toolkit/widgets/property.h"

class QMouseEvent;
class QPainter;

namespace toolkit {

class Form;
class Host;

using MouseHandler = std::function<void(Integer Button, Integer Shift, Single X, Single Y)>;

// Mouse buttons and shift keys as the old toolkit numbers them.
inline constexpr int kLeftButton = 1;
inline constexpr int kRightButton = 2;
inline constexpr int kMiddleButton = 4;

enum class MouseAction { Down, Move, Up };

class Control {
  // Accessors behind the properties; declared first so that the properties can name them.
  Single leftValue() const;
  Single topValue() const;
  Single widthValue() const;
  Single heightValue() const;
  void setLeftValue(Single v);
  void setTopValue(Single v);
  void setWidthValue(Single v);
  void setHeightValue(Single v);
  bool visibleValue() const { return m_visible; }
  void setVisibleValue(bool v);
  bool enabledValue() const { return m_enabled; }
  void setEnabledValue(bool v);

 public:
  virtual ~Control();
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string& name() const { return m_name; }
  // nullptr for controls that are never seen (timers, common dialogs).
  QWidget* widget() const { return m_widget; }
  // The containing control, or nullptr when the form itself contains this one.
  Control* container() const { return m_container; }
  Form& form() const { return m_form; }
  Host& host() const;

  Property<Control, Single, &Control::leftValue, &Control::setLeftValue> Left{this};
  Property<Control, Single, &Control::topValue, &Control::setTopValue> Top{this};
  Property<Control, Single, &Control::widthValue, &Control::setWidthValue> Width{this};
  Property<Control, Single, &Control::heightValue, &Control::setHeightValue> Height{this};
  Property<Control, bool, &Control::visibleValue, &Control::setVisibleValue> Visible{this};
  Property<Control, bool, &Control::enabledValue, &Control::setEnabledValue> Enabled{this};

  void Move(Single left, Single top);
  void Move(Single left, Single top, Single width, Single height);
  // Gives the control the keyboard focus; a hidden or disabled control is passed over.
  void SetFocus();
  // A left click in the middle of the control (on a button's indicator), delivered through Qt as
  // the user's would be: a disabled control or window ignores it. For tests and tools.
  void click();

  // Place in the window's tab order; -1 for none.
  int TabIndex = -1;

  std::function<void()> onClick;
  MouseHandler onMouseDown;
  MouseHandler onMouseMove;
  MouseHandler onMouseUp;

  // Geometry in twips, whatever the container's scale.
  float leftTwips() const { return m_left; }
  float topTwips() const { return m_top; }
  float widthTwips() const { return m_width; }
  float heightTwips() const { return m_height; }
  void setGeometryTwips(float left, float top, float width, float height);

  // The unit in which this control's children give their geometry.
  virtual ScaleUnit childScale() const { return ScaleUnit::Twips; }
  // Where children's widgets go.
  virtual QWidget* childParent() const { return m_widget; }
  // Windowed controls (picture boxes, frames, buttons, scroll bars) lie above the lightweight ones
  // (images, labels, shapes) of the same container.
  virtual bool windowed() const { return true; }

  // Entry points for the widget's events; also used to route captured mouse events.
  void mouseEvent(MouseAction action, QMouseEvent* event);
  void deliverMouse(MouseAction action, int button, int buttons, int shift, QPointF pixelPos);
  virtual void paint(QPainter&, const QRect&) {}
  virtual void gotFocus() {}
  // The form is being unloaded; timers stop here.
  virtual void formUnloaded() {}

 protected:
  Control(Form& form, std::string name, Control* container);
  // Takes a widget made by the derived class; its parent must be the container's childParent().
  void attach(QWidget* widget);
  // Runs a handler through the host's dispatch, so that no error escapes into Qt.
  void fire(const std::function<void()>& handler);
  // The unit of this control's own mouse coordinates: a picture box's own scale, for others
  // their container's.
  virtual ScaleUnit mouseScale() const;
  // The widget has taken its new pixel size.
  virtual void resized() {}
  ScaleUnit containerScale() const;
  // The widget that a new widget of this control is made a child of.
  QWidget* parentWidget() const;

 private:
  void applyGeometry();

  Form& m_form;
  std::string m_name;
  Control* m_container;
  QWidget* m_widget = nullptr;
  float m_left = 0, m_top = 0, m_width = 0, m_height = 0;
  bool m_visible = true;
  bool m_enabled = true;
  bool m_pressed = false;
};

// A plain widget that hands painting, mouse and focus events to its control.
class CanvasWidget : public QWidget {
 public:
  CanvasWidget(Control* control, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;

 private:
  Control* m_control;
};

QFont toQFont(const FontSpec& wanted);

// Sets the cursor of a MousePointer value.
void applyPointer(QWidget* widget, Pointer pointer);

}  // namespace toolkit
