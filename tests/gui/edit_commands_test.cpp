#include "app/main_frame.h"
#include "edit/copy_selection_dialog.h"
#include "edit/effect_parameters_dialog.h"
#include "edit/magnified_plot_dialog.h"
#include "modules/magnified_plot.h"
#include "app/edit_menu_state.h"
#include "edit/edit_operations.h"
#include "edit/mix.h"
#include "view/child_frame_window.h"
#include "view/mouse_selection.h"

#include "gui_test.h"

#include <QAction>
#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QRadioButton>
#include <QSlider>
#include <QTimer>

using EditCommandsTest = GuiTest;

TEST_F(EditCommandsTest, TheCopySelectionDialogPreselectsByTheDestinationsHighlight)
{
    mix_settings = MixSettings{};
    {
        CopySelectionDialog withHighlight(true, false);
        EXPECT_TRUE(withHighlight.button(kPaste)->isChecked());
        EXPECT_FALSE(withHighlight.button(kCopy)->isEnabled());
        EXPECT_TRUE(withHighlight.button(kPaste)->isEnabled());
        EXPECT_EQ(withHighlight.chosenCode(), kPaste);
    }
    CopySelectionDialog dialog(false, true);
    EXPECT_TRUE(dialog.button(kCopy)->isChecked());
    EXPECT_FALSE(dialog.button(kPaste)->isEnabled());
    // A mono clipboard: no channel targets, and "both" reads "&Mix".
    EXPECT_FALSE(dialog.button(246)->isEnabled());
    EXPECT_FALSE(dialog.button(247)->isEnabled());
    EXPECT_EQ(dialog.button(245)->text(), "&Mix");
    // The level bars stand inverted: position = 100 - level x 50.
    EXPECT_EQ(dialog.levelBar(1000)->value(), 50);
    dialog.levelBar(1000)->setSliderDown(true);
    dialog.levelBar(1000)->setSliderPosition(20);
    EXPECT_DOUBLE_EQ(mix_settings.clipLevel, 1.6);
    dialog.button(11506)->click();
    EXPECT_EQ(mix_settings.crossfadeCurve, 0);
    mix_settings.target = MixTarget::Left;
    dialog.button(kMix)->click();
    EXPECT_EQ(mix_settings.target, MixTarget::Both);  // choosing an operation resets the target
    dialog.accept();
    EXPECT_EQ(dialog.result(), kMix);
    CopySelectionDialog cancelled(false, false);
    cancelled.reject();
    EXPECT_EQ(cancelled.result(), 2);
    mix_settings = MixSettings{};
}

TEST_F(EditCommandsTest, TheEditMenuCutsAndUndoes)
{
    {
        auto tone = openTone(2, 16, 22050, 4000);
    }
    CMainFrame frame;
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("tone.wav"))));
    ChildFrameWindow* doc = frame.activeDocument();
    doc->resize(800, 300);
    CChildFrame& f = doc->frame();
    f.bHighlight = 1;
    set_selection_units(f, 1000, 3000);
    frame.onCommand(kCut);
    EXPECT_EQ(f.nTotalSamples, 8000u - 2000u);
    EXPECT_EQ(frame.action(11602)->text(), "&Undo Cut...");
    EXPECT_TRUE(frame.action(11602)->isEnabled());
    frame.onCommand(11602);
    EXPECT_EQ(f.nTotalSamples, 8000u);
    EXPECT_EQ(frame.action(11602)->text(), "&Redo Cut...");
    frame.onCommand(11602);
    EXPECT_EQ(f.nTotalSamples, 6000u);
    // Paste without a highlight goes in at the caret.
    f.bHighlight = 0;
    f.nCaretX = 0;
    frame.onCommand(kPaste);
    EXPECT_EQ(f.nTotalSamples, 8000u);
    // Without a highlight Clear and the Operations menu are off.
    EXPECT_FALSE(frame.action(11301)->isEnabled());
    EXPECT_FALSE(frame.action(11515)->isEnabled());
    frame.close();
}

TEST_F(EditCommandsTest, AHighlightDroppedOnAnotherWindowRunsTheChosenOperation)
{
    {
        auto a = openTone(1, 16, 22050, 3000);
    }
    std::filesystem::rename(path("tone.wav"), path("a.wav"));
    {
        auto b = openTone(1, 16, 22050, 5000);
    }
    CMainFrame frame;
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("a.wav"))));
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("tone.wav"))));
    ChildFrameWindow* destination = frame.documents()[1];
    CChildFrame& source = frame.documents()[0]->frame();
    source.bHighlight = 1;
    set_selection_units(source, 0, 1000);
    // The dialog is answered as a user would: Insert, the preselection.
    QTimer::singleShot(50, [] {
        if (auto* dialog = qobject_cast<CopySelectionDialog*>(QApplication::activeModalWidget()))
            dialog->accept();
    });
    destination->dropHighlightFrom(source);
    EXPECT_EQ(destination->frame().nTotalSamples, 5000u + 1000u);
    EXPECT_EQ(destination->frame().bUndoAvailable, 1);
    frame.close();
}

// An effect's parameters on screen: the form shows each one with its range,
// OK writes the edited values back, Cancel keeps the old ones; the Operations
// menu runs the effect on the highlight and one Undo takes it back.
TEST_F(EditCommandsTest, EffectDialogsAndTheOperationsMenu)
{
    EffectDialog d;
    d.name = "test";
    d.title = "Test effect";
    d.number("gain", "Gain", -60, 40, 0, 0.1, 1, "dB");
    d.choice("curve", "Curve", {"linear", "logarithmic"});
    d.toggle("keep", "Keep", false);
    d.number("band1", "31 Hz", -12, 12, 0, 0.5, 1, "dB").slider = true;
    {
        EffectParametersDialog box(d);
        EXPECT_EQ(box.windowTitle(), "Test effect");
        auto* gain = qobject_cast<QDoubleSpinBox*>(box.editor("gain"));
        ASSERT_TRUE(gain);
        EXPECT_EQ(gain->maximum(), 40);
        EXPECT_EQ(gain->suffix(), " dB");
        gain->setValue(-6.5);
        qobject_cast<QComboBox*>(box.editor("curve"))->setCurrentIndex(1);
        qobject_cast<QCheckBox*>(box.editor("keep"))->setChecked(true);
        auto* band = qobject_cast<QSlider*>(box.editor("band1"));
        ASSERT_TRUE(band);
        EXPECT_EQ(band->orientation(), Qt::Vertical);
        band->setValue(7);  // 3.5 dB in half-decibel steps
        box.reject();
        EXPECT_EQ(d.value("gain"), 0);
        box.accept();
    }
    EXPECT_DOUBLE_EQ(d.value("gain"), -6.5);
    EXPECT_EQ(d.choice("curve"), 1);
    EXPECT_TRUE(d.toggle("keep"));
    EXPECT_DOUBLE_EQ(d.value("band1"), 3.5);

    CMainFrame frame;
    openTone(2, 16, 22050, 4000);
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("tone.wav"))));
    CChildFrame& f = frame.activeDocument()->frame();
    const std::string before = f.szFileName;
    f.bHighlight = 1;
    set_selection_units(f, 0, 8000);
    frame.onCommand(11515);  // Reverse: no dialog
    EXPECT_NE(f.szFileName, before);
    EXPECT_TRUE(frame.action(11602)->isEnabled());
    EXPECT_EQ(frame.action(11602)->text(), "&Undo Reverse...");
    EXPECT_TRUE(frame.action(11501)->isEnabled());
    frame.onCommand(11602);
    EXPECT_EQ(f.szFileName, before);
    frame.close();
}

// The magnified plot's view: a drag with the left button redraws the samples
// under the pointer, in the channel band where it started.
TEST_F(EditCommandsTest, DraggingInTheMagnifiedPlotRedrawsSamples)
{
    MagnifiedPlot plot;
    plot.channels.assign(2, std::vector<float>(100, 0.0f));
    MagnifiedPlotDialog dialog(plot);
    MagnifiedPlotView* view = dialog.view();
    view->resize(400, 200);
    // In the lower (right) band, from sample 10 to sample 30 at +0.5.
    const QPoint from = view->pointOf(1, 10, 0.5f), to = view->pointOf(1, 30, 0.5f);
    QTest::mousePress(view, Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, QPointF(to), view->mapToGlobal(QPointF(to)), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(view, &move);
    QTest::mouseRelease(view, Qt::LeftButton, {}, to);
    EXPECT_NEAR(plot.channels[1][10], 0.5f, 0.02f);
    EXPECT_NEAR(plot.channels[1][20], 0.5f, 0.02f);
    EXPECT_NEAR(plot.channels[1][30], 0.5f, 0.02f);
    EXPECT_EQ(plot.channels[1][31], 0.0f);
    EXPECT_EQ(plot.channels[0][20], 0.0f);
}

// The title carries a modified mark from the first edit on; the status bar
// follows the edit: after a Cut nothing is highlighted, so it shows the
// caret's place (no length), and after Undo what Undo brought back.
TEST_F(EditCommandsTest, TheTitleMarksAnEditAndTheStatusBarFollowsCutAndUndo)
{
    {
        auto tone = openTone(2, 16, 22050, 44100);
    }
    CMainFrame frame;
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("tone.wav"))));
    QMdiSubWindow* sub = frame.mdiArea()->subWindowList().first();
    ChildFrameWindow* doc = frame.activeDocument();
    doc->resize(800, 300);
    CChildFrame& f = doc->frame();
    EXPECT_EQ(sub->windowTitle(), "tone.wav[*]");
    EXPECT_FALSE(sub->isWindowModified());
    EXPECT_FALSE(doc->isWindowModified());

    f.bHighlight = 1;
    set_selection_units(f, 2 * 22050, 2 * 33075);  // 1 s to 1.5 s
    Q_EMIT doc->selectionChanged();
    ASSERT_EQ(frame.positionTexts().size(), 3);
    EXPECT_EQ(frame.positionTexts()[0].trimmed(), "1.000 sec");
    EXPECT_EQ(frame.positionTexts()[2].trimmed(), "0.500 sec");

    frame.onCommand(kCut);
    EXPECT_TRUE(sub->isWindowModified());
    EXPECT_TRUE(doc->isWindowModified());
    // Nothing is highlighted after the cut: the range is the whole file, now
    // 1.5 s long, not the highlight that was cut.
    EXPECT_FALSE(f.bHighlight);
    EXPECT_EQ(frame.positionTexts()[0].trimmed(), "0.000 sec");
    EXPECT_EQ(frame.positionTexts()[1].trimmed(), "1.500 sec");
    EXPECT_EQ(frame.positionTexts()[2].trimmed(), "1.500 sec");

    frame.onCommand(11602);  // Undo: the whole two seconds again.
    EXPECT_EQ(f.nTotalSamples, 2u * 44100);
    EXPECT_FALSE(f.bHighlight);
    EXPECT_EQ(frame.positionTexts()[1].trimmed(), "2.000 sec");
    EXPECT_EQ(frame.positionTexts()[2].trimmed(), "2.000 sec");
}
