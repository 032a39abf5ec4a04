#include "app/bitmap_button.h"
#include "app/main_frame.h"
#include "app/preference_pages.h"
#include "app/preference_store.h"
#include "app/preferences_dialog.h"
#include "app/progress.h"
#include "app/progress_box.h"
#include "app/transport_state.h"
#include "wavefile/new_file_dialog.h"

#include "edit/preset_dialogs.h"
#include "edit/presets.h"
#include "gui_test.h"
#include <QLineEdit>
#include <QListWidget>

#include <QCheckBox>
#include <QElapsedTimer>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <optional>
#include <stdexcept>
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

class QtHostTest : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        frame = std::make_unique<CMainFrame>();
        frame->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(frame.get()));
        qtHost = std::make_unique<QtUiHost>(frame.get());
        setUiHost(qtHost.get());
    }
    void TearDown() override
    {
        setUiHost(&host);
        qtHost.reset();
        frame.reset();
        transport_state() = TransportState{};
        GuiTest::TearDown();
    }
    std::unique_ptr<CMainFrame> frame;
    std::unique_ptr<QtUiHost> qtHost;
};

TEST_F(QtHostTest, TheProgressBoxLiesOverTheStatusBar)
{
    HWND box = display_message_dialog("Saving file ...", 1);
    current_progress_box = box;
    ProgressBox* widget = qtHost->progressBox();
    ASSERT_NE(widget, nullptr);
    const QRect status = frame->statusBar()->geometry();
    EXPECT_EQ(widget->geometry().left(), status.left() + 1);
    EXPECT_EQ(widget->geometry().top(), status.top());
    EXPECT_EQ(widget->geometry().height(), status.height() - 1);
    show_percent_done(box, 0);
    show_percent_done(box, 42);
    EXPECT_EQ(widget->percent(), 42);
    show_percent_done(box, 101);
    EXPECT_EQ(widget->timeLeft(), "  ");

    // Only a left press strictly inside Cancel counts: not its border pixel.
    QPushButton* cancel = widget->cancelButton();
    ASSERT_TRUE(cancel->isVisible());
    // (QTest takes the point (0, 0) for "the centre": use another one on the left edge.)
    QTest::mousePress(cancel, Qt::LeftButton, Qt::NoModifier, QPoint(0, 5));
    QTest::qWait(20);
    EXPECT_EQ(cancel_button_pressed(box), 0);
    QTest::mousePress(cancel, Qt::LeftButton, Qt::NoModifier, cancel->rect().center());
    QTest::qWait(20);
    EXPECT_EQ(cancel_button_pressed(box), 1);
    EXPECT_EQ(cancel_button_pressed(box), 0);
    terminate_message_dialog(box);
    EXPECT_EQ(qtHost->progressBox(), nullptr);

    // Without Cancel the button stays hidden.
    box = display_message_dialog("Updating buffers ...", 0);
    EXPECT_FALSE(qtHost->progressBox()->cancelButton()->isVisible());
    terminate_message_dialog(box);
    restore_wait_cursor();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

// An operation reports and polls Cancel at every block, thousands of times a
// second: the box is drawn only when the event loop passes, about 30 times a
// second, and still shows the latest figure and takes a click on Cancel.
TEST_F(QtHostTest, TheProgressBoxRepaintsAtMostAboutThirtyTimesASecond)
{
    HWND box = display_message_dialog("Opening file ...", 1);
    current_progress_box = box;
    ProgressBox* widget = qtHost->progressBox();
    ASSERT_NE(widget, nullptr);
    struct PaintCounter : QObject {
        int paints = 0;
        bool eventFilter(QObject*, QEvent* event) override
        {
            paints += event->type() == QEvent::Paint;
            return false;
        }
    } counter;
    widget->installEventFilter(&counter);
    for (QWidget* child : widget->findChildren<QWidget*>())
        child->installEventFilter(&counter);
    QApplication::processEvents();
    counter.paints = 0;

    QElapsedTimer clock;
    clock.start();
    long blocks = 0;
    while (clock.elapsed() < 500) {
        show_percent_done(box, static_cast<int>(blocks % 100));
        EXPECT_EQ(cancel_button_pressed(box), 0);
        ++blocks;
    }
    const qint64 elapsed = clock.elapsed();
    // Three widgets in the box (bar, time left, Cancel) may each be drawn
    // once a pass; a pass every 33 ms at most.
    EXPECT_LE(counter.paints, 3 * (elapsed / 33 + 2)) << blocks << " blocks";
    EXPECT_GT(counter.paints, 0) << "the box was never drawn";
    EXPECT_GT(blocks, 1000);

    show_percent_done(box, 77);
    EXPECT_EQ(widget->percent(), 77);
    QTest::mousePress(widget->cancelButton(), Qt::LeftButton, Qt::NoModifier, widget->cancelButton()->rect().center());
    QTest::qWait(40);
    EXPECT_EQ(cancel_button_pressed(box), 1);
    terminate_message_dialog(box);
    restore_wait_cursor();
}

namespace {

// Whether the upper halves of the AVX registers are in use (XGETBV with
// ECX = 1, bit 2); nullopt where the processor cannot say.
std::optional<bool> upperHalvesInUse()
{
#if defined(__x86_64__) || defined(__i386__)
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx) || !(ecx & (1u << 27)))  // OSXSAVE
        return std::nullopt;
    if (!__get_cpuid_count(0xd, 1, &eax, &ebx, &ecx, &edx) || !(eax & (1u << 2)))  // XGETBV 1
        return std::nullopt;
    unsigned low = 0, high = 0;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
    return (low & (1u << 2)) != 0;
#else
    return std::nullopt;
#endif
}

// Paints as much as the progress box does: a fill and a line of text.
struct PaintedWidget : QWidget {
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.fillRect(rect(), QColor(0, 0, 255));
        p.setPen(Qt::white);
        p.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("   Processing file big.wav...   42%"));
    }
};

}  // namespace

// Qt's painting leaves the upper halves of the AVX registers in use, and the
// core's SSE code runs two to three times slower after it on some
// processors. An operation's code after the progress box's event pass, and a
// handler's code after a paint, must find them cleared.
TEST_F(QtHostTest, CodeAfterPaintingRunsWithTheVectorStateCleared)
{
    if (!upperHalvesInUse())
        GTEST_SKIP() << "this processor does not report its register state";
    PaintedWidget painted;
    painted.resize(400, 40);
    painted.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&painted));
    painted.repaint();
    if (!*upperHalvesInUse())
        GTEST_SKIP() << "painting left the upper halves unused on this processor: nothing to clear";

    // An event delivered after the paint reaches its handler cleared.
    struct Probe : QObject {
        std::optional<bool> inUse;
        bool event(QEvent* e) override
        {
            if (e->type() != QEvent::User)
                return QObject::event(e);
            inUse = upperHalvesInUse();
            return true;
        }
    } probe;
    painted.repaint();
    QEvent user(QEvent::User);
    QCoreApplication::sendEvent(&probe, &user);
    ASSERT_TRUE(probe.inUse.has_value());
    EXPECT_FALSE(*probe.inUse) << "a handler after a paint";

    // An operation reports its progress; the box's event pass paints the new
    // figure, and the operation goes on cleared.
    HWND box = display_message_dialog("Processing file big.wav...", 1);
    current_progress_box = box;
    show_percent_done(box, 0);
    QApplication::processEvents();
    QTest::qWait(40);
    show_percent_done(box, 42);
    painted.repaint();
    EXPECT_EQ(cancel_button_pressed(box), 0);
    EXPECT_FALSE(*upperHalvesInUse()) << "an operation after the progress box's event pass";
    terminate_message_dialog(box);
    restore_wait_cursor();
}

// An exception that a handler lets out ends there, reported as a message
// with its reason; the program goes on taking events.
TEST_F(GuiTest, AnExceptionOutOfAHandlerBecomesAMessage)
{
    struct Thrower : QObject {
        int handled = 0;
        bool event(QEvent* e) override
        {
            if (e->type() != QEvent::User)
                return QObject::event(e);
            if (++handled == 1)
                throw std::runtime_error("the disk went away");
            return true;
        }
    } thrower;
    QEvent first(QEvent::User);
    EXPECT_FALSE(QCoreApplication::sendEvent(&thrower, &first));
    ASSERT_FALSE(host.shown().empty());
    EXPECT_NE(host.shown().back().text.find("the disk went away"), std::string::npos) << host.shown().back().text;
    // Posted events pass through the same barrier, and the next one is handled.
    QCoreApplication::postEvent(&thrower, new QEvent(QEvent::User));
    QCoreApplication::processEvents();
    EXPECT_EQ(thrower.handled, 2);
}

TEST_F(QtHostTest, BitmapButtonsFollowTheTransportState)
{
    BitmapButton record(1813, QStringLiteral("Record"));
    record.resize(96, 40);
    auto redIn = [&] {
        const QImage image = record.grab().toImage();
        int red = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                red += qRed(image.pixel(x, y)) > 230 && qGreen(image.pixel(x, y)) < 60;
        return red;
    };
    const int dark = redIn();
    transport_state().recording = true;
    EXPECT_GT(redIn(), dark + 20);  // "redrec" is bright red, "rrecord" dark red
    record.setEnabled(false);
    EXPECT_EQ(redIn(), 0);  // "invrec" is grey
}

using DialogTest = GuiTest;

TEST_F(DialogTest, TheNewFileDialogSetsTheFormatAndCancelPutsItBack)
{
    current_wave_format = WaveFormat{};
    data_chunk_size = 1234;
    {
        NewFileDialog dialog;
        dialog.press(202);
        dialog.press(207);
        dialog.press(211);
        EXPECT_EQ(current_wave_format.nChannels, 1);
        EXPECT_EQ(current_wave_format.wBitsPerSample, 16);
        EXPECT_EQ(current_wave_format.nBytesPerSample, 2);
        EXPECT_EQ(current_wave_format.nSamplesPerSec, 44100u);
        EXPECT_TRUE(dialog.findChild<QRadioButton*>("211")->isChecked());
        data_chunk_size = 99;
        dialog.reject();
    }
    EXPECT_EQ(current_wave_format.nChannels, 2);
    EXPECT_EQ(current_wave_format.nBytesPerSample, 2);
    EXPECT_EQ(current_wave_format.wBitsPerSample, 8);
    EXPECT_EQ(data_chunk_size, 1234u);
    NewFileDialog dialog;
    dialog.press(203);
    dialog.accept();
    EXPECT_EQ(current_wave_format.nChannels, 2);
}

TEST_F(DialogTest, ThePreferenceSheetStoresEveryPage)
{
    read_preferences();
    PreferencesDialog dialog;
    ASSERT_EQ(dialog.tabs()->count(), 7);
    const char* names[] = {"CWave", "CMidi", "CTool", "CStartup", "COptions", "CTimeFormat", "CColors"};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(dialog.page(i)->objectName(), names[i]);

    // "SMPTE 30 &Drop" stores 30, as "SMPTE &30" does.
    auto* time = static_cast<CTimeFormat*>(dialog.page(5));
    EXPECT_TRUE(time->choice(0)->isChecked());
    time->choice(4)->setChecked(true);
    auto* colours = static_cast<CColors*>(dialog.page(6));
    auto* data = colours->findChildren<QComboBox*>().first();
    data->setCurrentIndex(data->findText("Red"));
    dialog.accept();
    EXPECT_EQ(preferences().timeFormat, 30);
    EXPECT_EQ(preferences().colours[0], rgb(255, 0, 0));
    EXPECT_NE(profileText().find("Time format=30"), std::string::npos) << profileText();
    EXPECT_NE(profileText().find("Data color=Red"), std::string::npos);

    // Devices by name, "System default" first; a device the profile names
    // that is not here now stays chosen; the system mixer is left alone
    // unless the box is ticked.
    EXPECT_EQ(profileText().find("Control the system mixer=yes"), std::string::npos);
    preferences().waveOutputDeviceName = "ALSA: USB Audio (hw:9,0)";
    PreferencesDialog devices;
    auto* output = devices.page(0)->findChild<QComboBox*>("outputDevice");
    auto* input = devices.page(0)->findChild<QComboBox*>("inputDevice");
    ASSERT_TRUE(output && input);
    EXPECT_EQ(output->itemText(0), "System default");
    EXPECT_EQ(output->currentText(), "ALSA: USB Audio (hw:9,0)");
    EXPECT_EQ(input->currentIndex(), 0);
    devices.page(0)->findChild<QCheckBox*>("controlSystemMixer")->setChecked(true);
    devices.accept();
    EXPECT_EQ(preferences().waveOutputDeviceName, "ALSA: USB Audio (hw:9,0)");
    EXPECT_EQ(preferences().waveInputDeviceName, "");
    EXPECT_TRUE(preferences().controlSystemMixer);
    EXPECT_NE(profileText().find("Wave output device=ALSA: USB Audio (hw:9,0)\n"), std::string::npos)
        << profileText();
    EXPECT_NE(profileText().find("Control the system mixer=yes"), std::string::npos);

    PreferencesDialog again;
    auto* colourPage = static_cast<CColors*>(again.page(6));
    EXPECT_EQ(colourPage->findChildren<QComboBox*>().first()->currentText(), "Red");
    colourPage->findChild<QPushButton*>("default")->click();
    again.accept();
    EXPECT_EQ(preferences().colours, Preferences::defaultColours());
}

TEST_F(QtHostTest, TheConversionBoxShowsBothNamesThePercentageAndAborts)
{
    HWND box = uiHost().createConversionBox("/in/a.wav", "/out/b.wav");
    QWidget* widget = widget_of(box);
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->findChild<QLabel*>("100")->text(), "/in/a.wav");
    EXPECT_EQ(widget->findChild<QLabel*>("101")->text(), "/out/b.wav");
    EXPECT_EQ(widget->findChild<QLabel*>("100")->font().styleHint(), QFont::TypeWriter);  // fixed pitch
    uiHost().setControlText(box, 102, "42%");
    EXPECT_EQ(widget->findChild<QLabel*>("102")->text(), "42%");
    EXPECT_FALSE(uiHost().takeCancelClick(box));
    auto* abort = widget->findChild<QPushButton*>("2");
    QTest::mousePress(abort, Qt::LeftButton, Qt::NoModifier, abort->rect().center());
    EXPECT_TRUE(uiHost().takeCancelClick(box));
    uiHost().destroyConversionBox(box);
}

// "NEWSELECT" and "SAVE" over a preset file: pick, delete with renumbering,
// and a duplicate name that is not replaced brings the previous text back.
TEST_F(DialogTest, PresetSelectAndSaveDialogs)
{
    PresetContext context;
    context.file = path("HVNFLNGE.INI");
    context.title = "Select Flange Parameters";
    context.section = "Flange Presets";
    context.keyPrefix = "Flange Preset";
    for (const char* name : {"Jet", "Slow", "Chorus"})
        ASSERT_EQ(save_preset(context, name, ""), SavePresetResult::Saved);
    {
        PresetSelectDialog select(context);
        EXPECT_EQ(select.windowTitle(), "Select Flange Parameters");
        ASSERT_EQ(select.list()->count(), 3);
        select.list()->setCurrentRow(1);
        select.deleteCurrent();
        ASSERT_EQ(select.list()->count(), 2);
        EXPECT_EQ(select.list()->item(1)->text(), "Chorus");
        select.list()->setCurrentRow(1);
        select.selectCurrent();
        EXPECT_EQ(select.result(), 1);
        EXPECT_EQ(select.chosen(), "Chorus");
    }
    EXPECT_EQ(list_presets(context), (std::vector<std::string>{"Jet", "Chorus"}));

    PresetSaveDialog save(context);
    save.nameEdit()->setText("Wide");
    save.accept();
    EXPECT_EQ(save.result(), 1);
    PresetSaveDialog again(context);
    again.nameEdit()->setText("Jet");
    host.scriptAnswers({IDNO});
    again.accept();
    EXPECT_NE(again.result(), 1);
    EXPECT_EQ(again.nameEdit()->text(), "");  // the text before this try
    EXPECT_EQ(list_presets(context), (std::vector<std::string>{"Jet", "Chorus", "Wide"}));
}

// At 1280 x 800 the preferences show every tab's title at once, and every
// page fits the dialog without being cut.
TEST_F(DialogTest, ThePreferencePagesFitWithoutScrollingTabs)
{
    PreferencesDialog dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(dialog.frameGeometry().width(), screen.width());
    EXPECT_LE(dialog.frameGeometry().height(), screen.height());
    auto* tabs = dialog.findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    QTabBar* bar = tabs->tabBar();
    ASSERT_EQ(bar->count(), 7);
    for (int i = 0; i < bar->count(); ++i) {
        EXPECT_TRUE(bar->rect().contains(bar->tabRect(i))) << bar->tabText(i).toStdString();
        EXPECT_GE(bar->tabRect(i).width(), bar->fontMetrics().horizontalAdvance(bar->tabText(i)))
            << bar->tabText(i).toStdString();
    }
    for (auto* scroll : bar->findChildren<QToolButton*>())
        EXPECT_FALSE(scroll->isVisible()) << "the tab row scrolls";
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QWidget* page = tabs->widget(i);
        QCoreApplication::processEvents();
        EXPECT_GE(page->width(), page->minimumSizeHint().width()) << tabs->tabText(i).toStdString();
        EXPECT_GE(page->height(), page->minimumSizeHint().height()) << tabs->tabText(i).toStdString();
    }
}
