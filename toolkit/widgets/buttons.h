#pragma once

// Command buttons, option buttons and the combo box, on Qt's own widgets.

#include <QComboBox>
#include <QPushButton>
#include <QRadioButton>
#include <string>

#include "toolkit/widgets/control.h"

namespace toolkit {

// A caption's "&" marks the access key, as in Qt.
class CommandButton : public Control {
  std::string captionValue() const { return m_caption; }
  void setCaptionValue(std::string caption);
  Color backColorValue() const { return m_backColor; }
  void setBackColorValue(Color color);

 public:
  CommandButton(Form& form, std::string name, Control* container);

  Property<CommandButton, std::string, &CommandButton::captionValue,
           &CommandButton::setCaptionValue>
      Caption{this};
  Property<CommandButton, Color, &CommandButton::backColorValue, &CommandButton::setBackColorValue>
      BackColor{this};
  void setFont(const FontSpec& font);
  QPushButton* button() const { return static_cast<QPushButton*>(widget()); }

 private:
  std::string m_caption;
  Color m_backColor = kSysButtonFace;
};

// Option buttons exclude each other within their container only. Click comes with every click by
// the user, and when code sets Value to True on a button that was False.
class OptionButton : public Control {
  std::string captionValue() const { return m_caption; }
  void setCaptionValue(std::string caption);
  bool valueValue() const;
  void setValueValue(bool on);
  Color foreColorValue() const { return m_foreColor; }
  void setForeColorValue(Color color);

 public:
  OptionButton(Form& form, std::string name, Control* container);

  Property<OptionButton, std::string, &OptionButton::captionValue, &OptionButton::setCaptionValue>
      Caption{this};
  Property<OptionButton, bool, &OptionButton::valueValue, &OptionButton::setValueValue> Value{this};
  Property<OptionButton, Color, &OptionButton::foreColorValue, &OptionButton::setForeColorValue>
      ForeColor{this};
  void setFont(const FontSpec& font);
  QRadioButton* button() const { return static_cast<QRadioButton*>(widget()); }

 private:
  std::string m_caption;
  Color m_foreColor = kSysButtonText;
};

// The drop-down combo with an edit field.
class ComboBox : public Control {
  std::string textValue() const;
  void setTextValue(std::string text);
  Color backColorValue() const { return m_backColor; }
  void setBackColorValue(Color color);

 public:
  ComboBox(Form& form, std::string name, Control* container);

  Property<ComboBox, std::string, &ComboBox::textValue, &ComboBox::setTextValue> Text{this};
  Property<ComboBox, Color, &ComboBox::backColorValue, &ComboBox::setBackColorValue> BackColor{
      this};
  void AddItem(const std::string& item);
  // Empties the list and the edit field.
  void Clear();
  int ListCount() const;
  std::string List(int index) const;
  void setFont(const FontSpec& font);
  QComboBox* combo() const { return static_cast<QComboBox*>(widget()); }

 private:
  Color m_backColor = kSysWindowBackground;
};

}  // namespace toolkit
