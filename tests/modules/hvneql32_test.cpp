// Filters, the graphic equalizer and the flanger measured at test
// frequencies; the named low-pass that other commands use.

#include "app/posix_io.h"
#include "modules/effect_commands.h"
#include "edit/undo.h"
#include "modules/module_entries.h"
#include "view/spectrogram.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"
#include "support/pcm_samples.h"
#include "support/tone_analysis.h"

#include "../../modules/hvneql32/biquad.h"

#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

double rmsDb(const std::vector<float>& s, std::size_t from)
{
    double sum = 0;
    for (std::size_t i = from; i < s.size(); ++i)
        sum += static_cast<double>(s[i]) * s[i];
    return 10 * std::log10(std::max(sum / static_cast<double>(s.size() - from), 1e-20));
}

}  // namespace

class EqlEffectsTest : public DocumentTest {
protected:
    // The gain in dB that effect `id` gives a sine at `frequency` (mono,
    // 44.1 kHz, the second half measured so that the filter has settled).
    double gainAt(int id, double frequency, std::vector<std::pair<std::string, std::string>> settings)
    {
        WavBuilder::Bytes data;
        std::vector<float> in(44100);
        for (std::size_t i = 0; i < in.size(); ++i) {
            in[i] = static_cast<float>(0.25 * std::sin(2 * M_PI * frequency * i / 44100.0));
            WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(in[i] * 32767))));
        }
        writeFile(path("in.wav"), WavBuilder::pcm(1, 44100, 16, data));
        doc = open_document_file(path("in.wav"));
        doc->bHighlight = 1;
        set_selection_units(*doc, 0, doc->nTotalSamples);
        host.setEffectSettings(std::move(settings));
        const int ran = run_effect_command(*doc, id);
        host.setEffectSettings({});
        EXPECT_EQ(ran, 1);
        return rmsDb(pcm16_samples(readFile(doc->szFileName)), 22050) - rmsDb(in, 22050);
    }
    std::unique_ptr<CChildFrame> doc;
};

TEST(BiquadDesign, ButterworthSectionsMeetAtMinusThreeDecibelsAtTheCutOff)
{
    for (int order : {2, 4, 6, 8}) {
        double at = 1, octaveUp = 1;
        for (const BiquadCoefficients& c : design_filter(FilterType::LowPass, 44100, 1000, 0, order)) {
            at *= c.magnitude(44100, 1000);
            octaveUp *= c.magnitude(44100, 2000);
        }
        EXPECT_NEAR(20 * std::log10(at), -3.01, 0.05) << order;
        // 6 dB per octave and order, near enough an octave up.
        EXPECT_NEAR(20 * std::log10(octaveUp), -6.0 * order, 1.5) << order;
    }
}

TEST_F(EqlEffectsTest, FiltersPassAndStopWhereTheyShould)
{
    const std::vector<std::pair<std::string, std::string>> lowPass = {
        {"type", "low-pass"}, {"frequency", "1000"}, {"order", "4"}};
    EXPECT_NEAR(gainAt(11509, 250, lowPass), 0.0, 0.3);
    EXPECT_NEAR(gainAt(11509, 1000, lowPass), -3.0, 0.5);
    EXPECT_NEAR(gainAt(11509, 4000, lowPass), -48.0, 2.0);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Filter...\tCtrl+Z");
    const std::vector<std::pair<std::string, std::string>> highPass = {
        {"type", "high-pass"}, {"frequency", "1000"}, {"order", "2"}};
    EXPECT_NEAR(gainAt(11509, 8000, highPass), 0.0, 0.3);
    EXPECT_NEAR(gainAt(11509, 250, highPass), -24.0, 1.5);
    const std::vector<std::pair<std::string, std::string>> notch = {
        {"type", "band-stop"}, {"frequency", "1000"}, {"bandwidth", "100"}, {"order", "4"}};
    EXPECT_LT(gainAt(11509, 1000, notch), -30.0);
    EXPECT_NEAR(gainAt(11509, 3000, notch), 0.0, 0.3);
    const std::vector<std::pair<std::string, std::string>> band = {
        {"type", "band-pass"}, {"frequency", "1000"}, {"bandwidth", "200"}, {"order", "2"}};
    EXPECT_NEAR(gainAt(11509, 1000, band), 0.0, 0.3);
    EXPECT_LT(gainAt(11509, 4000, band), -20.0);
}

// The band filters' Bandwidth is the whole filter's width between its
// half-power points, at every slope: a band-pass of 500 Hz round 1 kHz is
// 3 dB down where the two edges are 500 Hz apart with 1 kHz their geometric
// mean, and a band-stop is 3 dB down at the same two places.
TEST_F(EqlEffectsTest, TheBandFiltersAreAsWideAsTheirBandwidth)
{
    const double lower = std::sqrt(250.0 * 250.0 + 1000.0 * 1000.0) - 250, upper = lower + 500;
    for (const char* order : {"2", "4", "8"}) {
        SCOPED_TRACE(std::string("slope ") + order);
        for (const char* type : {"band-pass", "band-stop"}) {
            SCOPED_TRACE(type);
            const std::vector<std::pair<std::string, std::string>> settings = {
                {"type", type}, {"frequency", "1000"}, {"bandwidth", "500"}, {"order", order}};
            EXPECT_NEAR(gainAt(11509, lower, settings), -3.01, 0.25);
            EXPECT_NEAR(gainAt(11509, upper, settings), -3.01, 0.25);
        }
    }
}

TEST_F(EqlEffectsTest, TheEqualizerLiftsItsBandAndLeavesTheOthers)
{
    const std::vector<std::pair<std::string, std::string>> lift = {{"band6", "12"}};  // 1 kHz
    EXPECT_NEAR(gainAt(11506, 1000, lift), 12.0, 0.3);
    EXPECT_NEAR(gainAt(11506, 8000, lift), 0.0, 0.5);
    EXPECT_NEAR(gainAt(11506, 125, lift), 0.0, 0.5);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Equalize...\tCtrl+Z");
    const std::vector<std::pair<std::string, std::string>> cut = {{"band9", "-12"}};  // 8 kHz
    EXPECT_NEAR(gainAt(11506, 8000, cut), -12.0, 0.3);
}

TEST_F(EqlEffectsTest, AStillFlangerIsACombWithItsNotchAtHalfTheInverseDelay)
{
    // 1 ms delay mixed half and half: 500 Hz cancels, 1 kHz doubles (+0 dB
    // against the half-level sum: 0.5 + 0.5).
    const std::vector<std::pair<std::string, std::string>> still = {
        {"delay", "1"}, {"depth", "0"}, {"feedback", "0"}, {"mix", "50"}};
    EXPECT_LT(gainAt(11508, 500, still), -30.0);
    EXPECT_NEAR(gainAt(11508, 1000, still), 0.0, 0.3);
    // A moving one changes the sound without blowing up.
    const double moving = gainAt(11508, 700, {{"delay", "2"}, {"depth", "1.5"}, {"rate", "0.5"}, {"feedback", "80"}});
    EXPECT_TRUE(std::isfinite(moving));
    EXPECT_LT(std::fabs(moving), 20.0);
}

TEST_F(EqlEffectsTest, TheNamedLowPassFiltersTheActiveDocument)
{
    gainAt(11509, 100, {{"frequency", "20000"}});  // leaves a document open
    const std::string before = doc->szFileName;
    set_active_frame(doc.get());
    char name[] = "LOPASS", title[] = "Antialiasing filtering";
    // A 5 kHz tone through the shipped "LOPASS" preset at 1 kHz: about 8
    // times the cut-off at 48 dB an octave.
    writeFile(path("hi.wav"), [] {
        WavBuilder::Bytes d;
        for (int i = 0; i < 44100; ++i)
            WavBuilder::put16(d, static_cast<std::uint16_t>(static_cast<std::int16_t>(
                                     std::lround(8000 * std::sin(2 * M_PI * 5000 * i / 44100.0)))));
        return WavBuilder::pcm(1, 44100, 16, d);
    }());
    auto hi = open_document_file(path("hi.wav"));
    hi->bHighlight = 1;
    set_selection_units(*hi, 0, hi->nTotalSamples);
    set_active_frame(hi.get());
    do_filter_waveform(1000.0f, name, title);
    EXPECT_LT(rmsDb(pcm16_samples(readFile(hi->szFileName)), 22050), -80.0);
    set_active_frame(nullptr);
    EXPECT_EQ(doc->szFileName, before);
}

namespace {

// The frequency of a steady tone from its rising zero crossings.
double frequencyOf(const std::vector<float>& s, std::size_t from, std::size_t to, int channels, double rate)
{
    std::size_t first = 0, last = 0, count = 0;
    for (std::size_t i = from + 1; i < to; ++i) {
        const float a = s[(i - 1) * static_cast<std::size_t>(channels)], b = s[i * static_cast<std::size_t>(channels)];
        if (a < 0 && b >= 0) {
            if (count == 0)
                first = i;
            last = i;
            ++count;
        }
    }
    return count > 1 ? (count - 1) * rate / static_cast<double>(last - first) : 0.0;
}

}  // namespace

TEST_F(EqlEffectsTest, PitchKeepsTheDurationAndTempoKeepsThePitch)
{
    // Three seconds of a 440 Hz stereo tone between a second of silence on
    // each side; the tone is highlighted.
    const auto make = [this] {
        WavBuilder::Bytes data;
        for (int i = 0; i < 5 * 44100; ++i) {
            const bool tone = i >= 44100 && i < 4 * 44100;
            const auto v = static_cast<std::int16_t>(tone ? std::lround(12000 * std::sin(2 * M_PI * 440 * i / 44100.0)) : 0);
            WavBuilder::put16(data, static_cast<std::uint16_t>(v));
            WavBuilder::put16(data, static_cast<std::uint16_t>(v));
        }
        writeFile(path("tone.wav"), WavBuilder::pcm(2, 44100, 16, data));
        doc = open_document_file(path("tone.wav"));
        doc->bHighlight = 1;
        set_selection_units(*doc, 2 * 44100, 2 * 4 * 44100);
    };
    const auto apply = [this](int id, std::vector<std::pair<std::string, std::string>> settings) {
        host.setEffectSettings(std::move(settings));
        EXPECT_EQ(run_effect_command(*doc, id), 1);
        host.setEffectSettings({});
        return pcm16_samples(readFile(doc->szFileName));
    };

    make();
    auto out = apply(11502, {{"semitones", "12"}});
    ASSERT_EQ(out.size(), 2u * 5 * 44100);  // the duration is kept
    EXPECT_NEAR(frequencyOf(out, 2 * 44100, 3 * 44100, 2, 44100), 880.0, 2.0);
    EXPECT_EQ(out[2 * 1000], 0.0f);  // the silence around is untouched
    EXPECT_EQ(out[2 * (4 * 44100 + 1000)], 0.0f);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Pitch...\tCtrl+Z");

    make();
    out = apply(11500, {{"tempo", "200"}});
    // The three seconds become one and a half; 440 Hz stays 440 Hz.
    EXPECT_EQ(out.size(), 2u * (2 * 44100 + 44100 * 3 / 2));
    EXPECT_EQ(doc->nTotalSamples, 2u * (2 * 44100 + 44100 * 3 / 2));
    EXPECT_NEAR(frequencyOf(out, 44100 + 11025, 44100 + 55125, 2, 44100), 440.0, 2.0);
    EXPECT_EQ(doc->nSelEnd, 2u * (44100 + 44100 * 3 / 2));  // the highlight covers the result
    EXPECT_EQ(doc->szUndoLabel, "&Undo Tempo...\tCtrl+Z");
    undo_menu_command(*doc);
    EXPECT_EQ(doc->nTotalSamples, 2u * 5 * 44100);

    // Accelerando from 100 % to 200 %: 3 s x ln 2 long; a glissando up an
    // octave ends near 880 Hz.
    make();
    out = apply(11500, {{"mode", "gradual"}, {"start", "100"}, {"end", "200"}});
    EXPECT_NEAR(static_cast<double>(out.size()) / 2 / 44100, 2 + 3 * std::log(2.0), 0.02);
    make();
    out = apply(11502, {{"mode", "glissando"}, {"start", "0"}, {"end", "12"}});
    // 0.1 to 0.3 s in: about 0.8 semitones up; 2.8 to 2.95 s: about 11.5.
    // (The stretcher applies a new pitch to what it still holds, so the
    // glide runs a little ahead: hence the tolerance.)
    EXPECT_NEAR(frequencyOf(out, 44100 + 4410, 44100 + 13230, 2, 44100), 440.0 * std::pow(2.0, 0.8 / 12), 15.0);
    EXPECT_NEAR(frequencyOf(out, 4 * 44100 - 8820, 4 * 44100 - 2205, 2, 44100), 440.0 * std::pow(2.0, 11.5 / 12),
                15.0);
}

namespace {

// Signal-to-noise ratio of a 1 kHz tone in a signal: the tone fitted by
// least squares, everything else counted as noise.
double toneSnrDb(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    const SineFit fit = fit_sine(s, from, to, 1000, 44100);
    return 10 * std::log10(fit.tonePower / fit.restPower);
}

}  // namespace

TEST_F(EqlEffectsTest, NoiseReductionImprovesTheSignalToNoiseRatioByTenDecibels)
{
    // One second of white noise alone, then four of a tone in the same noise.
    std::vector<float> s(5 * 44100);
    std::uint32_t seed = 1;
    for (std::size_t i = 0; i < s.size(); ++i) {
        seed = seed * 1664525u + 1013904223u;
        const double noise = (static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.2;
        s[i] = static_cast<float>(noise + (i >= 44100 ? 0.2 * std::sin(2 * M_PI * 1000 * i / 44100.0) : 0.0));
    }
    WavBuilder::Bytes data;
    for (float v : s)
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32767))));
    writeFile(path("noisy.wav"), WavBuilder::pcm(1, 44100, 16, data));
    doc = open_document_file(path("noisy.wav"));
    const double before = toneSnrDb(s, 2 * 44100, 4 * 44100);

    // Without a profile: the reason, nothing changes.
    doc->bHighlight = 1;
    set_selection_units(*doc, 44100, 5 * 44100);
    EXPECT_EQ(run_effect_command(*doc, 11511), 0);
    EXPECT_NE(shownTexts().back().find("First take a noise profile"), std::string::npos);

    set_selection_units(*doc, 0, 44100);
    host.setEffectSettings({{"step", "profile"}});
    ASSERT_EQ(run_effect_command(*doc, 11511), 1);
    EXPECT_FALSE(doc->bUndoAvailable);  // the profile changes nothing
    set_selection_units(*doc, 44100, 5 * 44100);
    host.setEffectSettings({{"reduction", "30"}, {"oversubtraction", "2"}});
    ASSERT_EQ(run_effect_command(*doc, 11511), 1);
    host.setEffectSettings({});
    const auto out = pcm16_samples(readFile(doc->szFileName));
    ASSERT_EQ(out.size(), s.size());  // the length is kept
    const double after = toneSnrDb(out, 2 * 44100, 4 * 44100);
    EXPECT_GT(after - before, 10.0) << "before " << before << " dB, after " << after << " dB";
    // The noise-only head is untouched.
    EXPECT_NEAR(out[1000], s[1000], 1.0 / 32768);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Noise reduction...\tCtrl+Z");
}

TEST_F(EqlEffectsTest, QuantizeMovesTheHighlightLeavingSilenceBehind)
{
    // 10 kHz mono: one frame is 0.1 ms.
    WavBuilder::Bytes data;
    for (int i = 0; i < 20000; ++i)
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(i % 30000 + 1)));
    writeFile(path("q.wav"), WavBuilder::pcm(1, 10000, 16, data));
    const auto open = [&] {
        doc = open_document_file(path("q.wav"));
        doc->bHighlight = 1;
    };
    const auto value = [](const std::vector<float>& s, std::size_t i) { return std::lround(s[i] * 32768); };
    open();
    set_selection_units(*doc, 1000, 3000);
    host.setEffectSettings({{"shift", "50"}});  // 500 frames later
    ASSERT_EQ(run_effect_command(*doc, 11513), 1);
    auto out = pcm16_samples(readFile(doc->szFileName));
    ASSERT_EQ(out.size(), 20000u);
    EXPECT_EQ(value(out, 999), 1000);
    EXPECT_EQ(value(out, 1000), 0);
    EXPECT_EQ(value(out, 1499), 0);
    EXPECT_EQ(value(out, 1500), 1001);  // the old frame 1000
    EXPECT_EQ(value(out, 3499), 3000);
    EXPECT_EQ(value(out, 3500), 3501);
    EXPECT_EQ(doc->nSelStart, 1500u);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Quantize...\tCtrl+Z");

    // Earlier by 50 ms.
    open();
    set_selection_units(*doc, 1000, 3000);
    host.setEffectSettings({{"shift", "-50"}});
    ASSERT_EQ(run_effect_command(*doc, 11513), 1);
    out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_EQ(value(out, 499), 500);
    EXPECT_EQ(value(out, 500), 1001);
    EXPECT_EQ(value(out, 2499), 3000);
    EXPECT_EQ(value(out, 2500), 0);
    EXPECT_EQ(value(out, 2999), 0);
    EXPECT_EQ(value(out, 3000), 3001);

    // Quantize at 120 beats a minute on quarter notes (5000 frames): a start
    // at 6200 moves to 5000.
    EXPECT_EQ(quantize_offset(6200, 5000), -1200);
    EXPECT_EQ(quantize_offset(7600, 5000), 2400);
    open();
    set_selection_units(*doc, 6200, 7000);
    host.setEffectSettings({{"mode", "quantize"}, {"tempo", "120"}, {"grid", "1/4"}});
    ASSERT_EQ(run_effect_command(*doc, 11513), 1);
    EXPECT_EQ(doc->nSelStart, 5000u);
    EXPECT_EQ(value(pcm16_samples(readFile(doc->szFileName)), 5000), 6201);

    // Past an edge: the message, nothing changes.
    open();
    set_selection_units(*doc, 100, 3000);
    host.setEffectSettings({{"shift", "-50"}});
    EXPECT_EQ(run_effect_command(*doc, 11513), 0);
    EXPECT_EQ(shownTexts().back(), "Too close to edge to quantize selection");
    host.setEffectSettings({});
    // Called without a highlight the module says so.
    doc->bHighlight = 0;
    shift_waveform(doc->hWaveWnd);
    EXPECT_EQ(shownTexts().back(), "First highlight the section to be shifted");
}

TEST_F(EqlEffectsTest, TheSpectrumShowsATonesFrequencyAndLevelAndChangesNothing)
{
    // A half-scale 1 kHz tone for two seconds, then 5 kHz.
    WavBuilder::Bytes data;
    for (int i = 0; i < 4 * 44100; ++i) {
        const double f = i < 2 * 44100 ? 1000 : 5000;
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(
                                    std::lround(16384 * std::sin(2 * M_PI * f * i / 44100.0)))));
    }
    writeFile(path("s.wav"), WavBuilder::pcm(1, 44100, 16, data));
    doc = open_document_file(path("s.wav"));
    doc->bHighlight = 1;
    set_selection_units(*doc, 0, doc->nTotalSamples);
    const std::string shown = doc->szFileName;
    ASSERT_EQ(spectrum_command(*doc), 1);
    const Spectrogram* s = host.lastSpectrum();
    ASSERT_TRUE(s);
    EXPECT_EQ(s->columns, 512);
    EXPECT_EQ(s->bins, 1025);
    EXPECT_NEAR(s->seconds, 4.0, 1e-9);
    EXPECT_NEAR(s->binFrequency(s->loudestBin(100)), 1000.0, 22.0);
    EXPECT_NEAR(s->binFrequency(s->loudestBin(400)), 5000.0, 22.0);
    EXPECT_NEAR(s->at(100, s->loudestBin(100)), -6.0, 1.5);  // half scale
    EXPECT_LT(s->at(100, s->loudestBin(400)), -60.0);
    EXPECT_EQ(doc->szFileName, shown);
    EXPECT_FALSE(doc->bUndoAvailable);
    // Without a highlight there is nothing to show.
    doc->bHighlight = 0;
    EXPECT_EQ(spectrum_command(*doc), 0);
}

TEST_F(EqlEffectsTest, AccelerandoRitardandoAndGlissandoOpenOnTheirVariant)
{
    gainAt(11509, 100, {{"frequency", "20000"}});  // leaves a document open
    host.setDescribeEffects(true);
    run_effect_variant(*doc, 11500, 1);
    run_effect_variant(*doc, 11500, 2);
    run_effect_variant(*doc, 11502, 1);
    run_effect_command(*doc, 11500);
    host.setDescribeEffects(false);
    const auto& shown = host.effectDialogsShown();
    ASSERT_GE(shown.size(), 4u);
    const auto last4 = std::vector<EffectDialog>(shown.end() - 4, shown.end());
    EXPECT_EQ(last4[0].title, "Accelerando");
    EXPECT_EQ(last4[0].choice("mode"), 1);
    EXPECT_EQ(last4[0].value("end"), 150);
    EXPECT_EQ(last4[1].title, "Ritardando");
    EXPECT_EQ(last4[1].value("end"), 66);
    EXPECT_EQ(last4[2].title, "Glissando");
    EXPECT_EQ(last4[2].choice("mode"), 1);
    EXPECT_EQ(last4[3].choice("mode"), 0);  // the plain command
}
