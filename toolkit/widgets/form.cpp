#include "toolkit/widgets/form.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QMimeData>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QUrl>
#include <QWidget>
#include <algorithm>

#include "toolkit/widgets/host.h"

namespace toolkit {
namespace {

// The first local file among the URLs of a drag, or "".
std::string droppedFile(const QMimeData* data) {
  if (!data || !data->hasUrls()) return {};
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) return url.toLocalFile().toStdString();
  }
  return {};
}

}  // namespace

class FormWindow : public QWidget {
 public:
  explicit FormWindow(Form* form) : m_form(form) { setAcceptDrops(true); }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override {
    if (takesDrops() && !droppedFile(event->mimeData()).empty()) event->acceptProposedAction();
  }
  void dropEvent(QDropEvent* event) override {
    const std::string file = droppedFile(event->mimeData());
    if (!takesDrops() || file.empty()) return;
    event->acceptProposedAction();
    m_form->host().dispatch([this, file] { m_form->onFileDropped(file); });
  }
  void paintEvent(QPaintEvent* event) override {
    QPainter painter(this);
    m_form->paintBackground(painter, event->rect());
  }
  void closeEvent(QCloseEvent* event) override {
    // The form decides, through Form_QueryUnload; the window is only hidden, never destroyed here.
    event->ignore();
    m_form->requestClose();
  }

 private:
  bool takesDrops() const { return m_form->onFileDropped && m_form->Enabled; }

  Form* m_form;
};

// One load's window and controls. The window goes first, so that no widget outlives the control
// it reports to.
struct Form::Generation : QObject {
  std::unique_ptr<FormWindow> window;
  std::vector<std::unique_ptr<Control>> controls;
  ~Generation() override {
    window.reset();
    controls.clear();
  }
};

void applyPointer(QWidget* widget, Pointer pointer) {
  if (!widget) return;
  switch (pointer) {
    case Pointer::Default:
      widget->unsetCursor();
      break;
    case Pointer::Cross:
      widget->setCursor(Qt::CrossCursor);
      break;
    case Pointer::Hourglass:
      widget->setCursor(Qt::WaitCursor);
      break;
  }
}

Form::Form(Host& host, std::string name) : m_host(host), m_name(std::move(name)) {}

Form::~Form() {
  // Going with the program, not unloading: no Form_QueryUnload and no end-of-program callback.
  if (m_loaded) m_host.formDestroyed(this);
  m_current.reset();
  for (auto& retired : m_retired) delete retired.data();
}

QWidget* Form::window() const { return m_current ? m_current->window.get() : nullptr; }

Control* Form::control(const std::string& name) const {
  auto it = m_byName.find(name);
  return it == m_byName.end() ? nullptr : it->second;
}

void Form::adopt(std::unique_ptr<Control> control) {
  m_byName[control->name()] = control.get();
  m_order.push_back(control.get());
  m_current->controls.push_back(std::move(control));
}

void Form::addKey(const QKeySequence& keys, std::function<void()> handler) {
  auto* shortcut = new QShortcut(keys, window());
  shortcut->setContext(Qt::WindowShortcut);
  QObject::connect(shortcut, &QShortcut::activated, [this, handler = std::move(handler)] {
    if (m_enabled) m_host.dispatch(handler);
  });
}

void Form::Load() {
  if (m_loaded) return;
  if (m_current) {
    // A handler of the old window may still be on the stack (an unload from a click); Qt deletes
    // the old generation once control is back in the event loop.
    std::erase_if(m_retired, [](const QPointer<QObject>& p) { return p.isNull(); });
    m_retired.emplace_back(m_current.get());
    m_current.release()->deleteLater();
  }
  m_current = std::make_unique<Generation>();
  m_current->window = std::make_unique<FormWindow>(this);
  m_byName.clear();
  m_order.clear();
  m_enabled = true;
  m_pointer = Pointer::Default;
  m_shownOnce = false;
  m_loaded = true;
  m_host.formLoaded(this);
  createControls();
  applyWindowFlags();
  applyStackingOrder();
  applyTabOrder();
  m_host.dispatch([this] { Form_Load(); });
}

void Form::Show() {
  Load();
  if (!m_loaded) return;
  QWidget* w = window();
  if (!m_shownOnce) {
    m_shownOnce = true;
    if (m_centred) {
      if (QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect area = screen->availableGeometry();
        w->move(area.center() - QPoint(w->width() / 2, w->height() / 2));
      }
    }
    w->show();
    m_host.dispatch([this] { Form_Resize(); });
  } else {
    w->show();
  }
  // The offscreen platform used by tests has no window stacking to change.
  if (QGuiApplication::platformName() != QLatin1String("offscreen")) {
    w->raise();
    w->activateWindow();
  }
}

void Form::Hide() {
  if (QWidget* w = window()) w->hide();
}

bool Form::Unload(int unloadMode) {
  if (!m_loaded) return true;
  if (!m_inQueryUnload) {
    Integer cancel = 0;
    Integer mode = unloadMode;
    m_inQueryUnload = true;
    m_host.dispatch([&] { Form_QueryUnload(cancel, mode); });
    m_inQueryUnload = false;
    if (cancel != Integer(0)) return false;
    if (!m_loaded) return true;  // Form_QueryUnload unloaded the form itself
  }
  m_loaded = false;
  stopTimers();
  window()->hide();
  m_host.formUnloaded(this);
  return true;
}

void Form::requestClose() {
  m_host.dispatch([this] { Unload(kUnloadFromControlMenu); });
}

void Form::stopTimers() {
  for (Control* c : m_order) c->formUnloaded();
}

bool Form::visibleValue() const { return window() && window()->isVisible(); }

void Form::setCaptionValue(std::string caption) {
  m_caption = std::move(caption);
  if (QWidget* w = window()) w->setWindowTitle(QString::fromStdString(m_caption));
}

void Form::setEnabledValue(bool enabled) {
  m_enabled = enabled;
  if (QWidget* w = window()) w->setEnabled(enabled);
}

void Form::setPointerValue(Pointer pointer) {
  m_pointer = pointer;
  applyPointer(window(), pointer);
}

void Form::setPictureValue(::toolkit::Picture picture) {
  m_picture = std::move(picture);
  if (QWidget* w = window()) w->update();
}

void Form::setIcon(const ::toolkit::Picture& icon) {
  if (QWidget* w = window()) w->setWindowIcon(QIcon(QPixmap::fromImage(icon.image())));
}

void Form::SetFocus() {
  if (QWidget* w = window(); w && w->isVisible() && w->isEnabled()) {
    w->activateWindow();
    w->setFocus(Qt::OtherFocusReason);
  }
}

void Form::setBorder(FormBorder border, bool minimiseButton) {
  m_border = border;
  m_minimiseButton = minimiseButton;
  applyWindowFlags();
}

void Form::setClientSize(Single widthTwips, Single heightTwips) {
  if (QWidget* w = window()) w->setFixedSize(twipsToPixels(widthTwips), twipsToPixels(heightTwips));
}

void Form::setBackColor(Color color) {
  m_backColor = color;
  if (QWidget* w = window()) w->update();
}

void Form::setFont(const FontSpec& font) {
  if (QWidget* w = window()) w->setFont(toQFont(font));
}

void Form::applyWindowFlags() {
  QWidget* w = window();
  if (!w) return;
  Qt::WindowFlags flags = Qt::CustomizeWindowHint;
  switch (m_border) {
    case FormBorder::FixedSingle:
      flags |=
          Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
      if (m_minimiseButton) flags |= Qt::WindowMinimizeButtonHint;
      break;
    case FormBorder::FixedDialog:
      flags |=
          Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
      break;
    case FormBorder::None:
      flags |= Qt::Dialog | Qt::FramelessWindowHint;
      break;
  }
  w->setWindowFlags(flags);
  w->setWindowTitle(QString::fromStdString(m_caption));
}

void Form::applyStackingOrder() {
  // Raising from the bottom up: first the lightweight controls, last in the order first, then the
  // windowed ones the same way, so the first windowed control ends on top of its container.
  for (bool windowed : {false, true}) {
    for (auto it = m_order.rbegin(); it != m_order.rend(); ++it) {
      if ((*it)->windowed() == windowed && (*it)->widget()) (*it)->widget()->raise();
    }
  }
}

void Form::applyTabOrder() {
  std::vector<Control*> order;
  for (Control* c : m_order) {
    if (c->TabIndex >= 0 && c->widget() && c->widget()->focusPolicy() != Qt::NoFocus) {
      order.push_back(c);
    }
  }
  std::stable_sort(order.begin(), order.end(),
                   [](Control* a, Control* b) { return a->TabIndex < b->TabIndex; });
  for (std::size_t i = 1; i < order.size(); ++i) {
    QWidget::setTabOrder(order[i - 1]->widget(), order[i]->widget());
  }
}

void Form::paintBackground(QPainter& painter, const QRect& rect) {
  painter.fillRect(rect, toQColor(m_backColor));
  if (!m_picture.empty()) painter.drawImage(rect.topLeft(), m_picture.image(), rect);
}

::toolkit::Picture Form::LoadPicture(const std::string& path) {
  return ::toolkit::LoadPicture(m_host.files(), path);
}
void Form::SavePicture(const ::toolkit::Picture& picture, const std::string& path) {
  ::toolkit::SavePicture(m_host.files(), picture, path);
}
bool Form::FileExists(const std::string& path) { return m_host.FileExists(path); }
void Form::Kill(const std::string& path) { m_host.Kill(path); }
void Form::DoEvents() { m_host.DoEvents(); }
void Form::SetCapture(Control* control) { m_host.SetCapture(control); }
void Form::MsgBox(const std::string& text, MsgIcon icon, std::optional<std::string> title) {
  m_host.messages().show({text, icon, std::move(title), MsgButtons::Ok});
}
void Form::ReleaseCapture() { m_host.ReleaseCapture(); }
const std::string& Form::programFolder() const { return m_host.programFolder(); }

}  // namespace toolkit
