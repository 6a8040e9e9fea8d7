#pragma once

// A window of the forms toolkit. The Form object lives as long as the program; loading it builds
// a fresh window with its controls at their stored places (createControls) and runs Form_Load,
// unloading asks Form_QueryUnload and takes the window down. Variables of the form survive an
// unload; controls come back at their stored state at the next load.

#include <QKeySequence>
#include <QPointer>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/core/message_box.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/picture.h"

namespace toolkit {

class Host;
class FormWindow;

enum class FormBorder { FixedSingle, FixedDialog, None };

// UnloadMode of Form_QueryUnload.
inline constexpr int kUnloadFromControlMenu = 0;  // the window's close box
inline constexpr int kUnloadFromCode = 1;

class Form {
  std::string captionValue() const { return m_caption; }
  void setCaptionValue(std::string caption);
  bool enabledValue() const { return m_enabled; }
  void setEnabledValue(bool enabled);
  Pointer pointerValue() const { return m_pointer; }
  void setPointerValue(Pointer pointer);
  ::toolkit::Picture pictureValue() const { return m_picture; }
  void setPictureValue(::toolkit::Picture picture);
  bool visibleValue() const;

 public:
  Form(Host& host, std::string name);
  virtual ~Form();
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  Host& host() const { return m_host; }
  const std::string& name() const { return m_name; }

  // Builds the window and runs Form_Load, unless the form is loaded already.
  void Load();
  // Loads if needed and shows the window, not modal and without an owner. A form that unloaded
  // itself during Form_Load stays unloaded and is not shown.
  void Show();
  void Hide();
  // Runs Form_QueryUnload; unless it sets Cancel, hides the window, stops the form's timers and
  // takes the form off the list of loaded forms. Returns whether the form is unloaded.
  bool Unload(int unloadMode = kUnloadFromCode);
  bool loaded() const { return m_loaded; }

  // The window of the current load; nullptr before the first load.
  QWidget* window() const;
  Control* control(const std::string& name) const;
  const std::vector<Control*>& controls() const { return m_order; }

  Property<Form, std::string, &Form::captionValue, &Form::setCaptionValue> Caption{this};
  Property<Form, bool, &Form::enabledValue, &Form::setEnabledValue> Enabled{this};
  Property<Form, Pointer, &Form::pointerValue, &Form::setPointerValue> MousePointer{this};
  // The background picture, painted from the top left corner at its natural size.
  Property<Form, ::toolkit::Picture, &Form::pictureValue, &Form::setPictureValue> Picture{this};
  ReadOnlyProperty<Form, bool, &Form::visibleValue> Visible{this};
  void SetFocus();
  void setIcon(const ::toolkit::Picture& icon);

  // Services for handlers, through the host.
  ::toolkit::Picture LoadPicture(const std::string& path);
  void SavePicture(const ::toolkit::Picture& picture, const std::string& path);
  bool FileExists(const std::string& path);
  void Kill(const std::string& path);
  void DoEvents();
  void SetCapture(Control* control);
  // A message box with the OK button alone; no title means the toolkit's default.
  void MsgBox(const std::string& text, MsgIcon icon = MsgIcon::None,
              std::optional<std::string> title = std::nullopt);
  void ReleaseCapture();
  const std::string& programFolder() const;

  // The window's close box; public so that tests can press it.
  void requestClose();

  // A key of the current window: `handler` runs as a click's handler does when `keys` are
  // pressed anywhere in the window while the form is enabled.
  void addKey(const QKeySequence& keys, std::function<void()> handler);
  // A file dropped on the window from a file manager: the first local file of the drop. None is
  // taken while unset or while the form is not enabled.
  std::function<void(const std::string&)> onFileDropped;

 protected:
  // Creates the controls at their stored places, in stacking order (the first lies on top), and
  // sets the window's stored properties.
  virtual void createControls() = 0;
  virtual void Form_Load() {}
  virtual void Form_QueryUnload(Integer& Cancel, Integer& UnloadMode) {
    (void)Cancel;
    (void)UnloadMode;
  }
  virtual void Form_Resize() {}

  template <class T, class... Args>
  T* add(const std::string& name, Control* container, Single left, Single top, Single width,
         Single height, Args&&... args) {
    auto control = std::make_unique<T>(*this, name, container, std::forward<Args>(args)...);
    T* raw = control.get();
    ScaleUnit unit = container ? container->childScale() : ScaleUnit::Twips;
    raw->setGeometryTwips(unitsToTwips(left, unit), unitsToTwips(top, unit),
                          unitsToTwips(width, unit), unitsToTwips(height, unit));
    adopt(std::move(control));
    return raw;
  }

  void setBorder(FormBorder border, bool minimiseButton);
  void setClientSize(Single widthTwips, Single heightTwips);
  void setStartCentred(bool centred) { m_centred = centred; }
  void setBackColor(Color color);
  void setFont(const FontSpec& font);

 private:
  friend class Control;
  friend class FormWindow;
  struct Generation;
  void adopt(std::unique_ptr<Control> control);
  void applyStackingOrder();
  void applyTabOrder();
  void applyWindowFlags();
  void paintBackground(QPainter& painter, const QRect& rect);
  void stopTimers();

  Host& m_host;
  std::string m_name;
  bool m_loaded = false;
  bool m_inQueryUnload = false;
  bool m_shownOnce = false;
  std::unique_ptr<Generation> m_current;
  std::vector<QPointer<QObject>> m_retired;
  std::map<std::string, Control*> m_byName;
  std::vector<Control*> m_order;

  std::string m_caption;
  bool m_enabled = true;
  Pointer m_pointer = Pointer::Default;
  ::toolkit::Picture m_picture;
  FormBorder m_border = FormBorder::FixedDialog;
  bool m_minimiseButton = false;
  bool m_centred = false;
  Color m_backColor = kSysButtonFace;
};

}  // namespace toolkit
