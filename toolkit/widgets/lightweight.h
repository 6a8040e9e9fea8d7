#pragma once

// The lightweight controls: images, labels and shapes. They are painted on their container, below
// every windowed control of it.

#include <QFont>
#include <string>

#include "toolkit/widgets/control.h"
#include "toolkit/widgets/picture.h"

namespace toolkit {

// The image control. With Stretch the picture fills the control; without, the control takes the
// picture's natural size.
class ImageControl : public Control {
  ::toolkit::Picture pictureValue() const { return m_picture; }
  void setPictureValue(::toolkit::Picture picture);
  bool stretchValue() const { return m_stretch; }
  void setStretchValue(bool on);
  Pointer pointerValue() const { return m_pointer; }
  void setPointerValue(Pointer pointer);

 public:
  ImageControl(Form& form, std::string name, Control* container);

  Property<ImageControl, ::toolkit::Picture, &ImageControl::pictureValue,
           &ImageControl::setPictureValue>
      Picture{this};
  Property<ImageControl, bool, &ImageControl::stretchValue, &ImageControl::setStretchValue> Stretch{
      this};
  Property<ImageControl, Pointer, &ImageControl::pointerValue, &ImageControl::setPointerValue>
      MousePointer{this};

  bool windowed() const override { return false; }

 protected:
  void paint(QPainter& painter, const QRect& rect) override;

 private:
  void fitToPicture();

  ::toolkit::Picture m_picture;
  bool m_stretch = false;
  Pointer m_pointer = Pointer::Default;
};

enum class LabelBackStyle { Transparent, Opaque };

class Label : public Control {
  std::string captionValue() const { return m_caption; }
  void setCaptionValue(std::string caption);
  bool autoSizeValue() const { return m_autoSize; }
  void setAutoSizeValue(bool on);
  Color foreColorValue() const { return m_foreColor; }
  void setForeColorValue(Color color);
  Color backColorValue() const { return m_backColor; }
  void setBackColorValue(Color color);
  LabelBackStyle backStyleValue() const { return m_backStyle; }
  void setBackStyleValue(LabelBackStyle style);

 public:
  Label(Form& form, std::string name, Control* container);

  Property<Label, std::string, &Label::captionValue, &Label::setCaptionValue> Caption{this};
  // Sizes the label to its caption on one line.
  Property<Label, bool, &Label::autoSizeValue, &Label::setAutoSizeValue> AutoSize{this};
  Property<Label, Color, &Label::foreColorValue, &Label::setForeColorValue> ForeColor{this};
  Property<Label, Color, &Label::backColorValue, &Label::setBackColorValue> BackColor{this};
  Property<Label, LabelBackStyle, &Label::backStyleValue, &Label::setBackStyleValue> BackStyle{
      this};

  void setFont(const FontSpec& font);
  bool windowed() const override { return false; }

  // The font the caption is painted in: the label's own, narrowed or made smaller where the
  // caption would not fit its box otherwise.
  QFont fittedFont() const;
  // How it is laid out: top left, and wrapped when the box holds two lines or more.
  int textFlags() const;

 protected:
  void paint(QPainter& painter, const QRect& rect) override;

 private:
  void fitToCaption();

  std::string m_caption;
  bool m_autoSize = false;
  Color m_foreColor = kSysButtonText;
  Color m_backColor = kSysButtonFace;
  LabelBackStyle m_backStyle = LabelBackStyle::Opaque;
};

// The rectangle shape: an outline BorderWidth pixels wide, drawn inside its bounds. It takes no
// mouse input; clicks fall through to its container.
class Shape : public Control {
  Integer borderWidthValue() const { return m_borderWidth; }
  void setBorderWidthValue(Integer width);
  Color borderColorValue() const { return m_borderColor; }
  void setBorderColorValue(Color color);

 public:
  Shape(Form& form, std::string name, Control* container);

  Property<Shape, Integer, &Shape::borderWidthValue, &Shape::setBorderWidthValue> BorderWidth{this};
  Property<Shape, Color, &Shape::borderColorValue, &Shape::setBorderColorValue> BorderColor{this};

  bool windowed() const override { return false; }

 protected:
  void paint(QPainter& painter, const QRect& rect) override;

 private:
  Integer m_borderWidth = 1;
  Color m_borderColor = kSysWindowText;
};

}  // namespace toolkit
