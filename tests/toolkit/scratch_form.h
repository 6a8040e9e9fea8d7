#pragma once

// A form whose controls a test lays out itself, over a fresh test host.

#include <gtest/gtest.h>

#include <functional>

#include "tests/support/temp_dir.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/testing.h"

namespace widgets_test {

class ScratchForm : public toolkit::Form {
 public:
  using Form::add;
  using Form::setClientSize;
  ScratchForm(toolkit::Host& host, std::function<void(ScratchForm&)> layout)
      : Form(host, "ScratchForm"), m_layout(std::move(layout)) {}

  std::function<void()> onLoad;
  std::function<void(toolkit::Integer&, toolkit::Integer&)> onQueryUnload;

 protected:
  void createControls() override {
    setClientSize(6000, 4500);
    m_layout(*this);
  }
  void Form_Load() override {
    if (onLoad) onLoad();
  }
  void Form_QueryUnload(toolkit::Integer& cancel, toolkit::Integer& mode) override {
    if (onQueryUnload) onQueryUnload(cancel, mode);
  }

 private:
  std::function<void(ScratchForm&)> m_layout;
};

class WidgetsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { toolkit::testing::ensureApplication(); }

  // Loads and shows a form laid out by `layout`.
  ScratchForm& show(std::function<void(ScratchForm&)> layout) {
    m_form = std::make_unique<ScratchForm>(m_host.host, std::move(layout));
    m_form->Show();
    return *m_form;
  }

  const std::vector<toolkit::MessageBoxRequest>& boxes() const { return m_host.messages.boxes(); }

  testing_support::TempDir m_dir;
  toolkit::testing::TestHost m_host{m_dir.path()};
  std::unique_ptr<ScratchForm> m_form;
};

// A picture of solid quadrants: red top left, green top right, blue bottom left, white bottom
// right, each `half` pixels square.
inline toolkit::Picture quadrants(int half) {
  QImage image(2 * half, 2 * half, QImage::Format_RGB32);
  for (int y = 0; y < 2 * half; ++y) {
    for (int x = 0; x < 2 * half; ++x) {
      bool right = x >= half, bottom = y >= half;
      image.setPixel(x, y,
                     !bottom ? (!right ? qRgb(255, 0, 0) : qRgb(0, 255, 0))
                             : (!right ? qRgb(0, 0, 255) : qRgb(255, 255, 255)));
    }
  }
  return toolkit::Picture(image);
}

}  // namespace widgets_test
