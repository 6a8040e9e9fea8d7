#pragma once

// Every message box of the program goes through a MessageSink: the window shows a real dialog,
// hgvtool prints to stderr, and tests record what would have been shown.

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace toolkit {

// The title the toolkit gives a box that names none of its own.
inline constexpr const char* kApplicationTitle = "Harrowglen";

enum class MsgIcon { None, Critical };
enum class MsgButtons { Ok };

struct MessageBoxRequest {
  std::string text;
  MsgIcon icon = MsgIcon::None;
  std::optional<std::string> title;  // nullopt: the toolkit's default, kApplicationTitle
  MsgButtons buttons = MsgButtons::Ok;

  // A box with the OK button; the title left out is the toolkit's default.
  static MessageBoxRequest plain(std::string text, std::optional<std::string> title = {}) {
    return {std::move(text), MsgIcon::None, std::move(title), MsgButtons::Ok};
  }
  static MessageBoxRequest critical(std::string text, std::optional<std::string> title = {}) {
    return {std::move(text), MsgIcon::Critical, std::move(title), MsgButtons::Ok};
  }

  std::string shownTitle() const { return title.value_or(kApplicationTitle); }
  friend bool operator==(const MessageBoxRequest&, const MessageBoxRequest&) = default;
};

class MessageSink {
 public:
  virtual ~MessageSink() = default;
  // Returns when the user has dismissed the box. A modal box lets other events through meanwhile.
  virtual void show(const MessageBoxRequest& box) = 0;
};

class RecordingMessageSink : public MessageSink {
 public:
  void show(const MessageBoxRequest& box) override { m_boxes.push_back(box); }
  const std::vector<MessageBoxRequest>& boxes() const { return m_boxes; }
  void clear() { m_boxes.clear(); }

 private:
  std::vector<MessageBoxRequest> m_boxes;
};

// Prints each box as its title, a colon and its text (CR LF shown as line breaks).
class StreamMessageSink : public MessageSink {
 public:
  explicit StreamMessageSink(std::ostream& out) : m_out(out) {}
  void show(const MessageBoxRequest& box) override;

 private:
  std::ostream& m_out;
};

}  // namespace toolkit
