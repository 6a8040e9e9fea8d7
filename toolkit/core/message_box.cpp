#include "toolkit/core/message_box.h"

#include <ostream>

namespace toolkit {

void StreamMessageSink::show(const MessageBoxRequest& box) {
  std::string text;
  for (char c : box.text) {
    if (c != '\r') text += c;
  }
  m_out << box.shownTitle() << (box.icon == MsgIcon::Critical ? " (critical)" : "") << ": " << text
        << '\n';
  m_out.flush();
}

}  // namespace toolkit
