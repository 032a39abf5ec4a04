// The dialogs of files other programs make, as the windowed program shows
// them: the question a file of more than two channels asks, and the save
// dialog's resolutions and compressed types, each driven through the main
// frame's own open and save commands.

#include "app/command_ids.h"
#include "view/child_frame_window.h"
#include "wavefile/channel_choice_dialog.h"
#include "wavefile/file_types.h"
#include "wavefile/wave_file_dialogs.h"
#include "wavefile/wave_header.h"

#include "gui_test.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPointer>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTimer>

#include <filesystem>
#include <functional>

namespace {

using MediaDialogsTest = MainFrameGuiTest;

bool sh(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }
std::string q(const std::string& s) { return "'" + s + "'"; }

std::int16_t sample16(const std::vector<std::uint8_t>& bytes, std::size_t at)
{
    return static_cast<std::int16_t>(bytes[at] | bytes[at + 1] << 8);
}

}  // namespace

// Six channels, each a constant of its own: Cancel opens nothing; two chosen
// channels come as they are; the mix down is the answer at first. The
// document's title says which was done.
TEST_F(MediaDialogsTest, TheChannelQuestionIsAnsweredInItsOwnDialog)
{
    const std::size_t frames = 2000;
    WavBuilder::Bytes six;
    for (std::size_t i = 0; i < frames; ++i)
        for (int c = 0; c < 6; ++c)
            WavBuilder::put16(six, static_cast<std::uint16_t>(1000 * (c + 1)));
    writeFile(path("six.wav"), WavBuilder::pcm(6, 48000, 16, six));
    const QString file = QString::fromStdString(path("six.wav"));

    bool cancelled = false;
    whileAnswering([&] { EXPECT_FALSE(frame->openFile(file)); },
                   [&](QWidget* modal) {
                       auto* dialog = qobject_cast<ChannelChoiceDialog*>(modal);
                       if (!dialog)
                           return false;
                       cancelled = true;
                       dialog->reject();
                       return true;
                   });
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(frame->documents().empty());

    bool asked = false;
    whileAnswering([&] { EXPECT_TRUE(frame->openFile(file)); },
                   [&](QWidget* modal) {
                       auto* dialog = qobject_cast<ChannelChoiceDialog*>(modal);
                       if (!dialog)
                           return false;
                       asked = true;
                       auto* downmix = dialog->findChild<QRadioButton*>("downmix");
                       auto* pick = dialog->findChild<QRadioButton*>("pick");
                       auto* left = dialog->findChild<QSpinBox*>("left");
                       auto* right = dialog->findChild<QSpinBox*>("right");
                       EXPECT_TRUE(downmix->isChecked());
                       EXPECT_FALSE(left->isEnabled());
                       EXPECT_EQ(right->maximum(), 6);
                       QTest::mouseClick(pick, Qt::LeftButton);
                       EXPECT_TRUE(left->isEnabled());
                       left->setValue(3);
                       right->setValue(6);
                       dialog->accept();
                       return true;
                   });
    ASSERT_TRUE(asked);
    ChildFrameWindow* picked = frame->activeDocument();
    ASSERT_TRUE(picked);
    EXPECT_EQ(picked->frame().wfx.nChannels, 2);
    EXPECT_TRUE(picked->windowTitle().contains("six.wav (channels 3 and 6 of 6)")) << picked->windowTitle().toStdString();
    auto bytes = readFile(picked->frame().szFileName);
    ASSERT_EQ(bytes.size(), frames * 4);
    EXPECT_EQ(sample16(bytes, 0), 3000);
    EXPECT_EQ(sample16(bytes, 2), 6000);
    EXPECT_EQ(sample16(bytes, bytes.size() - 2), 6000);

    whileAnswering([&] { EXPECT_TRUE(frame->openFile(file)); },
                   [&](QWidget* modal) {
                       auto* dialog = qobject_cast<ChannelChoiceDialog*>(modal);
                       if (dialog)
                           dialog->accept();
                       return dialog != nullptr;
                   });
    ChildFrameWindow* mixed = frame->activeDocument();
    ASSERT_NE(mixed, picked);
    EXPECT_TRUE(mixed->windowTitle().contains("six.wav (mixed down from 6 channels)"))
        << mixed->windowTitle().toStdString();
    // Left: front left, centre and back left, the latter two at -3 dB, over
    // the sum of their weights; right likewise from the right channels.
    const double k = std::sqrt(0.5);
    bytes = readFile(mixed->frame().szFileName);
    EXPECT_NEAR(sample16(bytes, 0), (1000 + k * 3000 + k * 5000) / (1 + 2 * k), 1.0);
    EXPECT_NEAR(sample16(bytes, 2), (2000 + k * 3000 + k * 6000) / (1 + 2 * k), 1.0);
    frame->close();
}

// A 24-bit FLAC opens at 24 bits; Save As starts beside it under its name as
// WAV with the 24-bit button pressed; the resolution buttons set the format;
// FLAC chosen in the list with a name typed bare saves FLAC at the level
// set, every sample as it was; a name whose extension says FLAC saves FLAC
// whatever the list shows; a type only read is refused with a message.
TEST_F(MediaDialogsTest, TheSaveDialogWritesTheTypesAndResolutionsChosen)
{
    ASSERT_TRUE(sh("sox -n -r 48000 -c 2 -b 24 " + q(path("tone.flac")) + " synth 2 sine 440 sine 660 gain -3"));
    std::filesystem::create_directory(path("out"));
    ASSERT_TRUE(frame->openFile(QString::fromStdString(path("tone.flac"))));
    ChildFrameWindow* doc = frame->activeDocument();
    ASSERT_TRUE(doc);
    ASSERT_EQ(doc->frame().wfx.wBitsPerSample, 24);
    const auto samples = readFile(doc->frame().szFileName);
    ASSERT_EQ(samples.size(), 2u * 48000 * 2 * 3);

    // Saves through Save As: `fill` sets the dialog up, as the user would,
    // and its Save button is pressed; the messages that follow are read and
    // answered.
    const auto saveAs = [&](const std::function<void(SaveWaveDialog&)>& fill) {
        std::vector<std::string> messages;
        QPointer<SaveWaveDialog> filled;
        whileAnswering([&] { frame->onCommand(kCommandSaveAs); },
                       [&](QWidget* modal) {
                           auto* dialog = qobject_cast<SaveWaveDialog*>(modal);
                           if (dialog && dialog != filled) {
                               filled = dialog;
                               fill(*dialog);
                               QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
                           } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
                               messages.push_back(box->text().toStdString());
                               box->button(QMessageBox::Ok)->click();
                           }
                           return false;
                       });
        return messages;
    };
    const auto typeName = [this](SaveWaveDialog& dialog, const char* name) {
        dialog.setDirectory(QString::fromStdString(path("out")));
        auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit");
        ASSERT_TRUE(edit);
        edit->clear();
        QTest::keyClicks(edit, QString::fromLatin1(name));
    };
    const auto chooseType = [](SaveWaveDialog& dialog, int type) {
        // As the user picks it from the dialog's list of types.
        auto* types = dialog.findChild<QComboBox*>("fileTypeCombo");
        ASSERT_TRUE(types);
        types->setCurrentIndex(type);
        emit types->activated(type);
        emit types->textActivated(types->currentText());
        ASSERT_EQ(dialog.selectedType(), type);
    };

    bool inspected = false;
    saveAs([&](SaveWaveDialog& dialog) {
        inspected = true;
        EXPECT_EQ(dialog.directory().absolutePath().toStdString(), std::filesystem::path(path("")).parent_path().string());
        EXPECT_EQ(dialog.selectedFiles().value(0).toStdString(), path("tone.wav"));
        EXPECT_TRUE(dialog.findChild<QRadioButton*>("206")->isChecked());
        EXPECT_EQ(dialog.options().bSaveConverts, 0);
        dialog.press(207);
        EXPECT_EQ(current_wave_format.wBitsPerSample, 16);
        EXPECT_EQ(dialog.options().bSaveConverts, 1);
        dialog.press(208);
        EXPECT_EQ(current_wave_format.wFormatTag, 3);
        EXPECT_EQ(current_wave_format.wBitsPerSample, 32);
        EXPECT_TRUE(dialog.findChild<QRadioButton*>("208")->isChecked());
        dialog.press(206);
        EXPECT_EQ(dialog.options().bSaveConverts, 0);
        auto* mode = dialog.findChild<QComboBox*>("mp3Mode");
        mode->setCurrentIndex(1);
        EXPECT_EQ(dialog.options().mp3Vbr, 1);
        EXPECT_TRUE(dialog.findChild<QSpinBox*>("mp3Quality")->isVisibleTo(&dialog));
        EXPECT_FALSE(dialog.findChild<QSpinBox*>("mp3Bitrate")->isVisibleTo(&dialog));
        mode->setCurrentIndex(0);
        chooseType(dialog, kTypeFlac);
        dialog.findChild<QSpinBox*>("flacLevel")->setValue(0);
        EXPECT_EQ(dialog.options().flacCompression, 0);
        typeName(dialog, "level0");
    });
    ASSERT_TRUE(inspected);
    saveAs([&](SaveWaveDialog& dialog) {
        chooseType(dialog, kTypeFlac);
        dialog.findChild<QSpinBox*>("flacLevel")->setValue(8);
        typeName(dialog, "level8");
    });
    // The list left at WAV; the name says FLAC.
    saveAs([&](SaveWaveDialog& dialog) {
        EXPECT_EQ(dialog.selectedType(), kTypeWav);
        typeName(dialog, "named.flac");
    });
    for (const char* name : {"level0.flac", "level8.flac", "named.flac"}) {
        const std::string flac = path("out/") + name;
        const auto head = readFile(flac);
        ASSERT_GE(head.size(), 4u) << name;
        EXPECT_EQ(std::string(head.begin(), head.begin() + 4), "fLaC") << name;
        ASSERT_TRUE(sh("flac -d -f --force-raw-format --endian=little --sign=signed -o " + q(flac + ".raw") + " " +
                       q(flac)))
            << name;
        EXPECT_TRUE(readFile(flac + ".raw") == samples) << name << ": the decoded samples differ";
    }
    EXPECT_LT(std::filesystem::file_size(path("out/level8.flac")), std::filesystem::file_size(path("out/level0.flac")));
    EXPECT_TRUE(doc->frame().files.path.empty()) << "a FLAC copy is not the document's own file";

    const auto messages = saveAs([&](SaveWaveDialog& dialog) { typeName(dialog, "x.m4a"); });
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "Cannot save x.m4a: .m4a is not a file type this program writes.");
    EXPECT_FALSE(std::filesystem::exists(path("out/x.m4a")));
    frame->close();
}
