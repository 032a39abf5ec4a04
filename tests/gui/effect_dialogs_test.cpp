// An effect run from the windowed program's menu: its parameter dialog, and
// the question that comes when its result would clip.

#include "view/child_frame_window.h"
#include "view/mouse_selection.h"

#include "gui_test.h"

#include <QDoubleSpinBox>
#include <QMessageBox>
#include <QPushButton>

#include <cmath>

using EffectDialogsTest = MainFrameGuiTest;

// Amplify by +20 dB on a half-scale sine: the question names the effect and
// offers Normalize, Apply anyway and Cancel; Cancel leaves the document as
// it was, Normalize puts the result's peak at -0.1 dBFS.
TEST_F(EffectDialogsTest, AClippingResultAsksWhatToDo)
{
    WavBuilder::Bytes data;
    for (int i = 0; i < 22050; ++i)
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(
                                    std::lround(16384 * std::sin(2 * M_PI * 441 * i / 44100.0)))));
    writeFile(path("sine.wav"), WavBuilder::pcm(1, 44100, 16, data));
    ASSERT_TRUE(frame->openFile(QString::fromStdString(path("sine.wav"))));
    CChildFrame& doc = frame->activeDocument()->frame();
    const auto amplify = [&](const char* answer) {
        doc.bHighlight = 1;
        set_selection_units(doc, 0, doc.nTotalSamples);
        QString question;
        QStringList buttons;
        whileAnswering([&] { frame->onCommand(11501); },
                       [&](QWidget* modal) {
                           if (modal->objectName() == "effect-amplify") {
                               modal->findChild<QDoubleSpinBox*>("gain")->setValue(20);
                               QMetaObject::invokeMethod(modal, "accept", Qt::QueuedConnection);
                               return false;
                           }
                           if (auto* box = qobject_cast<QMessageBox*>(modal); box && box->objectName() == "clipping") {
                               question = box->text();
                               for (QAbstractButton* b : box->buttons())
                                   buttons << b->text();
                               if (QString(answer) == "cancel")
                                   box->button(QMessageBox::Cancel)->click();
                               else
                                   box->findChild<QPushButton*>(answer)->click();
                               return true;
                           }
                           return false;
                       });
        EXPECT_TRUE(question.startsWith("Amplify would clip ")) << question.toStdString();
        EXPECT_TRUE(buttons.contains("&Normalize to -0.1 dBFS")) << buttons.join(",").toStdString();
        EXPECT_TRUE(buttons.contains("&Apply anyway"));
    };
    amplify("cancel");
    EXPECT_EQ(readFile(doc.szFileName), data);
    EXPECT_FALSE(doc.bUndoAvailable);

    amplify("normalize");
    const auto out = readFile(doc.szFileName);
    int peak = 0;
    for (std::size_t i = 0; i + 1 < out.size(); i += 2)
        peak = std::max(peak, std::abs(static_cast<int>(static_cast<std::int16_t>(out[i] | out[i + 1] << 8))));
    EXPECT_NEAR(20 * std::log10(peak / 32768.0), -0.1, 0.01);
    doc.bModified = 0;  // closing without the question
    frame->close();
}
