#include "app/main_frame.h"
#include "app/preference_store.h"
#include "view/child_frame_window.h"
#include "view/document_save.h"
#include "wavefile/info_editor_dialog.h"
#include "wavefile/jaf_dialog.h"
#include "wavefile/realmedia_dialog.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_file_dialogs.h"
#include "wavefile/wave_header.h"

#include "gui_test.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QTreeView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>

using FileDialogsTest = GuiTest;

TEST_F(FileDialogsTest, TheInfoEditorMarksValuesAndFillsInTheArtist)
{
    std::shared_ptr<InfoList> list;
    ASSERT_EQ(create_info_list(list), INFO_OK);
    set_info_item_value(*list, 14, "Song", INFOCHUNK_EDITED);  // INAM
    set_info_item_value(*list, 1, "X", INFOCHUNK_EDITED);      // a one-character artist
    InfoEditorDialog dialog(list);
    dialog.show();
    ASSERT_EQ(dialog.items()->count(), 23);
    EXPECT_EQ(dialog.items()->itemText(14), "INAM* Name                     ");
    EXPECT_EQ(dialog.items()->itemText(0), "IARL  Archival Location        ");
    EXPECT_EQ(dialog.field(1001)->text(), "X");
    EXPECT_EQ(dialog.findChild<QLabel*>("101")->text(),
              QString::fromLatin1(info_item_definition(0).help));

    // 150 ms after opening, an artist of fewer than two characters becomes "Unknown".
    QTest::qWait(300);
    EXPECT_EQ(dialog.field(1001)->text(), "Unknown");
    dialog.commitField(1001);
    EXPECT_EQ(info_item_value(*list, 1), "Unknown");

    // A value typed into a direct field marks its item at once.
    dialog.field(1004)->setText("(c) 2026");
    dialog.commitField(1004);
    EXPECT_EQ(info_item_value(*list, 4), "(c) 2026");
    EXPECT_TRUE(dialog.items()->itemText(4).startsWith("ICOP*"));
    // The selected item's value field edits the selected item.
    dialog.items()->setCurrentIndex(10);
    dialog.field(102)->setText("Speech");
    dialog.commitField(102);
    EXPECT_EQ(info_item_value(*list, 10), "Speech");
    EXPECT_EQ(dialog.items()->currentIndex(), 10);
    // Cancel keeps what was edited.
    dialog.reject();
    EXPECT_EQ(info_item_value(*list, 10), "Speech");
    EXPECT_EQ(edit_info_list(nullptr, nullptr), 2);
}

TEST_F(FileDialogsTest, TheOpenDialogShowsTheFileUnderTheCursor)
{
    writeFile(path("a.wav"), WavBuilder::pcm(2, 22050, 16, {0, 0, 0, 0}));
    OpenWaveDialog dialog(nullptr);
    EXPECT_EQ(dialog.nameFilters().size(), 26);  // the reading list: no RealMedia
    EXPECT_EQ(dialog.nameFilters().first(), "Microsoft PCM Files (*.wav)");
    // A row of the reading list names its type in the whole table: after AVI
    // come MP3 (18), JAF (19), the library types, and All Files (26).
    for (const auto& [filter, type] : std::vector<std::pair<QString, int>>{{"Creative Labs VOC (*.voc)", 15},
                                                                           {"Video For Windows files (*.avi)", 16},
                                                                           {"MPEG3 files (*.mp3)", 18},
                                                                           {"JAF files (*.jaf)", 19},
                                                                           {"FLAC files (*.flac)", 20},
                                                                           {"All Files (*.*)", 26}}) {
        dialog.selectNameFilter(filter);
        EXPECT_EQ(dialog.selectedType(), type) << filter.toStdString();
    }
    dialog.showFactsOf(QString::fromStdString(path("a.wav")));
    EXPECT_EQ(dialog.findChild<QLabel*>("260")->text(), "MS RIFF Wave PCM");
    EXPECT_EQ(dialog.findChild<QLabel*>("402")->text(), "22050 kHz 16 bits Stereo");
    writeFile(path("b.wav"), WavBuilder::riff({WavBuilder::chunk("fmt ", WavBuilder::fmtBody(2, 1, 11025, 4, 50))}));
    dialog.showFactsOf(QString::fromStdString(path("b.wav")));
    EXPECT_EQ(dialog.findChild<QLabel*>("260")->text(), "MS RIFF Wave ADPCM");
    EXPECT_EQ(dialog.findChild<QLabel*>("402")->text(), "11025 kHz 4 bits Mono");
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(FileDialogsTest, TheSaveDialogStartsFromTheDocumentAndItsButtonsSetTheFormat)
{
    auto f = openTone(2, 16, 22050, 1000);
    ASSERT_TRUE(f);
    SaveWaveDialog dialog(*f, nullptr);
    EXPECT_EQ(dialog.windowTitle(), "Save Waveform To Disk");
    EXPECT_EQ(dialog.options().bSaveConverts, 0);
    EXPECT_EQ(dialog.options().bSaveCompressed, 0);
    EXPECT_TRUE(dialog.findChild<QRadioButton*>("273")->isChecked());
    EXPECT_TRUE(dialog.findChild<QRadioButton*>("203")->isChecked());
    EXPECT_TRUE(dialog.findChild<QRadioButton*>("210")->isChecked());
    EXPECT_EQ(dialog.selectedType(), 0);
    dialog.press(202);
    EXPECT_EQ(current_wave_format.nChannels, 1);
    EXPECT_EQ(dialog.options().bSaveConverts, 1);
    dialog.press(203);
    EXPECT_EQ(dialog.options().bSaveConverts, 0);  // back to the document's format
    dialog.press(211);
    dialog.press(205);
    EXPECT_EQ(current_wave_format.nSamplesPerSec, 44100u);
    EXPECT_EQ(current_wave_format.nBytesPerSample, 1);
    dialog.press(274);
    EXPECT_EQ(dialog.options().bSaveCompressed, 1);
    EXPECT_TRUE(dialog.findChild<QRadioButton*>("274")->isChecked());
    SaveWaveDialog avi(*f, nullptr, QStringLiteral("avi"));
    EXPECT_EQ(avi.selectedType(), 16);
}

TEST_F(FileDialogsTest, TheFileMenuSavesAndMakesNewFilesFromTheHighlight)
{
    {
        auto tone = openTone(2, 16, 22050, 4000);
    }
    CMainFrame frame;
    ASSERT_TRUE(frame.openFile(QString::fromStdString(path("tone.wav"))));
    CChildFrame& doc = frame.activeDocument()->frame();
    const auto original = readFile(path("tone.wav"));
    doc.bModified = 1;
    frame.onCommand(kCommandSave);  // writes the file the document came from
    EXPECT_EQ(doc.bModified, 0);
    EXPECT_EQ(readFile(path("tone.wav")), original);

    doc.bHighlight = 1;
    doc.nSelStart = 400;
    doc.nSelEnd = 2400;
    doc.nSelStartByte = 800;
    inTempDir([&] { frame.onCommand(kCommandNewFromSelection); });
    ASSERT_EQ(frame.documents().size(), 2);  // opened through command 11310
    EXPECT_EQ(frame.activeDocument()->frame().szDisplayName, "SAMPLE1.WAV");
    EXPECT_EQ(frame.activeDocument()->frame().nTotalSamples, 2000u);
    frame.close();
}

TEST(ExportDialogsTest, TheJafAndRealMediaDialogsShowTheirChoices)
{
    JafDialog jaf(2003);
    EXPECT_EQ(jaf.objectName(), "JAF_FILE_COMPRESSION");
    EXPECT_EQ(jaf.chosenButton(), 2003);
    for (int id = 2000; id <= 2004; ++id)
        ASSERT_TRUE(jaf.findChild<QRadioButton*>(QString::number(id))) << id;
    jaf.findChild<QRadioButton*>("2000")->setChecked(true);
    EXPECT_EQ(jaf.chosenButton(), 2000);
    EXPECT_TRUE(jaf.findChild<QPushButton*>("1405"));
    JafDialog first(0);
    EXPECT_EQ(first.chosenButton(), 2000) << "the first on a first use";

    RealMediaSettings settings;
    int encodes = 0;
    RealMediaDialog mono(settings, 1, [&](const RealMediaSettings&, const std::function<void(const std::string&)>& p) {
        ++encodes;
        p("Encoding: Audio(      1/      2) Video(      0/      0)");
        return 1;
    });
    auto* audio = mono.findChild<QComboBox*>("audioCodec");
    for (int i = 0; i < audio->count(); ++i)
        EXPECT_FALSE(audio->itemText(i).contains("Stereo")) << audio->itemText(i).toStdString();
    EXPECT_EQ(audio->currentIndex(), 8);
    // Description 7 of the mono table first; then the entry's own.
    EXPECT_TRUE(mono.findChild<QLabel*>("description")->text().startsWith("Use this option for mono quasi-CD"));
    audio->setCurrentIndex(0);
    EXPECT_TRUE(mono.findChild<QLabel*>("description")->text().startsWith("Use this option for speech or background "
                                                                           "music over 28.8 kbps modems."));
    auto* quality = mono.findChild<QSlider*>("quality");
    EXPECT_EQ(quality->minimum(), 1);
    EXPECT_EQ(quality->value(), 100);
    quality->setValue(42);
    EXPECT_EQ(mono.findChild<QLineEdit*>("qualityText")->text(), "42");
    auto* keys = mono.findChild<QSlider*>("keyFrames");
    EXPECT_EQ(keys->minimum(), 8);
    EXPECT_EQ(keys->value(), 60);
    mono.findChild<QPushButton*>("encode")->click();
    EXPECT_EQ(encodes, 1);
    EXPECT_EQ(mono.result(), 1);
    EXPECT_EQ(settings.audioCodec, "6.5 Kbps Voice");
    EXPECT_EQ(settings.quality, 42);

    RealMediaDialog stereo(settings, 2, {});
    EXPECT_EQ(stereo.findChild<QComboBox*>("audioCodec")->currentIndex(), 7);
    EXPECT_TRUE(stereo.findChild<QLabel*>("description")->text().startsWith("Use this option for stereo CD quality"));
}

// File ▸ Open starts where the user last opened a file from (kept in the
// profile), at first in the home folder; never in the program's working folder.
TEST_F(FileDialogsTest, TheOpenDialogStartsWhereTheUserLastOpenedFrom)
{
    {
        OpenWaveDialog first(nullptr);
        EXPECT_EQ(QDir(first.directory()).absolutePath(), QDir::homePath());
        EXPECT_NE(first.directory().absolutePath().toStdString(), preferences().lastUsedDirectory);
    }
    std::filesystem::create_directories(path("music/takes"));
    writeFile(path("music/takes/a.wav"), WavBuilder::pcm(2, 22050, 16, WavBuilder::indexedFrames(100)));
    {
        CMainFrame frame;
        ASSERT_TRUE(frame.openFile(QString::fromStdString(path("music/takes/a.wav"))));
        frame.close();
    }
    OpenWaveDialog next(nullptr);
    EXPECT_EQ(next.directory().absolutePath().toStdString(), path("music/takes"));
    // Read back from the profile as a new run of the program would.
    preferences() = Preferences{};
    read_preferences();
    EXPECT_EQ(preferences().openFolder, path("music/takes"));
}

// At 1280 x 800 the open and save dialogs fit the screen, show their own
// panel whole, and no column of the file list is cut short.
TEST_F(FileDialogsTest, TheFileDialogsAndTheirColumnsFitTheScreen)
{
    auto f = openTone(2, 16, 44100, 1000);
    ASSERT_TRUE(f);
    f->files.path = path("tone.wav");
    writeFile(path("a file with a rather long name for the list.wav"), WavBuilder::pcm(1, 8000, 8, {1, 2, 3}));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    ASSERT_EQ(screen.size(), QSize(1280, 800));
    SaveWaveDialog save(*f, nullptr);
    OpenWaveDialog open(nullptr);
    open.setDirectory(QString::fromStdString(path("")));
    for (QFileDialog* dialog : {static_cast<QFileDialog*>(&save), static_cast<QFileDialog*>(&open)}) {
        SCOPED_TRACE(dialog->windowTitle().toStdString());
        dialog->setViewMode(QFileDialog::Detail);
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
        QTest::qWait(300);  // the file list is read in the background
        EXPECT_LE(dialog->frameGeometry().width(), screen.width());
        EXPECT_LE(dialog->frameGeometry().height(), screen.height());
        // Every widget of the dialog lies inside it at no less than its minimum.
        for (QWidget* w : dialog->findChildren<QWidget*>()) {
            if (!w->isVisible() || w->isWindow())
                continue;
            const QRect inDialog(w->mapTo(dialog, QPoint(0, 0)), w->size());
            EXPECT_TRUE(dialog->rect().contains(inDialog)) << w->metaObject()->className() << " "
                                                           << w->objectName().toStdString();
        }
        auto* list = dialog->findChild<QTreeView*>(QStringLiteral("treeView"));
        ASSERT_NE(list, nullptr);
        QHeaderView* header = list->header();
        int used = 0;
        for (int column = 0; column < header->count(); ++column) {
            if (header->isSectionHidden(column))
                continue;
            used += header->sectionSize(column);
            if (column > 0) {
                // Size, type and date: as wide as their widest text.
                int widest = header->sectionSizeHint(column);
                for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row)
                    widest = std::max(widest, list->sizeHintForIndex(list->model()->index(row, column, list->rootIndex())).width());
                EXPECT_GE(header->sectionSize(column), widest) << "column " << column;
            }
        }
        EXPECT_LE(used, list->viewport()->width()) << "the list scrolls sideways";
        EXPECT_GE(header->sectionSize(0), 250) << "the name column is squeezed";
        dialog->hide();
    }
}
