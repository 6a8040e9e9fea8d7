#pragma once

// The frame: a container with an optional etched border and caption. Disabling it disables
// everything inside.

#include <string>

#include "toolkit/widgets/control.h"

namespace toolkit {

class Frame : public Control {
  std::string captionValue() const { return m_caption; }
  void setCaptionValue(std::string caption);
  Color foreColorValue() const { return m_foreColor; }
  void setForeColorValue(Color color);

 public:
  Frame(Form& form, std::string name, Control* container);

  Property<Frame, std::string, &Frame::captionValue, &Frame::setCaptionValue> Caption{this};
  Property<Frame, Color, &Frame::foreColorValue, &Frame::setForeColorValue> ForeColor{this};
  void setBorder(bool border);
  void setFont(const FontSpec& font);

 protected:
  void paint(QPainter& painter, const QRect& rect) override;

 private:
  std::string m_caption;
  Color m_foreColor = kSysButtonText;
  bool m_border = true;
};

}  // namespace toolkit
