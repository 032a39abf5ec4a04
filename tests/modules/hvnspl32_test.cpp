// Echo, reverb, compressor/expander and envelope measured on their output.

#include "app/posix_io.h"
#include "modules/effect_commands.h"
#include "edit/undo.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"
#include "support/pcm_samples.h"

#include "audio/playback_engine.h"
#include "audio/simulated_wave_out.h"
#include "modules/selection_processor.h"

#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

double peakDb(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    float peak = 0;
    for (std::size_t i = from; i < to; ++i)
        peak = std::max(peak, std::fabs(s[i]));
    return 20 * std::log10(std::max(peak, 1e-9f));
}

}  // namespace

class SplEffectsTest : public DocumentTest {
protected:
    // A mono 16-bit document of the given samples (-1..1), all highlighted.
    CChildFrame& open(const std::vector<float>& samples, int channels = 1)
    {
        WavBuilder::Bytes data;
        for (float v : samples)
            WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32767))));
        writeFile(path("in.wav"), WavBuilder::pcm(static_cast<std::uint16_t>(channels), 44100, 16, data));
        doc = open_document_file(path("in.wav"));
        EXPECT_TRUE(doc);
        doc->bHighlight = 1;
        set_selection_units(*doc, 0, doc->nTotalSamples);
        return *doc;
    }
    int run(int id, std::vector<std::pair<std::string, std::string>> settings = {}, const std::string& preset = {})
    {
        host.setEffectSettings(std::move(settings));
        host.setPresetChoice(preset);
        const int r = run_effect_command(*doc, id);
        host.setEffectSettings({});
        host.setPresetChoice({});
        return r;
    }
    std::unique_ptr<CChildFrame> doc;
};

TEST_F(SplEffectsTest, EchoTapsSitAtTheirDelaysWithTheirGains)
{
    std::vector<float> impulse(44100, 0.0f);
    impulse[100] = 0.8f;
    CChildFrame& f = open(impulse);
    // 10 ms = 441 samples; first echo at 50 %, each further one at 60 % of
    // the one before; the direct sound at 100 %.
    ASSERT_EQ(run(11504, {{"delay", "10"}, {"feedback", "60"}, {"level", "50"}, {"dry", "100"}}), 1);
    const auto out = pcm16_samples(readFile(f.szFileName));
    EXPECT_NEAR(out[100], 0.8f, 1e-3);
    double gain = 0.5;
    for (int k = 1; k <= 5; ++k) {
        EXPECT_NEAR(out[100 + 441 * k], 0.8 * gain, 2e-4) << "tap " << k;
        EXPECT_NEAR(out[100 + 441 * k - 1], 0.0, 1e-4);
        EXPECT_NEAR(out[100 + 441 * k + 1], 0.0, 1e-4);
        gain *= 0.6;
    }
    EXPECT_EQ(f.szUndoLabel, "&Undo Echo...\tCtrl+Z");
    undo_menu_command(f);
    EXPECT_NEAR(pcm16_samples(readFile(f.szFileName))[541], 0.0, 1e-6);

    // A shipped preset: "Canyon" echoes after 900 ms.
    ASSERT_EQ(run(11504, {}, "Canyon"), 1);
    const auto canyon = pcm16_samples(readFile(f.szFileName));
    EXPECT_GT(std::fabs(canyon[100 + 39690]), 0.3);  // 0.9 s x 44100
    EXPECT_NEAR(canyon[100 + 441], 0.0, 1e-4);
    // A preset that is not there: a message, and nothing runs.
    EXPECT_EQ(run(11504, {}, "Nowhere"), 0);
}

// An echo on a highlight that ends 250 ms after an impulse: with the tail
// let ring, its echoes at 300 and 600 ms are mixed into the sound that
// follows (a constant there) and the later ones extend the file; without it (the echo's
// default) only the impulse stays. A reverb on the whole file rings on past
// its end: the file grows until the tail has died away, and Undo takes the
// growth back.
TEST_F(SplEffectsTest, EchoAndReverbTailsRingPastTheHighlight)
{
    std::vector<float> sound(2 * 44100, 0.0f);
    sound[1000] = 0.8f;
    for (std::size_t i = 20000; i < sound.size(); ++i)
        sound[i] = 0.1f;
    const std::vector<std::pair<std::string, std::string>> echo = {
        {"delay", "300"}, {"feedback", "50"}, {"level", "50"}, {"dry", "100"}};
    for (const bool ring : {false, true}) {
        SCOPED_TRACE(ring ? "ringing" : "cut at the highlight");
        CChildFrame& f = open(sound);
        set_selection_units(f, 0, 1000 + 11025);
        auto settings = echo;
        settings.emplace_back("tail", ring ? "1" : "0");
        ASSERT_EQ(run(11504, settings), 1);
        const auto out = pcm16_samples(readFile(f.szFileName));
        // Halving at every repeat, the echoes fall below -100 dB about 16
        // repeats (4.8 s) after the impulse: the ringing one outlasts the file.
        if (ring)
            EXPECT_NEAR(static_cast<double>(out.size()), 1000 + 16 * 13230.0, 2 * 13230.0);
        else
            EXPECT_EQ(out.size(), sound.size());
        ASSERT_GE(out.size(), sound.size());
        EXPECT_NEAR(out[1000], 0.8f, 1e-3);
        EXPECT_NEAR(out[1000 + 13230], ring ? 0.4 : 0.0, 2e-4);          // 300 ms: half the impulse
        EXPECT_NEAR(out[1000 + 26460], ring ? 0.1 + 0.2 : 0.1, 2e-4);    // 600 ms: a quarter, on the constant
        EXPECT_NEAR(out[1000 + 26461], 0.1, 2e-4);
    }

    std::vector<float> impulse(44100, 0.0f);
    impulse[10] = 0.9f;
    CChildFrame& f = open(impulse);
    ASSERT_EQ(run(11514, {{"room", "80"}, {"wet", "60"}, {"dry", "100"}}), 1);  // its tail rings by default
    const auto out = pcm16_samples(readFile(f.szFileName));
    EXPECT_GT(out.size(), impulse.size() + 4096) << "the file grows by the tail";
    EXPECT_EQ(f.nTotalSamples, out.size());
    const auto level = [&out](std::size_t from, std::size_t to) { return peakDb(out, from, std::min(to, out.size())); };
    EXPECT_GT(level(44100, 44100 + 4410), -60.0) << "the tail goes on after the old end";
    EXPECT_LT(level(out.size() - 2048, out.size()), -90.0) << "and stops once it has died away";
    undo_menu_command(f);
    EXPECT_EQ(f.nTotalSamples, 44100u);
}

TEST_F(SplEffectsTest, ALargerRoomRingsLonger)
{
    const auto tail = [this](const char* room) {
        std::vector<float> impulse(44100 * 2, 0.0f);
        impulse[10] = 0.9f;
        CChildFrame& f = open(impulse, 2);
        EXPECT_EQ(run(11514, {{"room", room}, {"damping", "30"}, {"wet", "60"}, {"dry", "0"}}), 1);
        const auto out = pcm16_samples(readFile(f.szFileName));
        double energy = 0;
        bool different = false;
        for (std::size_t i = 2 * 22050; i < out.size(); i += 2) {  // after half a second
            energy += out[i] * out[i] + out[i + 1] * out[i + 1];
            different = different || out[i] != out[i + 1];
        }
        EXPECT_TRUE(different) << "the two channels should differ";
        return energy;
    };
    const double small = tail("20");
    const double large = tail("90");
    EXPECT_GT(small, 0.0);
    EXPECT_GT(large, 10 * small);
}

TEST_F(SplEffectsTest, CompressorAndExpanderFollowTheirStaticCurves)
{
    const auto sine = [](double amplitude) {
        std::vector<float> s(44100);
        for (std::size_t i = 0; i < s.size(); ++i)
            s[i] = static_cast<float>(amplitude * std::sin(2 * M_PI * 1000 * i / 44100.0));
        return s;
    };
    // -6 dB in, threshold -20, ratio 4: -20 + 14/4 = -16.5 dB out.
    CChildFrame& f = open(sine(0.5));
    ASSERT_EQ(run(11503, {{"threshold", "-20"}, {"ratio", "4"}, {"attack", "1"}, {"release", "500"}}), 1);
    EXPECT_NEAR(peakDb(pcm16_samples(readFile(f.szFileName)), 22050, 44100), -16.5, 0.5);
    // Make-up gain adds on top; below the threshold nothing changes.
    open(sine(0.05));  // -26 dB
    ASSERT_EQ(run(11503, {{"threshold", "-20"}, {"ratio", "4"}, {"makeup", "6"}}), 1);
    EXPECT_NEAR(peakDb(pcm16_samples(readFile(doc->szFileName)), 22050, 44100), -20.0, 0.5);
    // Expander: -40 dB in, threshold -30, ratio 2: -50 dB out.
    open(sine(0.01));
    ASSERT_EQ(run(11503, {{"type", "expander"}, {"threshold", "-30"}, {"ratio", "2"}, {"attack", "1"},
                          {"release", "500"}}),
              1);
    EXPECT_NEAR(peakDb(pcm16_samples(readFile(doc->szFileName)), 22050, 44100), -50.0, 1.0);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Compress/Expand...\tCtrl+Z");
}

TEST_F(SplEffectsTest, AnEnvelopeShapesTheLevelAndABadOneIsRefused)
{
    CChildFrame& f = open(std::vector<float>(10001, 0.5f));
    ASSERT_EQ(run(11505, {{"points", "0:0,50:100,100:0"}}), 1);
    const auto out = pcm16_samples(readFile(f.szFileName));
    EXPECT_NEAR(out[0], 0.0, 1e-4);
    EXPECT_NEAR(out[2500], 0.25, 1e-3);
    EXPECT_NEAR(out[5000], 0.5, 1e-3);
    EXPECT_NEAR(out[7500], 0.25, 1e-3);
    EXPECT_EQ(f.szUndoLabel, "&Undo Envelope...\tCtrl+Z");
    const std::string shown = f.szFileName;
    EXPECT_EQ(run(11505, {{"points", "0:0,fifty:100"}}), 0);
    EXPECT_EQ(shownTexts().back(), "points: each point is position%:level%, as in 50:100");
    EXPECT_EQ(run(11505, {{"points", "0:0,150:100"}}), 0);
    EXPECT_EQ(f.szFileName, shown);
}

namespace {

// The power of frequency f in s[from, to) (Goertzel).
double powerAt(const std::vector<float>& s, std::size_t from, std::size_t to, double f, int channels = 1, int ch = 0)
{
    const double w = 2 * M_PI * f / 44100, coeff = 2 * std::cos(w);
    double q1 = 0, q2 = 0;
    for (std::size_t i = from; i < to; ++i) {
        const double q0 = coeff * q1 - q2 + s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(ch)];
        q2 = q1;
        q1 = q0;
    }
    return q1 * q1 + q2 * q2 - coeff * q1 * q2;
}

double rms(const std::vector<float>& s, int channels, int ch, std::size_t from, std::size_t to)
{
    double sum = 0;
    for (std::size_t i = from; i < to; ++i) {
        const double v = s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(ch)];
        sum += v * v;
    }
    return std::sqrt(sum / static_cast<double>(to - from));
}

}  // namespace

TEST_F(SplEffectsTest, TheGeneratorsWriteTonesSweepsNoiseAndTelephoneKeys)
{
    CChildFrame& f = open(std::vector<float>(44100, 0.0f));
    ASSERT_EQ(run(11517, {{"kind", "tone"}, {"frequency", "1000"}, {"level", "-6.0206"}}), 1);
    auto out = pcm16_samples(readFile(f.szFileName));
    EXPECT_NEAR(rms(out, 1, 0, 0, 44100), 0.5 / std::sqrt(2.0), 2e-3);
    EXPECT_GT(powerAt(out, 0, 44100, 1000), 1000 * powerAt(out, 0, 44100, 1100));
    EXPECT_EQ(f.szUndoLabel, "&Undo Special effects...\tCtrl+Z");

    // A logarithmic sweep from 100 Hz to 10 kHz: low at the start, high at the end.
    open(std::vector<float>(44100, 0.0f));
    ASSERT_EQ(run(11517, {{"kind", "sweep"}, {"frequency", "100"}, {"end", "10000"}}), 1);
    out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_GT(powerAt(out, 0, 2205, 110), 10 * powerAt(out, 0, 2205, 5000));
    EXPECT_GT(powerAt(out, 42000, 44100, 9500), 10 * powerAt(out, 42000, 44100, 200));

    // DTMF "5#": 770 + 1336 Hz, then 941 + 1477 Hz, with a pause between.
    open(std::vector<float>(44100, 0.0f));
    ASSERT_EQ(run(11517, {{"kind", "dtmf"}, {"digits", "5#"}, {"tone", "100"}, {"gap", "100"}}), 1);
    out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_GT(powerAt(out, 0, 4410, 770), 100 * powerAt(out, 0, 4410, 941));
    EXPECT_GT(powerAt(out, 0, 4410, 1336), 100 * powerAt(out, 0, 4410, 1477));
    EXPECT_GT(powerAt(out, 8820, 13230, 941), 100 * powerAt(out, 8820, 13230, 770));
    EXPECT_GT(powerAt(out, 8820, 13230, 1477), 100 * powerAt(out, 8820, 13230, 1336));
    EXPECT_NEAR(rms(out, 1, 0, 4500, 8700), 0.0, 1e-4);
    EXPECT_EQ(run(11517, {{"kind", "dtmf"}, {"digits", "12x"}}), 0);
    EXPECT_EQ(shownTexts().back(), "digits: the keys are 0-9, A-D, * and #, not x");

    // A shipped preset: pink noise at -12 dB has more power low than high.
    open(std::vector<float>(44100, 0.0f));
    ASSERT_EQ(run(11517, {}, "Pink noise"), 1);
    out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_GT(rms(out, 1, 0, 0, 44100), 0.01);
    EXPECT_GT(powerAt(out, 0, 44100, 100), 5 * powerAt(out, 0, 44100, 10000));
}

// A 1 kHz square and sawtooth at 44.1 kHz, into a float document so that
// nothing but the generator counts: over one second every harmonic and every
// alias of one falls on a multiple of 100 Hz; the alias bins (those between
// the harmonics' multiples of 1 kHz) hold less than -90 dB of the
// fundamental's power, and the harmonics keep the wave's 1/k amplitudes.
TEST_F(SplEffectsTest, SquareAndSawtoothTonesDoNotAlias)
{
    for (const char* wave : {"square", "sawtooth"}) {
        SCOPED_TRACE(wave);
        WavBuilder::Bytes zeros(44100 * 4, 0);
        writeFile(path("float.wav"), WavBuilder::riff({WavBuilder::chunk("fmt ", WavBuilder::fmtBody(3, 1, 44100, 32)),
                                                       WavBuilder::chunk("data", zeros)}));
        doc = open_document_file(path("float.wav"));
        ASSERT_TRUE(doc);
        ASSERT_EQ(doc->wfx.wFormatTag, 3);
        doc->bHighlight = 1;
        set_selection_units(*doc, 0, doc->nTotalSamples);
        ASSERT_EQ(run(11517, {{"kind", "tone"}, {"wave", wave}, {"frequency", "1000"}, {"level", "-6"}}), 1);
        const WavBuilder::Bytes bytes = readFile(doc->szFileName);
        ASSERT_EQ(bytes.size(), 44100u * 4);
        std::vector<float> out(44100);
        std::memcpy(out.data(), bytes.data(), bytes.size());
        const double fundamental = powerAt(out, 0, 44100, 1000);
        double aliases = 0;
        for (int m = 1; m < 220; ++m)
            if (m % 10 != 0)
                aliases += powerAt(out, 0, 44100, 100.0 * m);
        EXPECT_LT(10 * std::log10(aliases / fundamental), -90.0);
        // Harmonic amplitudes: the third at a third of the fundamental; the
        // second absent from the square, at a half in the sawtooth.
        EXPECT_NEAR(std::sqrt(powerAt(out, 0, 44100, 3000) / fundamental), 1.0 / 3, 0.003);
        EXPECT_NEAR(std::sqrt(powerAt(out, 0, 44100, 2000) / fundamental), std::string(wave) == "square" ? 0 : 0.5,
                    0.003);
        float peak = 0;
        for (float v : out)
            peak = std::max(peak, std::fabs(v));
        EXPECT_NEAR(20 * std::log10(peak), -6.0, 0.05);  // the cycle's peak may fall between samples
    }
}

TEST_F(SplEffectsTest, APlacedSoundIsLouderAndEarlierOnItsSide)
{
    std::vector<float> noise(2 * 44100);
    std::uint32_t seed = 5;
    for (std::size_t i = 0; i < noise.size(); i += 2) {
        seed = seed * 1664525u + 1013904223u;
        noise[i] = noise[i + 1] = static_cast<float>((static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.5);
    }
    // The simple cues, 90 degrees right: the left ear late by the
    // interaural time difference, 10 dB down at low frequencies (more above,
    // where the head shadows it).
    CChildFrame& f = open(noise, 2);
    ASSERT_EQ(run(11516, {{"method", "cues"}, {"azimuth", "90"}}), 1);
    auto out = pcm16_samples(readFile(f.szFileName));
    EXPECT_GT(20 * std::log10(rms(out, 2, 1, 4410, 44100) / rms(out, 2, 0, 4410, 44100)), 10.0);
    const auto itd = static_cast<std::size_t>(std::lround(0.0875 / 343 * (M_PI / 2 + 1) * 44100));  // 29 samples
    std::size_t best = 0;
    double bestSum = -1;
    for (std::size_t lag = 0; lag < 60; ++lag) {
        double sum = 0;
        for (std::size_t i = 4410; i < 22050; ++i)
            sum += out[2 * i + 1] * out[2 * (i + lag)];
        if (sum > bestSum) {
            bestSum = sum;
            best = lag;
        }
    }
    EXPECT_NEAR(static_cast<double>(best), static_cast<double>(itd), 2.0);
    std::vector<float> low(2 * 44100);
    for (std::size_t i = 0; i < low.size(); i += 2)
        low[i] = low[i + 1] = static_cast<float>(0.5 * std::sin(2 * M_PI * 200 * (i / 2) / 44100.0));
    open(low, 2);
    ASSERT_EQ(run(11516, {{"method", "cues"}, {"azimuth", "90"}}), 1);
    out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_NEAR(20 * std::log10(rms(out, 2, 1, 4410, 44100) / rms(out, 2, 0, 4410, 44100)), 10.0, 0.5);

    // Through the HRTF set, 90 degrees left: the left ear clearly louder.
    open(noise, 2);
    ASSERT_EQ(run(11516, {{"method", "hrtf"}, {"azimuth", "-90"}}), 1);
    out = pcm16_samples(readFile(doc->szFileName));
    EXPECT_GT(20 * std::log10(rms(out, 2, 0, 4410, 44100) / rms(out, 2, 1, 4410, 44100)), 6.0);
    EXPECT_EQ(doc->szUndoLabel, "&Undo Localize sound...\tCtrl+Z");

    open(std::vector<float>(1000, 0.1f));
    EXPECT_EQ(run(11516), 0);
    EXPECT_EQ(shownTexts().back(), "Spatial localization needs a stereo file.");
}

TEST_F(SplEffectsTest, ThePreviewPlaysTheStartOfTheSelectionWithTheDialogsValues)
{
    SimulatedWaveOut::state() = SimulatedWaveOutState{};
    SimulatedWaveOut::events().clear();
    set_wave_out_factory(SimulatedWaveOut::make);
    std::vector<float> impulse(10 * 44100, 0.0f);
    impulse[100] = 0.8f;
    CChildFrame& f = open(impulse);
    const auto shown = readFile(f.szFileName);
    // The dialog as the echo command shows it (cancelled here), then its
    // Preview with 10 ms taps.
    host.setDescribeEffects(true);
    EXPECT_EQ(run(11504), 0);
    host.setDescribeEffects(false);
    EffectDialog dialog = host.effectDialogsShown().back();
    ASSERT_TRUE(dialog.preview);
    ASSERT_FALSE(dialog.set("delay", "10"));
    dialog.preview(dialog);
    // Five seconds of the selection went to the preview file, with the echo;
    // it plays; the document is as it was.
    const auto preview = pcm16_samples(readFile(preview_file_path()));
    ASSERT_EQ(preview.size(), 5u * 44100);
    EXPECT_NEAR(preview[100 + 441], 0.4, 1e-3);
    EXPECT_TRUE(PlaybackEngine::instance().is_playing());
    EXPECT_EQ(readFile(f.szFileName), shown);
    EXPECT_FALSE(f.bUndoAvailable);
    PlaybackEngine::instance().stop_playback();
    SimulatedWaveOut::deliver();
    set_wave_out_factory(nullptr);
}
