// The magnified plot: the samples drawn replace the highlighted ones, the
// rest stays; long selections and a cancelled plot change nothing.

#include "modules/effect_commands.h"
#include "edit/undo.h"
#include "modules/magnified_plot.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"
#include "support/pcm_samples.h"

TEST(MagnifiedPlotLines, ALineSetsEverySampleBetweenItsEnds)
{
    MagnifiedPlot plot;
    plot.channels.assign(2, std::vector<float>(10, 0.0f));
    plot.drawLine(1, 8, -0.5f, 2, 0.5f);  // drawn right to left
    EXPECT_FLOAT_EQ(plot.channels[1][2], 0.5f);
    EXPECT_FLOAT_EQ(plot.channels[1][5], 0.0f);
    EXPECT_FLOAT_EQ(plot.channels[1][8], -0.5f);
    EXPECT_FLOAT_EQ(plot.channels[1][9], 0.0f);
    EXPECT_FLOAT_EQ(plot.channels[0][5], 0.0f);
    plot.drawLine(0, 3, 4.0f, 30, 4.0f);  // clipped to the plot and to full scale
    EXPECT_FLOAT_EQ(plot.channels[0][9], 1.0f);
    plot.drawLine(5, 0, 1, 1, 1);  // no such channel: nothing
}

class MagnifiedPlotTest : public DocumentTest {};

TEST_F(MagnifiedPlotTest, DrawnSamplesBecomeANewVersion)
{
    WavBuilder::Bytes data;
    for (int i = 0; i < 20000; ++i) {
        WavBuilder::put16(data, static_cast<std::uint16_t>(1000));
        WavBuilder::put16(data, static_cast<std::uint16_t>(2000));
    }
    writeFile(path("p.wav"), WavBuilder::pcm(2, 44100, 16, data));
    auto doc = open_document_file(path("p.wav"));
    doc->bHighlight = 1;
    set_selection_units(*doc, 2 * 5000, 2 * 5100);
    host.setPlotLines({{1, 10, 0.5f, 20, 0.5f}});
    ASSERT_EQ(magnified_plot_command(*doc), 1);
    const auto out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_NEAR(out[2 * 5015 + 1], 0.5f, 1e-4);
    EXPECT_NEAR(out[2 * 5015], 1000 / 32768.0f, 1e-6);     // the other channel
    EXPECT_NEAR(out[2 * 5009 + 1], 2000 / 32768.0f, 1e-6);  // before the line
    EXPECT_NEAR(out[2 * 4000 + 1], 2000 / 32768.0f, 1e-6);  // outside the highlight
    EXPECT_EQ(doc->szUndoLabel, "&Undo Magnified Plot...\tCtrl+Z");

    // Cancelled (nothing drawn) or too long: nothing changes.
    const std::string shown = doc->szFileName;
    host.setPlotLines({});
    EXPECT_EQ(magnified_plot_command(*doc), 0);
    set_selection_units(*doc, 0, 2 * 10000);
    host.setPlotLines({{0, 0, 0.1f, 1, 0.1f}});
    EXPECT_EQ(magnified_plot_command(*doc), 0);
    EXPECT_EQ(shownTexts().back(), "Highlight at most 8192 samples for the magnified plot.");
    EXPECT_EQ(doc->szFileName, shown);
    host.setPlotLines({});
}
