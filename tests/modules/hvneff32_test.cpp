// The level effects measured on their output: gains, envelopes, pan laws,
// modulation, reversal, the channels and bytes outside the highlight, Cancel
// and one Undo.

#include "app/posix_io.h"
#include "modules/effect_commands.h"
#include "modules/module_dialogs.h"
#include "edit/undo.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using Bytes = WavBuilder::Bytes;

namespace {

std::int16_t s16(const Bytes& b, std::size_t frame, int channel, int channels = 2)
{
    std::int16_t v;
    std::memcpy(&v, b.data() + (frame * static_cast<std::size_t>(channels) + static_cast<std::size_t>(channel)) * 2, 2);
    return v;
}

}  // namespace

class LevelEffectsTest : public DocumentTest {
protected:
    // A stereo 16-bit document: a full-scale-ish ramp pattern left, a
    // constant right, so that every change can be computed exactly.
    CChildFrame& open(std::size_t frames, int channels = 2, int bits = 16)
    {
        data.clear();
        for (std::size_t i = 0; i < frames; ++i)
            for (int c = 0; c < channels; ++c) {
                if (bits == 8)
                    data.push_back(static_cast<std::uint8_t>(c == 0 ? 128 + static_cast<int>(i % 200) - 100 : 178));
                else
                    WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(
                                                c == 0 ? static_cast<int>(i % 20000) - 10000 : 16000)));
            }
        writeFile(path("in.wav"), WavBuilder::pcm(static_cast<std::uint16_t>(channels), 44100,
                                                  static_cast<std::uint16_t>(bits), data));
        doc = open_document_file(path("in.wav"));
        EXPECT_TRUE(doc);
        return *doc;
    }
    // Highlights frames [from, to) of a stereo document.
    void select(std::size_t from, std::size_t to)
    {
        doc->bHighlight = 1;
        set_selection_units(*doc, static_cast<std::uint32_t>(from * doc->wfx.nChannels),
                            static_cast<std::uint32_t>(to * doc->wfx.nChannels));
    }
    int run(int id, std::vector<std::pair<std::string, std::string>> settings = {})
    {
        host.setEffectSettings(std::move(settings));
        const int r = run_effect_command(*doc, id);
        host.setEffectSettings({});
        return r;
    }
    // Every byte outside frames [from, to) is as it was.
    void expectOutsideUnchanged(const Bytes& now, std::size_t from, std::size_t to) const
    {
        ASSERT_EQ(now.size(), data.size());
        const std::size_t block = 2u * doc->wfx.nChannels;
        EXPECT_TRUE(std::equal(now.begin(), now.begin() + static_cast<long>(from * block), data.begin()));
        EXPECT_TRUE(std::equal(now.begin() + static_cast<long>(to * block), now.end(),
                               data.begin() + static_cast<long>(to * block)));
    }

    Bytes data;
    std::unique_ptr<CChildFrame> doc;
};

TEST_F(LevelEffectsTest, AmplifyAndNormalizeScaleOnlyTheSelectionAndOneUndoRestoresIt)
{
    CChildFrame& f = open(44100);
    const std::string original = f.szFileName;
    select(1000, 21000);
    ASSERT_EQ(run(11501, {{"gain", "-6.0206"}}), 1);
    Bytes out = readFile(f.szFileName);
    expectOutsideUnchanged(out, 1000, 21000);
    for (std::size_t i = 1000; i < 21000; i += 997) {
        EXPECT_NEAR(s16(out, i, 0), s16(data, i, 0) / 2.0, 1.0) << i;
        EXPECT_NEAR(s16(out, i, 1), 8000, 1.0);
    }
    EXPECT_EQ(f.szUndoLabel, "&Undo Amplify...\tCtrl+Z");
    undo_menu_command(f);
    EXPECT_EQ(f.szFileName, original);
    EXPECT_EQ(readFile(f.szFileName), data);

    // Percent, and normalize: the highlighted peak (10000 left, 16000 right)
    // goes to -6.0206 dB of full scale.
    undo_menu_command(f);
    select(0, 44100);
    ASSERT_EQ(run(11501, {{"mode", "normalize"}, {"peak", "-6.0206"}}), 1);
    out = readFile(f.szFileName);
    EXPECT_NEAR(s16(out, 5, 1), 16384, 2);
    select(0, 44100);
    ASSERT_EQ(run(11501, {{"mode", "percent"}, {"percent", "50"}}), 1);
    EXPECT_NEAR(s16(readFile(f.szFileName), 5, 1), 8192, 2);
}

TEST_F(LevelEffectsTest, ClearSilencesAndTheOtherChannelKeepsItsSamples)
{
    CChildFrame& f = open(30000);
    select(100, 20000);
    f.bRightChannel = 0;  // only the left channel highlighted
    ASSERT_EQ(run(11301), 1);
    const Bytes out = readFile(f.szFileName);
    expectOutsideUnchanged(out, 100, 20000);
    for (std::size_t i = 100; i < 20000; i += 311) {
        EXPECT_EQ(s16(out, i, 0), 0);
        EXPECT_EQ(s16(out, i, 1), 16000);
    }
    EXPECT_EQ(f.szUndoLabel, "&Undo Clear...\tCtrl+Z");
}

TEST_F(LevelEffectsTest, FadesFollowTheirEnvelopes)
{
    CChildFrame& f = open(10001);
    select(0, 10001);
    ASSERT_EQ(run(11507, {{"direction", "in"}, {"curve", "linear"}}), 1);
    Bytes out = readFile(f.szFileName);
    EXPECT_EQ(s16(out, 0, 1), 0);
    EXPECT_NEAR(s16(out, 2500, 1), 4000, 1);
    EXPECT_NEAR(s16(out, 5000, 1), 8000, 1);
    EXPECT_EQ(s16(out, 10000, 1), 16000);

    // Logarithmic fade-out over 60 dB: -30 dB half-way, silence at the end.
    undo_menu_command(f);
    select(0, 10001);
    ASSERT_EQ(run(11507, {{"direction", "out"}, {"curve", "logarithmic"}, {"range", "60"}}), 1);
    out = readFile(f.szFileName);
    EXPECT_EQ(s16(out, 0, 1), 16000);
    EXPECT_NEAR(s16(out, 5000, 1), 16000 * std::pow(10.0, -30.0 / 20), 1.0);
    EXPECT_NEAR(s16(out, 2500, 1), 16000 * std::pow(10.0, -15.0 / 20), 1.0);
    EXPECT_EQ(s16(out, 10000, 1), 0);
}

TEST_F(LevelEffectsTest, PanTurnsDownTheFarSideAndRefusesMono)
{
    CChildFrame& f = open(8001);
    select(0, 8001);
    // All the way left, linear: the right side is silent, the left untouched.
    ASSERT_EQ(run(11512, {{"start", "-100"}, {"end", "-100"}, {"law", "linear"}}), 1);
    Bytes out = readFile(f.szFileName);
    EXPECT_EQ(s16(out, 4000, 1), 0);
    EXPECT_EQ(s16(out, 4000, 0), s16(data, 4000, 0));
    // A sweep from the centre to half right with constant power: at the
    // centre each side is 3 dB down; half right is three eighths of the way
    // round the quarter circle from left to right: cos and sin of 67.5
    // degrees. The power of the two sides together stays that of one.
    undo_menu_command(f);
    select(0, 8001);
    ASSERT_EQ(run(11512, {{"start", "0"}, {"end", "50"}}), 1);
    out = readFile(f.szFileName);
    const double minus3dB = std::pow(10.0, -3.0103 / 20);
    EXPECT_NEAR(s16(out, 0, 0), s16(data, 0, 0) * minus3dB, 1.0);
    EXPECT_NEAR(s16(out, 0, 1), 16000 * minus3dB, 1.0);
    EXPECT_NEAR(s16(out, 8000, 0), s16(data, 8000, 0) * std::cos(67.5 * M_PI / 180), 1.0);
    EXPECT_NEAR(s16(out, 8000, 1), 16000 * std::sin(67.5 * M_PI / 180), 1.0);
    for (const std::size_t i : {std::size_t{0}, std::size_t{2000}, std::size_t{5000}, std::size_t{8000}}) {
        const double right = s16(out, i, 1) / 16000.0;  // the right side's gain, read off its constant
        if (std::abs(s16(data, i, 0)) > 1000) {
            const double left = s16(out, i, 0) / static_cast<double>(s16(data, i, 0));
            EXPECT_NEAR(left * left + right * right, 1.0, 0.01) << i;
        }
    }

    open(1000, 1);
    select(0, 1000);
    EXPECT_EQ(run(11512), 0);
    EXPECT_EQ(shownTexts().back(), "Pan needs a stereo file.");
}

TEST_F(LevelEffectsTest, ModulationAndReverse)
{
    CChildFrame& f = open(44100);
    select(0, 44100);
    // Ring modulation by 1 Hz: the constant right channel becomes a sine.
    ASSERT_EQ(run(11510, {{"mode", "ring"}, {"frequency", "1"}}), 1);
    Bytes out = readFile(f.szFileName);
    EXPECT_NEAR(s16(out, 11025, 1), 16000, 1);   // a quarter second: the top
    EXPECT_NEAR(s16(out, 33075, 1), -16000, 1);  // three quarters: the bottom
    EXPECT_NEAR(s16(out, 22050, 1), 0, 1);
    // Tremolo, full depth, 2 Hz: silent at the troughs, full at the crests.
    undo_menu_command(f);
    select(0, 44100);
    ASSERT_EQ(run(11510, {{"mode", "tremolo"}, {"frequency", "2"}, {"depth", "100"}}), 1);
    out = readFile(f.szFileName);
    EXPECT_NEAR(s16(out, 5512, 1), 16000, 2);   // sine crest at 1/8 s
    EXPECT_NEAR(s16(out, 16537, 1), 0, 2);      // trough at 3/8 s

    // Reverse of stereo frames: frame i becomes frame end-1-i, channels kept.
    undo_menu_command(f);
    const std::size_t from = 100, to = 25900;
    select(from, to);
    ASSERT_EQ(run(11515), 1);
    out = readFile(f.szFileName);
    expectOutsideUnchanged(out, from, to);
    for (std::size_t i = from; i < to; i += 101) {
        EXPECT_EQ(s16(out, i, 0), s16(data, to - 1 - (i - from), 0));
        EXPECT_EQ(s16(out, i, 1), 16000);
    }
}

// A stereo highlight from an odd unit (the command line allows one) is
// taken in whole frames, as the edit operations take it: the channels stay
// in step and the highlight shows the frames that changed.
TEST_F(LevelEffectsTest, AHighlightFromAnOddUnitIsTakenInWholeFrames)
{
    CChildFrame& f = open(8000);
    f.bHighlight = 1;
    set_selection_units(f, 1, 2 * 4000 + 1);  // units 1 .. 8001: frames 0 .. 4000 and a half
    ASSERT_EQ(run(11512, {{"start", "-100"}, {"end", "-100"}, {"law", "linear"}}), 1);
    EXPECT_EQ(f.nSelStart, 0u);
    EXPECT_EQ(f.nSelEnd, 8000u);
    Bytes out = readFile(f.szFileName);
    expectOutsideUnchanged(out, 0, 4000);
    for (std::size_t i = 0; i < 4000; i += 37) {
        EXPECT_EQ(s16(out, i, 0), s16(data, i, 0)) << i;  // the left kept
        EXPECT_EQ(s16(out, i, 1), 0) << i;                // the right silent
    }
    undo_menu_command(f);
    f.bHighlight = 1;
    set_selection_units(f, 3, 2 * 3000 + 3);
    ASSERT_EQ(run(11515), 1);
    out = readFile(f.szFileName);
    expectOutsideUnchanged(out, 1, 3001);
    for (std::size_t i = 1; i < 3001; i += 29) {
        EXPECT_EQ(s16(out, i, 0), s16(data, 3001 - i, 0)) << i;  // frame 1 + k takes frame 3000 - k
        EXPECT_EQ(s16(out, i, 1), 16000) << i;
    }
}

// Amplify by +20 dB on a sine at half scale would clip: without an answer
// nothing changes and the message says how many samples and by how much;
// Normalize gives the amplified sine with its peak at -0.1 dBFS; Clip gives
// it clipped at full scale. The counts are made here from the samples.
TEST_F(LevelEffectsTest, AnEffectThatWouldClipAsksFirst)
{
    std::vector<double> x(20000);
    data.clear();
    for (std::size_t i = 0; i < x.size(); ++i) {
        const auto v = static_cast<std::int16_t>(std::lround(16384 * std::sin(2 * M_PI * 441 * i / 44100.0)));
        x[i] = v / 32768.0;
        WavBuilder::put16(data, static_cast<std::uint16_t>(v));
    }
    writeFile(path("sine.wav"), WavBuilder::pcm(1, 44100, 16, data));
    doc = open_document_file(path("sine.wav"));
    ASSERT_TRUE(doc);
    const double gain = std::pow(10.0, 20.0 / 20);
    std::size_t over = 0;
    double peak = 0;
    for (double v : x) {
        over += std::fabs(v * gain) > 1.0;
        peak = std::max(peak, std::fabs(v * gain));
    }
    char expected[200];
    std::snprintf(expected, sizeof expected, "Amplify would clip %zu samples: its peak is %.1f dB over full scale.", over,
                  20 * std::log10(peak));

    select(0, x.size());
    host.clearShown();
    EXPECT_EQ(run(11501, {{"gain", "20"}}), 0);
    EXPECT_EQ(readFile(doc->szFileName), data);
    EXPECT_FALSE(doc->bUndoAvailable);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].text.rfind(expected, 0), 0u) << host.shown()[0].text;

    host.setClipAnswer(ModuleDialogs::ClipAnswer::Normalize);
    select(0, x.size());
    ASSERT_EQ(run(11501, {{"gain", "20"}}), 1);
    Bytes out = readFile(doc->szFileName);
    double outPeak = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        outPeak = std::max(outPeak, std::fabs(s16(out, i, 0, 1) / 32768.0));
    EXPECT_NEAR(20 * std::log10(outPeak), -0.1, 0.01);
    // The shape is the original's: every sample the original times one gain.
    const double k = outPeak / (peak / gain);
    for (std::size_t i = 0; i < x.size(); i += 37)
        EXPECT_NEAR(s16(out, i, 0, 1) / 32768.0, x[i] * k, 1.0 / 32768) << i;

    undo_menu_command(*doc);
    host.setClipAnswer(ModuleDialogs::ClipAnswer::Clip);
    select(0, x.size());
    ASSERT_EQ(run(11501, {{"gain", "20"}}), 1);
    out = readFile(doc->szFileName);
    std::size_t atFullScale = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        atFullScale += s16(out, i, 0, 1) == 32767 || s16(out, i, 0, 1) == -32768;
    EXPECT_NEAR(static_cast<double>(atFullScale), static_cast<double>(over), over * 0.01 + 2);
}

TEST_F(LevelEffectsTest, ReverseOverManyBlocksAndEightBitData)
{
    // More than two blocks of 65536 frames, 8-bit mono (an even length: an
    // odd one's pad byte moves the samples as the loader has always taken
    // them).
    CChildFrame& f = open(150000, 1, 8);
    select(1, 149999);
    ASSERT_EQ(run(11515), 1);
    const Bytes out = readFile(f.szFileName);
    ASSERT_EQ(out.size(), data.size());
    EXPECT_EQ(out[0], data[0]);
    EXPECT_EQ(out[149999], data[149999]);
    for (std::size_t i = 1; i < 149999; i += 4999)
        EXPECT_EQ(out[i], data[149999 - i]) << i;
    // Amplify by 0 dB leaves 8-bit samples exactly as they were.
    select(0, 150000);
    ASSERT_EQ(run(11501, {{"gain", "0"}}), 1);
    EXPECT_EQ(readFile(f.szFileName), out);
}

TEST_F(LevelEffectsTest, NothingHappensWithoutASelectionOnCancelOrWithABadSetting)
{
    CChildFrame& f = open(150000);
    const std::string original = f.szFileName;
    // No highlight: nothing runs, nothing is shown.
    f.bHighlight = 0;
    host.clearShown();
    EXPECT_EQ(run(11501), 0);
    EXPECT_EQ(run(11515), 0);
    EXPECT_TRUE(host.shown().empty());

    // Cancel after the first block: the document is as it was, nothing to undo.
    select(0, 150000);
    host.cancelAfterPolls(1);
    EXPECT_EQ(run(11501, {{"gain", "-3"}}), 0);
    EXPECT_EQ(f.szFileName, original);
    EXPECT_EQ(readFile(f.szFileName), data);
    EXPECT_FALSE(f.bUndoAvailable);
    EXPECT_TRUE(f.szRedoFileName.empty());

    // A setting out of range: the reason, and nothing runs.
    EXPECT_EQ(run(11501, {{"gain", "99"}}), 0);
    EXPECT_EQ(shownTexts().back(), "gain runs from -60 to 40");
    EXPECT_EQ(run(11507, {{"curve", "cubic"}}), 0);
    EXPECT_EQ(shownTexts().back(), "curve is one of: linear logarithmic");
    EXPECT_EQ(readFile(f.szFileName), data);
}
