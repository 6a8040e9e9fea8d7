#include "toolkit/widgets/buttons.h"

#include <QLineEdit>

namespace toolkit {
namespace {

void setRole(QWidget* w, QPalette::ColorRole role, Color color) {
  QPalette palette = w->palette();
  palette.setColor(role, toQColor(color));
  w->setPalette(palette);
}

}  // namespace

CommandButton::CommandButton(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  auto* b = new QPushButton(parentWidget());
  b->setAutoDefault(false);
  QObject::connect(b, &QPushButton::clicked, [this] { fire(onClick); });
  attach(b);
}

void CommandButton::setCaptionValue(std::string caption) {
  m_caption = std::move(caption);
  button()->setText(QString::fromStdString(m_caption));
}

void CommandButton::setBackColorValue(Color color) {
  m_backColor = color;
  setRole(button(), QPalette::Button, color);
}

void CommandButton::setFont(const FontSpec& font) { button()->setFont(toQFont(font)); }

OptionButton::OptionButton(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  // Qt's auto-exclusion groups radio buttons by parent widget, which is the container.
  auto* b = new QRadioButton(parentWidget());
  b->setAutoExclusive(true);
  QObject::connect(b, &QRadioButton::clicked, [this] { fire(onClick); });
  attach(b);
}

void OptionButton::setCaptionValue(std::string caption) {
  m_caption = std::move(caption);
  button()->setText(QString::fromStdString(m_caption));
}

bool OptionButton::valueValue() const { return button()->isChecked(); }

void OptionButton::setValueValue(bool on) {
  QRadioButton* b = button();
  if (on) {
    if (b->isChecked()) return;
    b->setChecked(true);
    fire(onClick);
  } else if (b->isChecked()) {
    // Qt keeps one button of a group checked; the old toolkit lets code clear them all.
    b->setAutoExclusive(false);
    b->setChecked(false);
    b->setAutoExclusive(true);
  }
}

void OptionButton::setForeColorValue(Color color) {
  m_foreColor = color;
  setRole(button(), QPalette::WindowText, color);
}

void OptionButton::setFont(const FontSpec& font) { button()->setFont(toQFont(font)); }

ComboBox::ComboBox(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {
  auto* c = new QComboBox(parentWidget());
  c->setEditable(true);
  c->setInsertPolicy(QComboBox::NoInsert);
  attach(c);
}

std::string ComboBox::textValue() const { return combo()->currentText().toStdString(); }

void ComboBox::setTextValue(std::string text) {
  combo()->setEditText(QString::fromStdString(text));
}

void ComboBox::setBackColorValue(Color color) {
  m_backColor = color;
  setRole(combo(), QPalette::Base, color);
  setRole(combo(), QPalette::Button, color);
}

void ComboBox::AddItem(const std::string& item) {
  // Adding to the list leaves the edit field as it was.
  QString text = combo()->currentText();
  combo()->addItem(QString::fromStdString(item));
  combo()->setEditText(text);
}

void ComboBox::Clear() {
  combo()->clear();
  combo()->setEditText(QString());
}

int ComboBox::ListCount() const { return combo()->count(); }

std::string ComboBox::List(int index) const { return combo()->itemText(index).toStdString(); }

void ComboBox::setFont(const FontSpec& font) { combo()->setFont(toQFont(font)); }

}  // namespace toolkit
