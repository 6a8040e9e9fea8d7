#pragma once

// Horizontal and vertical scroll bars with the old toolkit's events: Scroll while the thumb is
// dragged, Change once Value has changed by the user (at the end of a drag) or by code. Assigning
// the value Value already has fires nothing; a new Max below Value (or Min above it) pulls Value
// along and fires Change.

#include <QScrollBar>

#include "toolkit/widgets/control.h"

namespace toolkit {

class ScrollBar : public Control {
  Integer minValue() const { return m_min; }
  void setMinValue(Integer v);
  Integer maxValue() const { return m_max; }
  void setMaxValue(Integer v);
  Integer valueValue() const { return m_value; }
  void setValueValue(Integer v);
  Integer smallChangeValue() const { return m_small; }
  void setSmallChangeValue(Integer v);
  Integer largeChangeValue() const { return m_large; }
  void setLargeChangeValue(Integer v);

 public:
  ScrollBar(Form& form, std::string name, Control* container, Qt::Orientation orientation);

  Property<ScrollBar, Integer, &ScrollBar::minValue, &ScrollBar::setMinValue> Min{this};
  Property<ScrollBar, Integer, &ScrollBar::maxValue, &ScrollBar::setMaxValue> Max{this};
  // Out of Min..Max is RuntimeError 380 "Invalid property value".
  Property<ScrollBar, Integer, &ScrollBar::valueValue, &ScrollBar::setValueValue> Value{this};
  Property<ScrollBar, Integer, &ScrollBar::smallChangeValue, &ScrollBar::setSmallChangeValue>
      SmallChange{this};
  Property<ScrollBar, Integer, &ScrollBar::largeChangeValue, &ScrollBar::setLargeChangeValue>
      LargeChange{this};

  std::function<void()> onChange;
  std::function<void()> onScroll;
  std::function<void()> onGotFocus;

  QScrollBar* bar() const { return static_cast<QScrollBar*>(widget()); }
  void gotFocus() override { fire(onGotFocus); }

 private:
  void syncRange();
  void userValue(int value);

  Integer m_min = 0;
  Integer m_max = 32767;
  Integer m_value = 0;
  Integer m_small = 1;
  Integer m_large = 1;
  Integer m_valueAtPress = 0;
  bool m_syncing = false;
};

}  // namespace toolkit
