// The window's keys: each leaves the window as a click on its button does, from the same state,
// and none acts where the button would not.

#include <QTest>
#include <functional>

#include "tests/support/window_fixture.h"

namespace {

using testing_support::Square;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;

// What a key or a button may change.
struct Snapshot {
  int frame = 0;
  int extracted = 0;
  bool playingForward = false, playingBack = false;
  std::string speed;
  int zoomPercent = 0;
  bool markedShowing = false;
  std::size_t dialogs = 0, boxes = 0;
  bool saveShown = false, formEnabled = false;
  QImage view;
  bool operator==(const Snapshot&) const = default;
};

class KeysTest : public testing_support::WindowFixture {
 protected:
  void SetUp() override {
    start();
    // A square comes on frame 6 and goes on frame 9: the searches stop there.
    m_clip = sceneClip("keys.HGV", 12, {{320, 160, 48, 6, 9}});
    QWidget* window = form().window();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  }
  // The same state before each key and each click: the clip opened afresh, on frame 3, zoomed in
  // once when `zoomed`.
  void prepare(bool zoomed) {
    if (m_windows->frmExportVideo.loaded()) m_windows->frmExportVideo.requestClose();
    form().imgPausePlay_Click();
    // Back to the fit first: a later opening keeps the scroll bars' values, and with them where
    // the next zoom looks.
    while (form().ZoomPercent > Integer(100)) form().imgZoomOut_Click();
    open(m_clip);
    for (int i = 0; i < 3; ++i) form().imgRightStep_Click();
    if (zoomed) form().imgZoomIn_Click();
    m_dialogsBefore = m_host.dialogs.requests().size();
    m_boxesBefore = boxes().size();
  }
  Snapshot snapshot() {
    window::Form1& f = form();
    return {state().CurrentFrame.value(),
            clipModule().ExtractedFrame.value(),
            f.PlayingForward != kFalse,
            f.PlayingBack != kFalse,
            f.PlaySpeed,
            f.ZoomPercent.value(),
            f.MarkedPictureShowing != kFalse,
            m_host.dialogs.requests().size() - m_dialogsBefore,
            boxes().size() - m_boxesBefore,
            m_windows->frmExportVideo.loaded(),
            f.Enabled,
            visibleView()};
  }
  void press(const QKeySequence& keys) {
    const QKeyCombination combination = keys[0];
    QTest::keyClick(form().window(), combination.key(), combination.keyboardModifiers());
  }
  // The state after `keys` equals the state after `click`, from the same start, and differs from
  // the start.
  void expectSameAs(const QKeySequence& keys, const std::function<void()>& click,
                    const std::function<void()>& before = {}, bool zoomed = false) {
    SCOPED_TRACE(keys.toString().toStdString());
    const auto after = [&](const std::function<void()>& act) {
      prepare(zoomed);
      if (before) before();
      const Snapshot start = snapshot();
      act();
      const Snapshot end = snapshot();
      EXPECT_FALSE(end == start) << "the button changes something";
      return end;
    };
    const Snapshot clicked = after(click);
    const Snapshot pressed = after([&] { press(keys); });
    EXPECT_EQ(pressed.frame, clicked.frame);
    EXPECT_TRUE(pressed == clicked);
  }

  std::string m_clip;
  std::size_t m_dialogsBefore = 0, m_boxesBefore = 0;
};

TEST_F(KeysTest, EachKeyDoesWhatItsButtonDoes) {
  window::Form1& f = form();
  expectSameAs(QKeySequence(Qt::Key_Space), [&f] { f.imgRightPlay_Click(); });
  expectSameAs(
      QKeySequence(Qt::Key_Space), [&f] { f.imgPausePlay_Click(); },
      [&f] { f.imgLeftPlay_Click(); });
  for (const auto key : {Qt::Key_Period, Qt::Key_Right}) {
    expectSameAs(QKeySequence(key), [&f] { f.imgRightStep_Click(); });
  }
  for (const auto key : {Qt::Key_Comma, Qt::Key_Left}) {
    expectSameAs(QKeySequence(key), [&f] { f.imgLeftStep_Click(); });
  }
  expectSameAs(QKeySequence(Qt::Key_Home), [&f] { f.imgBegin_Click(); });
  expectSameAs(QKeySequence(Qt::Key_End), [&f] { f.imgEnd_Click(); });
  expectSameAs(QKeySequence(Qt::Key_BracketRight), [&f] { f.imgRightSearch_Click(); });
  expectSameAs(
      QKeySequence(Qt::Key_BracketLeft), [&f] { f.imgLeftSearch_Click(); },
      [&f] { f.imgEnd_Click(); });
  for (const auto key : {Qt::Key_Plus, Qt::Key_Equal}) {
    expectSameAs(QKeySequence(key), [&f] { f.imgZoomIn_Click(); });
  }
  expectSameAs(
      QKeySequence(Qt::Key_Minus), [&f] { f.imgZoomOut_Click(); }, {}, true);
  expectSameAs(
      QKeySequence(Qt::CTRL | Qt::Key_O), [&f] { f.imgFile_Click(); },
      [this] { m_host.dialogs.answer(""); });
  expectSameAs(QKeySequence(Qt::CTRL | Qt::Key_S), [&f] { f.imgSave_Click(); });
}

TEST_F(KeysTest, KeysKeepTheButtonsGuards) {
  window::Form1& f = form();
  // Before a clip is open, the transport's keys do nothing.
  const Snapshot empty = snapshot();
  for (const auto key : {Qt::Key_Right, Qt::Key_End, Qt::Key_Space, Qt::Key_BracketRight}) {
    press(QKeySequence(key));
  }
  EXPECT_TRUE(snapshot() == empty);

  // Under the Save dialog the window takes no key, as it takes no click.
  prepare(false);
  f.imgSave_Click();
  ASSERT_FALSE(f.Enabled);
  const Snapshot underDialog = snapshot();
  press(QKeySequence(Qt::Key_Right));
  press(QKeySequence(Qt::CTRL | Qt::Key_O));
  EXPECT_TRUE(snapshot() == underDialog);
}

// Space during a search stops it at its next check, as the pause button does.
TEST_F(KeysTest, SpaceStopsASearch) {
  window::Form1& f = form();
  prepare(false);
  int yields = 0;
  m_host.host.onYield = [this, &yields] {
    if (++yields == 2) press(QKeySequence(Qt::Key_Space));
  };
  f.imgRightSearch_Click();
  m_host.host.onYield = {};
  EXPECT_EQ(f.SearchingForward, kFalse);
  EXPECT_EQ(f.SearchStopRequested, kTrue);
  EXPECT_LT(state().CurrentFrame.value(), 6) << "stopped before the square came";
  EXPECT_EQ(f.PlayingForward, kFalse) << "not started playing";
}

}  // namespace
