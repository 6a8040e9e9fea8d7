#include <QCoreApplication>
#include <QMetaObject>

#include "tests/toolkit/scratch_form.h"
#include "toolkit/core/runtime_error.h"

namespace widgets_test {
namespace {

using toolkit::Integer;
using toolkit::Single;

class ScrollBarTest : public WidgetsTest {
 protected:
  void SetUp() override {
    show([&](ScratchForm& f) {
      bar = f.add<toolkit::ScrollBar>("HS1", nullptr, 0, 0, 3000, 300, Qt::Horizontal);
      bar->Max = 100;
      bar->Value = 10;
      bar->onChange = [this] { events += "C" + std::to_string(bar->Value().value()) + " "; };
      bar->onScroll = [this] { events += "S" + std::to_string(bar->Value().value()) + " "; };
    });
  }
  toolkit::ScrollBar* bar = nullptr;
  std::string events;
};

TEST_F(ScrollBarTest, AssignmentFiresChangeOnlyForANewValue) {
  bar->Value = 20;
  bar->Value = 20;
  bar->Value = 0;
  EXPECT_EQ(events, "C20 C0 ");
}

TEST_F(ScrollBarTest, AMaxBelowValuePullsValueDownAndFiresChange) {
  bar->Value = 80;
  events.clear();
  bar->Max = 50;
  EXPECT_EQ(bar->Value(), Integer(50));
  EXPECT_EQ(events, "C50 ");
  bar->Max = 60;
  EXPECT_EQ(bar->Value(), Integer(50));
  EXPECT_EQ(events, "C50 ") << "raising Max leaves Value";
}

TEST_F(ScrollBarTest, DraggingTheThumbScrollsAndChangesOnceAtTheRelease) {
  QScrollBar* qbar = bar->bar();
  qbar->setSliderDown(true);
  qbar->setSliderPosition(30);
  qbar->setSliderPosition(40);
  qbar->setSliderDown(false);
  EXPECT_EQ(events, "S30 S40 C40 ");
  EXPECT_EQ(bar->Value(), Integer(40));
}

TEST_F(ScrollBarTest, ArrowAndTrackClicksStepBySmallAndLargeChange) {
  bar->SmallChange = 7;
  bar->LargeChange = 30;
  bar->bar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  bar->bar()->triggerAction(QAbstractSlider::SliderPageStepAdd);
  EXPECT_EQ(events, "C17 C47 ");
}

TEST_F(ScrollBarTest, AValueOutsideTheRangeIsInvalidPropertyValue) {
  try {
    bar->Value = 101;
    FAIL();
  } catch (const toolkit::RuntimeError& e) {
    EXPECT_EQ(e.number(), 380);
  }
  EXPECT_EQ(bar->Value(), Integer(10));
  EXPECT_EQ(events, "");
}

class OptionButtonTest : public WidgetsTest {
 protected:
  void SetUp() override {
    show([&](ScratchForm& f) {
      jpg = f.add<toolkit::OptionButton>("optJPG", nullptr, 0, 0, 1500, 300);
      toolkit::Frame* left = f.add<toolkit::Frame>("fraHGV", nullptr, 0, 600, 2000, 1500);
      toolkit::Frame* right = f.add<toolkit::Frame>("fraWMV", nullptr, 2500, 600, 2000, 1500);
      hgv50 = f.add<toolkit::OptionButton>("optSave50HGV", left, 100, 300, 1500, 300);
      hgv100 = f.add<toolkit::OptionButton>("optSave100HGV", left, 100, 700, 1500, 300);
      wmv50 = f.add<toolkit::OptionButton>("optSave50WMV", right, 100, 300, 1500, 300);
      wmv100 = f.add<toolkit::OptionButton>("optSave100WMV", right, 100, 700, 1500, 300);
      for (toolkit::OptionButton* o : {jpg, hgv50, hgv100, wmv50, wmv100}) {
        o->onClick = [this, o] { clicks += o->name() + " "; };
      }
    });
  }
  std::string values() const {
    std::string s;
    for (toolkit::OptionButton* o : {jpg, hgv50, hgv100, wmv50, wmv100}) s += o->Value ? '1' : '0';
    return s;
  }
  toolkit::OptionButton *jpg = nullptr, *hgv50 = nullptr, *hgv100 = nullptr, *wmv50 = nullptr,
                        *wmv100 = nullptr;
  std::string clicks;
};

TEST_F(OptionButtonTest, OnlySiblingsExcludeEachOther) {
  jpg->Value = true;
  toolkit::testing::click(*hgv50);
  toolkit::testing::click(*wmv100);
  EXPECT_EQ(values(), "11001");
  toolkit::testing::click(*hgv100);
  EXPECT_EQ(values(), "10101");
  EXPECT_EQ(clicks, "optJPG optSave50HGV optSave100WMV optSave100HGV ");
}

TEST_F(OptionButtonTest, CodeClearsAnyButtonAndClickComesOnlyWhenAButtonTurnsTrue) {
  jpg->Value = true;
  jpg->Value = true;
  wmv50->Value = true;
  jpg->Value = false;
  wmv50->Value = false;
  EXPECT_EQ(values(), "00000");
  EXPECT_EQ(clicks, "optJPG optSave50WMV ");
}

TEST_F(OptionButtonTest, ClickingTheSelectedButtonAgainFiresClick) {
  toolkit::testing::click(*hgv50);
  toolkit::testing::click(*hgv50);
  EXPECT_EQ(clicks, "optSave50HGV optSave50HGV ");
}

TEST_F(OptionButtonTest, ADisabledFrameDisablesItsButtons) {
  static_cast<toolkit::Frame*>(m_form->control("fraHGV"))->Enabled = false;
  toolkit::testing::click(*hgv50);
  EXPECT_EQ(clicks, "");
  EXPECT_FALSE(hgv50->widget()->isEnabled());
  EXPECT_TRUE(hgv50->Enabled) << "its own property stays";
}

class TimerTest : public WidgetsTest {
 protected:
  void SetUp() override {
    show([&](ScratchForm& f) {
      timer = f.add<toolkit::Timer>("tmrControlDisplay", nullptr, 0, 0, 0, 0);
      timer->onTimer = [this] { ++ticks; };
    });
  }
  toolkit::Timer* timer = nullptr;
  int ticks = 0;
};

TEST_F(TimerTest, RunsOnlyWhileEnabledWithAnInterval) {
  EXPECT_TRUE(timer->Enabled);
  EXPECT_FALSE(timer->running()) << "interval 0 never fires";
  timer->Interval = 30;
  EXPECT_TRUE(timer->running());
  timer->Enabled = false;
  EXPECT_FALSE(timer->running());
  timer->Enabled = true;
  timer->Interval = 0;
  EXPECT_FALSE(timer->running());
}

TEST_F(TimerTest, StopsWithItsForm) {
  timer->Interval = 10;
  m_form->Unload();
  EXPECT_FALSE(timer->running());
}

TEST_F(TimerTest, ATickRunsTheHandler) {
  timer->tick();
  timer->tick();
  EXPECT_EQ(ticks, 2);
}

class EventTest : public WidgetsTest {
 protected:
  void SetUp() override {
    show([&](ScratchForm& f) {
      image = f.add<toolkit::ImageControl>("imgFile", nullptr, 300, 300, 555, 795);
      other = f.add<toolkit::ImageControl>("imgPausePlay", nullptr, 1500, 300, 555, 765);
    });
  }
  toolkit::ImageControl* image = nullptr;
  toolkit::ImageControl* other = nullptr;
};

TEST_F(EventTest, ImageMouseEventsComeInTwipsAndAClickAfterTheRelease) {
  std::string log;
  image->onMouseDown = [&](Integer b, Integer s, Single x, Single y) {
    log += "D" + std::to_string(b.value()) + "," + std::to_string(s.value()) + "," +
           std::to_string(static_cast<int>(x)) + "," + std::to_string(static_cast<int>(y)) + " ";
  };
  image->onMouseUp = [&](Integer b, Integer, Single, Single) {
    log += "U" + std::to_string(b.value()) + " ";
  };
  image->onClick = [&] { log += "C "; };
  toolkit::testing::press(*image, {10, 20}, Qt::LeftButton, Qt::ShiftModifier);
  toolkit::testing::release(*image, {10, 20});
  toolkit::testing::press(*image, {10, 20}, Qt::RightButton);
  toolkit::testing::release(*image, {10, 20}, Qt::RightButton);
  EXPECT_EQ(log, "D1,1,150,300 U1 C D2,0,150,300 U2 ");
}

TEST_F(EventTest, ADisabledWindowIgnoresClicks) {
  int clicks = 0;
  image->onClick = [&] { ++clicks; };
  m_form->Enabled = false;
  toolkit::testing::click(*image);
  EXPECT_EQ(clicks, 0);
  m_form->Enabled = true;
  toolkit::testing::click(*image);
  EXPECT_EQ(clicks, 1);
}

TEST_F(EventTest, ANestedHandlerRunsInsideDoEvents) {
  std::string log;
  other->onClick = [&] { log += "pause "; };
  image->onClick = [&] {
    log += "search-start ";
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [this] { toolkit::testing::click(*other); },
        Qt::QueuedConnection);
    m_form->DoEvents();
    log += "search-end ";
  };
  toolkit::testing::click(*image);
  EXPECT_EQ(log, "search-start pause search-end ");
}

TEST_F(EventTest, AnErrorThatEscapesAHandlerEndsTheEventWithAnErrorBox) {
  image->onClick = [] { throw toolkit::RuntimeError::of(toolkit::ErrorNumber::Overflow); };
  toolkit::testing::click(*image);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "Run-time error '6':\r\n\r\nOverflow");
  EXPECT_EQ(boxes()[0].icon, toolkit::MsgIcon::Critical);
  EXPECT_EQ(boxes()[0].shownTitle(), "Harrowglen");
}

TEST_F(EventTest, CaptureSendsEveryMouseEventToTheCapturingControlInItsCoordinates) {
  toolkit::PictureBox* bar = nullptr;
  toolkit::PictureBox* block = nullptr;
  show([&](ScratchForm& f) {
    bar = f.add<toolkit::PictureBox>("picBar", nullptr, 1500, 1500, 3000, 300);
    block = f.add<toolkit::PictureBox>("picBlock", bar, 600, 0, 750, 225);
  });
  std::string log;
  block->onMouseDown = [&](Integer, Integer, Single x, Single) {
    log += "blockDown" + std::to_string(static_cast<int>(x)) + " ";
    m_form->SetCapture(bar);
  };
  block->onMouseMove = [&](Integer, Integer, Single, Single) { log += "blockMove "; };
  bar->onMouseMove = [&](Integer b, Integer, Single x, Single) {
    log += "barMove" + std::to_string(b.value()) + "," + std::to_string(static_cast<int>(x)) + " ";
  };
  bar->onMouseUp = [&](Integer, Integer, Single x, Single) {
    log += "barUp" + std::to_string(static_cast<int>(x)) + " ";
    m_form->ReleaseCapture();
  };
  toolkit::testing::press(*block, {2, 2});
  toolkit::testing::move(*block, {12, 2});
  toolkit::testing::release(*block, {-30, 2});
  toolkit::testing::move(*block, {5, 2}, Qt::NoButton);
  // picBlock stands 40 pixels into picBar: 10 + 40 pixels = 750 twips.
  EXPECT_EQ(log, "blockDown30 barMove1,780 barUp150 blockMove ");
}

TEST_F(EventTest, SetFocusReachesTheControlAndAScrollBarReportsGotFocus) {
  toolkit::ScrollBar* bar = nullptr;
  toolkit::PictureBox* box = nullptr;
  ScratchForm& form = show([&](ScratchForm& f) {
    box = f.add<toolkit::PictureBox>("picShowAVI", nullptr, 0, 0, 1500, 1500);
    bar = f.add<toolkit::ScrollBar>("VS1", nullptr, 3000, 0, 300, 3000, Qt::Vertical);
  });
  form.window()->activateWindow();
  QCoreApplication::processEvents();
  int gotFocus = 0;
  bar->onGotFocus = [&] {
    ++gotFocus;
    box->SetFocus();
  };
  bar->SetFocus();
  EXPECT_EQ(gotFocus, 1);
  EXPECT_TRUE(box->widget()->hasFocus()) << "the handler passed the focus on";
  box->Visible = false;
  bar->widget()->setFocus();
  box->SetFocus();
  EXPECT_TRUE(bar->widget()->hasFocus()) << "a hidden control does not take the focus";
}

TEST_F(EventTest, MousePointersReadBackAndSetTheCursor) {
  image->MousePointer = toolkit::Pointer::Hourglass;
  EXPECT_EQ(image->MousePointer(), toolkit::Pointer::Hourglass);
  EXPECT_EQ(image->widget()->cursor().shape(), Qt::WaitCursor);
  image->MousePointer = toolkit::Pointer::Default;
  EXPECT_FALSE(image->widget()->testAttribute(Qt::WA_SetCursor));
  m_form->MousePointer = toolkit::Pointer::Cross;
  EXPECT_EQ(m_form->window()->cursor().shape(), Qt::CrossCursor);
}

TEST_F(EventTest, MsgBoxGoesToTheHostsSinkWithTheDefaultTitle) {
  m_form->MsgBox("Image File Successfully Created", toolkit::MsgIcon::None, "Save");
  m_form->MsgBox("ModuleName | ProcedureName\r\nError:53\r\nFile not found",
                 toolkit::MsgIcon::Critical);
  ASSERT_EQ(boxes().size(), 2u);
  EXPECT_EQ(boxes()[0].shownTitle(), "Save");
  EXPECT_EQ(boxes()[1].shownTitle(), "Harrowglen");
  EXPECT_EQ(boxes()[1].icon, toolkit::MsgIcon::Critical);
}

TEST_F(EventTest, TheComboBoxKeepsItsEditFieldApartFromItsList) {
  toolkit::ComboBox* combo = nullptr;
  show([&](ScratchForm& f) {
    combo = f.add<toolkit::ComboBox>("cmbSensitivity", nullptr, 360, 5595, 1695, 390);
  });
  combo->Text = std::string("Medium");
  for (const char* item : {"High", "Medium", "Low"}) combo->AddItem(item);
  EXPECT_EQ(combo->Text(), "Medium");
  EXPECT_EQ(combo->ListCount(), 3);
  EXPECT_EQ(combo->List(2), "Low");
  combo->Text = std::string("Very high");
  EXPECT_EQ(combo->Text(), "Very high") << "any text can be typed";
  combo->Clear();
  EXPECT_EQ(combo->ListCount(), 0);
  EXPECT_EQ(combo->Text(), "");
}

TEST_F(EventTest, WindowedControlsLieAboveImagesAndLabelsOfTheirContainer) {
  toolkit::ImageControl* track = nullptr;
  toolkit::PictureBox* block = nullptr;
  toolkit::ImageControl* upper = nullptr;
  toolkit::ImageControl* lower = nullptr;
  ScratchForm& form = show([&](ScratchForm& f) {
    track = f.add<toolkit::ImageControl>("imgBar", nullptr, 0, 0, 3000, 300);
    block = f.add<toolkit::PictureBox>("picBlock", nullptr, 0, 0, 750, 225);
    upper = f.add<toolkit::ImageControl>("imgCplay", nullptr, 0, 1500, 600, 300);
    lower = f.add<toolkit::ImageControl>("img1X", nullptr, 0, 1500, 300, 300);
  });
  QWidget* window = form.window();
  EXPECT_EQ(window->childAt(5, 5), block->widget()) << "listed later, still on top";
  EXPECT_EQ(window->childAt(5, 105), upper->widget()) << "the first listed lies on top";
  (void)track;
  (void)lower;
}

TEST_F(EventTest, LabelsSizeToTheirCaption) {
  toolkit::Label* label = nullptr;
  show([&](ScratchForm& f) {
    label = f.add<toolkit::Label>("lblImageID", nullptr, 2530, 6825, 180, 270);
    label->setFont({"Arial", 11.25, true});
    label->AutoSize = true;
  });
  label->Caption = std::string("1");
  Single narrow = label->Width;
  label->Caption = std::string("12345");
  EXPECT_GT(label->Width(), 3 * narrow);
  EXPECT_EQ(label->Left(), 2530.0f);
  EXPECT_EQ(label->widget()->x(), 169) << "168.67 pixels, rounded";
}

TEST_F(EventTest, AnUnstretchedImageTakesItsPicturesSize) {
  image->Stretch = false;
  image->Picture = quadrants(5);
  EXPECT_EQ(image->Width(), 150.0f);
  image->Stretch = true;
  image->Width = 555;
  EXPECT_EQ(image->widget()->width(), 37);
}

}  // namespace
}  // namespace widgets_test
