// The windows on an ordinary and on a double-density screen. The
// HighDensity tests run in their own CTest entry with QT_SCALE_FACTOR=2 on
// a 1600 x 1000 screen (800 x 500 window pixels).

#include "app/command_icons.h"
#include "app/main_frame.h"
#include "view/child_frame_window.h"

#include "gui_test.h"

#include <QAction>
#include <QWidgetAction>
#include <QGuiApplication>
#include <QScreen>
#include <QToolBar>
#include <QToolButton>

namespace {

// A crescendo: the trace's top edge rises a little from column to column.
WavBuilder::Bytes crescendo()
{
    WavBuilder::Bytes data;
    const int frames = 441000;
    for (int i = 0; i < frames; ++i) {
        const double s = std::sin(i * 0.0627) * 30000.0 * i / frames;
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(s)));
    }
    return WavBuilder::pcm(1, 44100, 16, data);
}

// The top of the data colour in a column of an image, or -1.
int traceTop(const QImage& image, int x, int from, int to, QRgb data)
{
    for (int y = from; y < to; ++y)
        if ((image.pixel(x, y) & 0xFFFFFF) == (data & 0xFFFFFF))
            return y;
    return -1;
}

}  // namespace

using ControlBarsTest = GuiTest;

// At 1280 pixels every bar shows all its buttons: icons, no overflow menus,
// the command's text and key as the tool tip.
TEST_F(ControlBarsTest, TheBarsFitAt1280PixelsWithIconsAndTips)
{
    CMainFrame frame;
    frame.resize(1280, 760);
    frame.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&frame));
    QCoreApplication::processEvents();
    int buttons = 0;
    for (int i = 0; i < kControlBarCount; ++i) {
        QToolBar* bar = frame.controlBar(i);
        if (!bar->isVisible())
            continue;
        SCOPED_TRACE(bar->windowTitle().toStdString());
        for (QToolButton* b : bar->findChildren<QToolButton*>()) {
            const bool overflow = b->objectName() == QLatin1String("qt_toolbar_ext_button") && b->isVisible();
            EXPECT_FALSE(overflow) << "the bar overflows into a menu";
        }
        for (QAction* a : bar->actions()) {
            if (a->isSeparator() || qobject_cast<QWidgetAction*>(a))
                continue;
            EXPECT_FALSE(a->icon().isNull()) << a->text().toStdString();
            EXPECT_FALSE(a->toolTip().isEmpty()) << a->text().toStdString();
            ++buttons;
        }
        EXPECT_EQ(bar->toolButtonStyle(), Qt::ToolButtonIconOnly);
    }
    EXPECT_GE(buttons, 20);
    // Go to end's tip names the command and its key.
    EXPECT_TRUE(frame.action(11801)->toolTip().contains(QStringLiteral("Ctrl+E"))) << frame.action(11801)->toolTip().toStdString();
}

class HighDensityTest : public GuiTest {
protected:
    void SetUp() override
    {
        GuiTest::SetUp();
        if (qApp->devicePixelRatio() < 2.0)
            GTEST_SKIP() << "runs with QT_SCALE_FACTOR=2 (CTest entry gui_high_density_tests)";
    }
};

TEST_F(HighDensityTest, TheMainWindowOpensWithinTheScreen)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    ASSERT_EQ(screen.size(), QSize(800, 500));  // 1600 x 1000 at a factor of 2
    CMainFrame frame;
    frame.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&frame));
    EXPECT_TRUE(screen.contains(frame.frameGeometry())) << frame.frameGeometry().width() << "x"
                                                        << frame.frameGeometry().height();
    // Icons come at the device's resolution.
    const QPixmap icon = frame.action(11401)->icon().pixmap(QSize(20, 20), 2.0);
    EXPECT_EQ(icon.size(), QSize(40, 40));
    EXPECT_EQ(icon.devicePixelRatio(), 2.0);
}

// The waveform has a column for every device pixel: the trace's edge moves
// between the two halves of a window pixel, which a picture drawn at window
// resolution and enlarged never does. The play cursor is two device pixels wide.
TEST_F(HighDensityTest, TheWaveformIsDrawnAtTheDevicePixelRatio)
{
    writeFile(path("crescendo.wav"), crescendo());
    auto f = open_document_file(path("crescendo.wav"));
    ASSERT_TRUE(f);
    ChildFrameWindow window(std::move(f));
    window.resize(600, 300);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.repaint();
    const QImage& picture = window.lastPaint();
    EXPECT_EQ(picture.devicePixelRatio(), 2.0);
    EXPECT_EQ(picture.size(), QSize(1200, 600));
    const QRgb data = qRgb(0, 0, 128);
    const int top = (46 + 2) * 2, bottom = (300 - 25) * 2;
    int split = 0, columns = 0;
    for (int x = 20; x + 1 < 1100; x += 2) {
        const int a = traceTop(picture, x, top, bottom, data);
        const int b = traceTop(picture, x + 1, top, bottom, data);
        if (a < 0 || b < 0)
            continue;
        ++columns;
        split += a != b;
    }
    ASSERT_GT(columns, 300);
    EXPECT_GT(split, 20) << "the trace is a window-resolution picture enlarged";

    // The ruler's text is drawn at the device's resolution too: its glyphs
    // have edges on odd device rows and columns.
    int oddEdges = 0;
    for (int y = 30; y < 60; ++y)
        for (int x = 1; x < 1199; x += 2)
            oddEdges += (picture.pixel(x, y) & 0xFFFFFF) != (picture.pixel(x - 1, y) & 0xFFFFFF);
    EXPECT_GT(oddEdges, 10);

    window.setPlayCursor(100000);
    const QImage shot = window.grab().toImage();
    ASSERT_EQ(shot.devicePixelRatio(), 2.0);
    const int cursorX = static_cast<int>(window.frame().sample_to_pixel(100000));
    int red = 0;
    for (int dx = -2; dx < 4; ++dx)
        red += shot.pixel(cursorX * 2 + dx, 400) == qRgb(255, 0, 0);
    EXPECT_EQ(red, 2) << "the cursor is one window pixel, two device pixels, wide";
}
