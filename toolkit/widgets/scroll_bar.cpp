#include "toolkit/widgets/scroll_bar.h"

#include <algorithm>

#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

class FocusScrollBar : public QScrollBar {
 public:
  FocusScrollBar(Qt::Orientation orientation, QWidget* parent, Control* control)
      : QScrollBar(orientation, parent), m_control(control) {
    setFocusPolicy(Qt::StrongFocus);
  }

 protected:
  void focusInEvent(QFocusEvent* event) override {
    QScrollBar::focusInEvent(event);
    m_control->gotFocus();
  }

 private:
  Control* m_control;
};

}  // namespace

ScrollBar::ScrollBar(Form& form, std::string name, Control* container, Qt::Orientation orientation)
    : Control(form, std::move(name), container) {
  auto* b = new FocusScrollBar(orientation, parentWidget(), this);
  QObject::connect(b, &QScrollBar::valueChanged, [this](int v) { userValue(v); });
  QObject::connect(b, &QScrollBar::sliderPressed, [this] { m_valueAtPress = m_value; });
  QObject::connect(b, &QScrollBar::sliderReleased, [this] {
    if (m_value != m_valueAtPress) fire(onChange);
  });
  attach(b);
  syncRange();
}

void ScrollBar::syncRange() {
  m_syncing = true;
  bar()->setRange(std::min(m_min.value(), m_max.value()), std::max(m_min.value(), m_max.value()));
  bar()->setSingleStep(m_small.value());
  bar()->setPageStep(m_large.value());
  bar()->setValue(m_value.value());
  m_syncing = false;
}

void ScrollBar::userValue(int value) {
  if (m_syncing || value == m_value.value()) return;
  m_value = value;
  if (bar()->isSliderDown()) {
    fire(onScroll);
  } else {
    fire(onChange);
  }
}

void ScrollBar::setMinValue(Integer v) {
  m_min = v;
  bool pulled = m_value < v;
  if (pulled) m_value = v;
  syncRange();
  if (pulled) fire(onChange);
}

void ScrollBar::setMaxValue(Integer v) {
  m_max = v;
  bool pulled = m_value > v;
  if (pulled) m_value = v;
  syncRange();
  if (pulled) fire(onChange);
}

void ScrollBar::setValueValue(Integer v) {
  if (v < std::min(m_min, m_max) || v > std::max(m_min, m_max)) {
    throw RuntimeError(380, "Invalid property value");
  }
  if (v == m_value) return;
  m_value = v;
  syncRange();
  fire(onChange);
}

void ScrollBar::setSmallChangeValue(Integer v) {
  m_small = v;
  syncRange();
}

void ScrollBar::setLargeChangeValue(Integer v) {
  m_large = v;
  syncRange();
}

}  // namespace toolkit
