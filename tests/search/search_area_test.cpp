// The search area: the red box dragged on the picture, its shares across a zoom, and the
// settings dialog that commits, reverts and restores it.

#include "tests/support/window_fixture.h"

namespace {

using search::DrawRectangle;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;
using toolkit::Pointer;
using toolkit::Rect;

TEST(DrawRectangleTest, ANewClipGetsMarginsOfTheViewAndTheSameSharesOfThePicture) {
  DrawRectangle d;
  d.BoxLeftShare = 0.5f;
  d.InitSearchArea({600, 360}, {1280, 720});
  EXPECT_EQ(d.SearchBox, (Rect{50, 80, 550, 280}));
  EXPECT_EQ(d.SearchArea, (Rect{107, 160, 1173, 560}));
  EXPECT_FLOAT_EQ(d.BoxLeftShare, 50.0f / 600);
  // A view too small for the margins gives a box inside which nothing lies.
  d.InitSearchArea({90, 150}, {320, 240});
  EXPECT_GT(d.SearchArea.Left, d.SearchArea.Right);
  EXPECT_GT(d.SearchArea.Top, d.SearchArea.Bottom);
}

class SearchAreaTest : public testing_support::WindowFixture {
 protected:
  window::Form1& openClip() {
    start();
    open(makeClip("clip.HGV", 4, 1280, 720));
    return form();
  }
  window::frmSetting& dialog() { return m_windows->frmSetting; }
  // Settings, then "Set Motion Search Area".
  void startEditing() {
    form().imgSetting_Click();
    dialog().cmdSearchArea_Click();
  }
  void drag(QPointF from, std::vector<QPointF> path, Qt::MouseButton button = Qt::LeftButton) {
    toolkit::PictureBox& picture = *form().picShowAVI;
    toolkit::testing::press(picture, from, button);
    for (const QPointF& p : path) toolkit::testing::move(picture, p, button);
    toolkit::testing::release(picture, path.back(), button);
  }
  Rect shownBox() {
    const toolkit::Shape& s = *form().ShaRect;
    const auto at = [](float v) { return static_cast<std::int32_t>(v); };
    return {at(s.Left), at(s.Top), at(s.Left + s.Width), at(s.Top + s.Height)};
  }
  DrawRectangle& rect() { return form().DrawRectangle; }
  // The share `edge / of` of `size`, rounded as the module rounds.
  static std::int32_t share(float edge, float of, std::int32_t size) {
    return Long::fromDouble(edge / of * static_cast<float>(size)).value();
  }
};

TEST_F(SearchAreaTest, SettingsStandBesideASwitchedOffWindow) {
  window::Form1& f = openClip();
  f.imgRightStep_Click();
  f.imgSetting_Click();
  EXPECT_FALSE(f.Enabled);
  EXPECT_TRUE(dialog().Visible);
  EXPECT_EQ(dialog().cmbSensitivity->Text(), "Medium");
  ASSERT_EQ(dialog().cmbSensitivity->ListCount(), 3);
  EXPECT_EQ(dialog().cmbSensitivity->List(0), "High");
  EXPECT_EQ(dialog().cmbSensitivity->List(2), "Low");
  EXPECT_EQ(form().AnalyseBMP.Sensitivity, "Medium");
  EXPECT_TRUE(f.ShaRect->Visible);
  EXPECT_EQ(shownBox(), rect().SearchBox);
  EXPECT_EQ(f.ShaRect->BorderWidth, toolkit::Integer(3));
  // Pure red, three pixels deep, on the picture.
  const QImage painted = f.picShowAVI->widget()->grab().toImage();
  const Rect box = rect().SearchBox;
  const int middle = (box.Top.value() + box.Bottom.value()) / 2;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(painted.pixel(box.Left.value() + i, middle), qRgb(255, 0, 0)) << i;
  }
  EXPECT_NE(painted.pixel(box.Left.value() + 4, middle), qRgb(255, 0, 0));

  // A click on the switched-off window does nothing; the dialog stays usable.
  toolkit::testing::press(*f.imgRightStep, {5, 5});
  toolkit::testing::release(*f.imgRightStep, {5, 5});
  EXPECT_EQ(clipModule().ExtractedFrame, Long(1));
  toolkit::testing::click(*dialog().cmdOK);
  EXPECT_FALSE(dialog().loaded());
  EXPECT_TRUE(f.Enabled);
  EXPECT_FALSE(f.ShaRect->Visible);
}

TEST_F(SearchAreaTest, DragRules) {
  window::Form1& f = openClip();
  startEditing();
  EXPECT_TRUE(f.Enabled) << "on for the drag";
  EXPECT_EQ(f.picShowAVI->MousePointer, Pointer::Cross);
  const Rect defaultArea = rect().SearchArea;

  // 200 by 10: no box, the cross stays.
  drag({100, 100}, {{300, 110}});
  EXPECT_EQ(f.BoxDragged, kFalse);
  EXPECT_EQ(f.picShowAVI->MousePointer, Pointer::Cross);
  EXPECT_TRUE(f.Enabled);
  EXPECT_EQ(rect().SearchArea, defaultArea);

  // A right button moves nothing.
  const Rect pressed = rect().SearchBox;
  drag({150, 150}, {{250, 250}}, Qt::RightButton);
  EXPECT_EQ(rect().SearchBox, pressed);

  // 30 by 30 and back to 5 by 5: the small box is taken.
  drag({100, 100}, {{130, 130}, {105, 105}});
  EXPECT_EQ(rect().SearchBox, (Rect{100, 100, 105, 105}));
  EXPECT_EQ(shownBox(), (Rect{100, 100, 105, 105}));
  EXPECT_EQ(f.picShowAVI->MousePointer, Pointer::Default);
  EXPECT_FALSE(f.Enabled) << "the dialog is in charge again";
  EXPECT_FLOAT_EQ(rect().BoxLeftShare, 100.0f / 598);

  // Past the left and top of the view: 2. Past the right: the width less 2.
  dialog().cmdSearchArea_Click();
  drag({200, 200}, {{-30, -40}});
  EXPECT_EQ(rect().SearchBox, (Rect{2, 2, 200, 200}));
  dialog().cmdSearchArea_Click();
  drag({200, 200}, {{700, 300}});
  EXPECT_EQ(rect().SearchBox, (Rect{200, 200, 596, 300}));
}

TEST_F(SearchAreaTest, OkTurnsTheBoxIntoTheSameSharesOfThePictureAcrossAZoom) {
  window::Form1& f = openClip();
  f.imgZoomIn_Click();
  const auto shown = toolkit::twipsToPixels(clipModule().DisplayWidth.value());
  const auto shownHeight = toolkit::twipsToPixels(clipModule().DisplayHeight.value());
  startEditing();
  drag({300, 200}, {{500, 320}});
  EXPECT_EQ(rect().SearchBox, (Rect{300, 200, 500, 320}));
  toolkit::testing::click(*dialog().cmdOK);
  const Rect area{share(300, shown, 1280), share(200, shownHeight, 720), share(500, shown, 1280),
                  share(320, shownHeight, 720)};
  EXPECT_EQ(rect().SearchArea, area);

  // Back at fit the red box moves with the shares; the area stays.
  f.imgZoomOut_Click();
  f.imgSetting_Click();
  EXPECT_EQ(shownBox(), (Rect{share(300, shown, 598), share(200, shownHeight, 361),
                              share(500, shown, 598), share(320, shownHeight, 361)}));
  toolkit::testing::click(*dialog().cmdOK);
  EXPECT_EQ(rect().SearchArea, area);
}

TEST_F(SearchAreaTest, CancelKeepsTheAreaAndTheDraggedSharesUntilTheNextOk) {
  window::Form1& f = openClip();
  const Rect defaultArea = rect().SearchArea;
  startEditing();
  drag({100, 60}, {{300, 200}});
  toolkit::testing::click(*dialog().cmdCancel);
  EXPECT_EQ(rect().SearchArea, defaultArea) << "no OK before: nothing to go back to";
  EXPECT_EQ(rect().SearchBox, (Rect{100, 60, 300, 200}));
  EXPECT_TRUE(f.Enabled);

  f.imgSetting_Click();
  EXPECT_EQ(shownBox(), (Rect{100, 60, 300, 200})) << "the shares give the dragged box again";
  // OK without a drag takes the cancelled drag's shares now.
  toolkit::testing::click(*dialog().cmdOK);
  EXPECT_EQ(rect().SearchArea, (Rect{share(100, 598, 1280), share(60, 361, 720),
                                     share(300, 598, 1280), share(200, 361, 720)}));
  const Rect committed = rect().SearchArea;

  // A new clip: defaults; Cancel there returns to the copies saved under the earlier clip.
  open(makeClip("other.HGV", 3, 1280, 720));
  EXPECT_EQ(rect().SearchArea, defaultArea);
  f.imgSetting_Click();
  EXPECT_EQ(f.SettingsShown, kTrue);
  toolkit::testing::click(*dialog().cmdCancel);
  EXPECT_EQ(rect().SearchArea, committed);
  EXPECT_EQ(rect().SearchBox, (Rect{100, 60, 300, 200}));
}

TEST_F(SearchAreaTest, SensitivityChangesOnlyAtOkAndDefault) {
  window::Form1& f = openClip();
  f.imgSetting_Click();
  dialog().cmbSensitivity->Text = std::string("High");
  toolkit::testing::click(*dialog().cmdCancel);
  EXPECT_EQ(form().AnalyseBMP.Sensitivity, "Medium");
  f.imgSetting_Click();
  EXPECT_EQ(dialog().cmbSensitivity->Text(), "Medium");
  dialog().cmbSensitivity->Text = std::string("Sharp");
  toolkit::testing::click(*dialog().cmdOK);
  EXPECT_EQ(form().AnalyseBMP.Sensitivity, "Sharp");
  f.imgSetting_Click();
  EXPECT_EQ(dialog().cmbSensitivity->Text(), "Sharp");

  // Default then Cancel: the sensitivity stays "Medium", box and area return.
  const Rect area = rect().SearchArea;
  const Rect box = rect().SearchBox;
  dialog().cmdDefault_Click();
  toolkit::testing::click(*dialog().cmdCancel);
  EXPECT_EQ(form().AnalyseBMP.Sensitivity, "Medium");
  EXPECT_EQ(rect().SearchArea, area);
  EXPECT_EQ(rect().SearchBox, box);
}

TEST_F(SearchAreaTest, DefaultWinsOverALaterDragAtOk) {
  window::Form1& f = openClip();
  const Rect defaultArea = rect().SearchArea;
  const Rect defaultBox = rect().SearchBox;
  startEditing();
  drag({100, 60}, {{300, 200}});
  toolkit::testing::click(*dialog().cmdOK);
  ASSERT_NE(rect().SearchArea, defaultArea);

  f.imgSetting_Click();
  dialog().cmbSensitivity->Text = std::string("Low");
  dialog().cmdDefault_Click();
  EXPECT_EQ(dialog().cmbSensitivity->Text(), "Medium");
  EXPECT_EQ(shownBox(), defaultBox);
  dialog().cmdSearchArea_Click();
  drag({20, 20}, {{200, 100}});
  toolkit::testing::click(*dialog().cmdOK);
  EXPECT_EQ(form().AnalyseBMP.Sensitivity, "Medium");
  EXPECT_EQ(rect().SearchArea, defaultArea);
  EXPECT_EQ(rect().SearchBox, defaultBox);
  EXPECT_EQ(rect().DefaultBox, Rect{}) << "cleared as the dialog goes";
}

TEST_F(SearchAreaTest, TheCloseBoxNeitherCommitsNorReverts) {
  window::Form1& f = openClip();
  const Rect area = rect().SearchArea;
  startEditing();
  drag({100, 60}, {{300, 200}});
  dialog().cmbSensitivity->Text = std::string("High");
  dialog().window()->close();
  EXPECT_FALSE(dialog().loaded());
  EXPECT_EQ(form().AnalyseBMP.Sensitivity, "Medium");
  EXPECT_EQ(rect().SearchArea, area);
  EXPECT_EQ(rect().SearchAreaEditing, kFalse);
  EXPECT_FALSE(f.ShaRect->Visible);
  EXPECT_TRUE(f.Enabled);
  f.imgSetting_Click();
  EXPECT_EQ(shownBox(), (Rect{100, 60, 300, 200})) << "the drag stays in the shares";
  EXPECT_EQ(dialog().cmbSensitivity->Text(), "Medium");
}

TEST_F(SearchAreaTest, OpeningTheSettingsEndsAStandingResult) {
  start();
  open(sceneClip("scene.HGV", 6, {{320, 160, 48, 2, 6}}));
  window::Form1& f = form();
  f.imgRightSearch_Click();
  ASSERT_EQ(f.MarkedPictureShowing, kTrue);
  f.imgSetting_Click();
  EXPECT_TRUE(f.MarkedPicturePath.empty());
  EXPECT_EQ(state().CurrentFrameFile, scratch());
  EXPECT_EQ(visibleView(), expectedFit(2));
}

}  // namespace
