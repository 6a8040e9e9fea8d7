#pragma once

// A whole program on Qt's offscreen platform over a temp folder that is its program folder:
// Form1 and the dialogs with recorded message boxes and scripted file dialogs, clips of
// distinct generated frames, and what the view should show for a frame, worked out
// independently of the picture box.

#include <gtest/gtest.h>

#include <QImage>
#include <memory>
#include <string>
#include <vector>

#include "review/session.h"
#include "tests/support/scene_clips.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/image.h"
#include "toolkit/widgets/testing.h"
#include "window/windows.h"

namespace testing_support {

// A picture that no other frame index gives: gradients shifted by the index.
toolkit::RgbImage distinctFrame(int width, int height, int index);
std::vector<std::uint8_t> distinctJpeg(int width, int height, int index);

// The reference stretch: target pixel (x, y) shows source pixel
// floor((x + 0.5) * sourceWidth / targetWidth) (and likewise down), black outside the picture.
// Gives the part `area` of the target.
QImage stretchReference(const toolkit::RgbImage& picture, double sourceWidth, double sourceHeight,
                        int targetWidth, int targetHeight, const QRect& area);

class WindowFixture : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { toolkit::testing::ensureApplication(); }
  WindowFixture();
  ~WindowFixture() override;

  // Loads and shows Form1.
  window::Form1& start();
  window::Form1& form() { return m_windows->Form1; }
  review::OpenSaveFile& state() { return m_session.OpenSaveFile; }
  clip::SeparateMJPG& clipModule() { return m_session.SeparateMJPG; }

  // A clip of `count` distinct frames, `width` x `height`, in the temp folder.
  std::string makeClip(const std::string& name, int count, int width = 640, int height = 480);
  std::string writeClip(const std::string& name,
                        const std::vector<std::vector<std::uint8_t>>& jpegs, int width, int height);
  // A clip of `count` frames of the scene of `squares`.
  std::string sceneClip(const std::string& name, int count, const std::vector<Square>& squares,
                        int width = 640, int height = 480);
  // The JPEG of frame `index` of the last clip made by makeClip or writeClip.
  const std::vector<std::uint8_t>& jpegOf(int index) const { return m_jpegs.at(index); }

  // Chooses `path` in the open dialog and clicks the folder button.
  void open(const std::string& path);
  // The part of picShowAVI, in its pixels, that the opening lets through.
  QRect viewArea();
  // That part as the screen shows it.
  QImage visibleView();
  // What visibleView should be with frame `index` of the last clip painted by the fit path
  // (source PictureWidth x PictureHeight, target the size of picBase).
  QImage expectedFit(int index);
  // The same for the zoom path, at the current pan.
  QImage expectedZoom(int index);

  const std::vector<toolkit::MessageBoxRequest>& boxes() const { return m_host.messages.boxes(); }
  std::string file(const std::string& name) const { return m_dir.file(name); }
  std::string scratch() const { return m_dir.file("Temp.jpg"); }

  TempDir m_dir;
  toolkit::testing::TestHost m_host{m_dir.path()};
  review::Session m_session{m_host.platform};
  std::unique_ptr<window::Windows> m_windows;
  std::vector<std::vector<std::uint8_t>> m_jpegs;
};

// Mouse input in twips of the control, for handlers that take twips.
QPointF pixelsOf(float xTwips, float yTwips);

}  // namespace testing_support
