#include "tests/toolkit/scratch_form.h"

namespace widgets_test {
namespace {

using toolkit::Integer;

class FormTest : public WidgetsTest {};

TEST_F(FormTest, LoadBuildsTheControlsAndRunsFormLoadOnce) {
  int loads = 0;
  ScratchForm form(m_host.host, [](ScratchForm& f) {
    f.add<toolkit::Label>("lblEL", nullptr, 0, 0, 1500, 300)->Caption = std::string("stored");
  });
  form.onLoad = [&] { ++loads; };
  form.Show();
  form.Show();
  EXPECT_EQ(loads, 1);
  EXPECT_TRUE(form.loaded());
  EXPECT_TRUE(form.Visible);
  EXPECT_EQ(m_host.host.Forms(), std::vector<toolkit::Form*>{&form});
  ASSERT_NE(form.control("lblEL"), nullptr);
}

TEST_F(FormTest, AnotherLoadBringsTheControlsBackAtTheirStoredState) {
  ScratchForm form(m_host.host, [](ScratchForm& f) {
    f.add<toolkit::Label>("lblExportAddress", nullptr, 0, 0, 1500, 300);
  });
  form.Show();
  auto* label = static_cast<toolkit::Label*>(form.control("lblExportAddress"));
  label->Caption = std::string("/tmp/a.jpg");
  form.Unload();
  EXPECT_FALSE(form.Visible);
  EXPECT_EQ(label->Caption(), "/tmp/a.jpg") << "an unloaded form's controls stay reachable";
  form.Show();
  label = static_cast<toolkit::Label*>(form.control("lblExportAddress"));
  EXPECT_EQ(label->Caption(), "");
}

TEST_F(FormTest, TheCloseBoxAsksQueryUnloadWhichMayCancel) {
  ScratchForm& form = show([](ScratchForm&) {});
  std::vector<int> modes;
  bool cancel = true;
  form.onQueryUnload = [&](Integer& c, Integer& mode) {
    modes.push_back(mode.value());
    if (cancel) c = -1;
  };
  form.window()->close();
  EXPECT_TRUE(form.loaded());
  EXPECT_TRUE(form.Visible);
  cancel = false;
  form.window()->close();
  EXPECT_FALSE(form.loaded());
  form.Show();
  form.Unload();
  EXPECT_EQ(modes, (std::vector<int>{0, 0, 1}));
}

TEST_F(FormTest, UnloadingTheLastFormEndsTheProgram) {
  int ends = 0;
  m_host.host.onAllFormsUnloaded = [&] { ++ends; };
  ScratchForm first(m_host.host, [](ScratchForm&) {});
  ScratchForm second(m_host.host, [](ScratchForm&) {});
  first.Show();
  second.Show();
  first.Unload();
  EXPECT_EQ(ends, 0);
  EXPECT_EQ(m_host.host.Forms(), std::vector<toolkit::Form*>{&second});
  second.Unload();
  EXPECT_EQ(ends, 1);
}

TEST_F(FormTest, AFormThatUnloadsItselfWhileLoadingIsNotShown) {
  ScratchForm form(m_host.host, [](ScratchForm&) {});
  form.onLoad = [&] { form.Unload(); };
  form.Show();
  EXPECT_FALSE(form.loaded());
  EXPECT_FALSE(form.Visible);
  EXPECT_TRUE(m_host.host.Forms().empty());
}

TEST_F(FormTest, UnloadFromInsideQueryUnloadCompletesWithoutAskingAgain) {
  ScratchForm& form = show([](ScratchForm&) {});
  int asked = 0;
  form.onQueryUnload = [&](Integer&, Integer&) {
    ++asked;
    form.Unload();
  };
  EXPECT_TRUE(form.Unload());
  EXPECT_EQ(asked, 1);
  EXPECT_FALSE(form.loaded());
}

TEST_F(FormTest, TheCommonDialogTakesTheChosenPathAndKeepsItsNameOnCancel) {
  toolkit::CommonDialog* dialog = nullptr;
  show([&](ScratchForm& f) {
    dialog = f.add<toolkit::CommonDialog>("dlgOpenAVI", nullptr, 0, 0, 0, 0);
  });
  dialog->Filter = "Tessmoor HGV File(*.HGV) | *.HGV";
  dialog->FilterIndex = 1;
  dialog->MaxFileSize = 1000;
  m_host.dialogs.answer("/clips/garden.HGV");
  dialog->ShowOpen();
  EXPECT_EQ(dialog->FileName, "/clips/garden.HGV");
  dialog->ShowOpen();
  EXPECT_EQ(dialog->FileName, "/clips/garden.HGV");
  ASSERT_EQ(m_host.dialogs.requests().size(), 2u);
  EXPECT_EQ(m_host.dialogs.requests()[0].filter, "Tessmoor HGV File(*.HGV) | *.HGV");
  EXPECT_EQ(m_host.dialogs.requests()[0].kind, toolkit::FileDialogRequest::Kind::Open);
  EXPECT_EQ(m_host.dialogs.requests()[1].fileName, "/clips/garden.HGV");
}

TEST_F(FormTest, APathLongerThanMaxFileSizeIsTheDialogsError) {
  toolkit::CommonDialog* dialog = nullptr;
  show([&](ScratchForm& f) {
    dialog = f.add<toolkit::CommonDialog>("dlgSaveAVI", nullptr, 0, 0, 0, 0);
  });
  dialog->MaxFileSize = 10;
  m_host.dialogs.answer("/a/long/path.wmv");
  try {
    dialog->ShowSave();
    FAIL();
  } catch (const toolkit::RuntimeError& e) {
    EXPECT_EQ(e.number(), 20476);
  }
  EXPECT_EQ(dialog->FileName, "");
}

TEST(QtNameFiltersTest, BlanksAroundTheBarGoAndPatternsMatchBothCases) {
  EXPECT_EQ(toolkit::qtNameFilters("Tessmoor HGV File(*.HGV) | *.HGV"),
            "Tessmoor HGV File(*.HGV) (*.HGV *.hgv)");
  EXPECT_EQ(toolkit::qtNameFilters("Jpg File(*.jpg)|*.jpg|All|*.*"),
            "Jpg File(*.jpg) (*.jpg *.JPG);;All (*.*)");
}

TEST(LockFileInstanceCheckTest, ASecondCopyFindsTheFirstUntilItEnds) {
  testing_support::TempDir dir;
  std::string lock = dir.file("harrowglen.lock");
  auto first = std::make_unique<toolkit::LockFileInstanceCheck>(lock);
  EXPECT_FALSE(first->anotherInstanceRunning());
  toolkit::LockFileInstanceCheck second(lock);
  EXPECT_TRUE(second.anotherInstanceRunning());
  first.reset();
  toolkit::LockFileInstanceCheck third(lock);
  EXPECT_FALSE(third.anotherInstanceRunning());
}

}  // namespace
}  // namespace widgets_test
