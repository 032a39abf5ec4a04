// Noise reduction measured on a tone in white noise: how far the noise
// falls, whether what is left of it is still noise (its spectral kurtosis,
// against the warbling tones that plain spectral subtraction leaves), and
// whether the tone keeps its level; and its own presets.

#include "edit/undo.h"
#include "modules/effect_commands.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"
#include "support/pcm_samples.h"
#include "support/tone_analysis.h"

#include <cmath>
#include <random>

namespace {

constexpr int kRate = 44100;

double rmsDb(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    double sum = 0;
    for (std::size_t i = from; i < to; ++i)
        sum += static_cast<double>(s[i]) * s[i];
    return 10 * std::log10(sum / static_cast<double>(to - from));
}

// The level of the 1 kHz tone in s[from, to), in dB of full scale.
double toneDb(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    return 20 * std::log10(fit_sine(s, from, to, 1000, kRate).amplitude);
}

// The spectral kurtosis of s[from, to): over 2048-sample Hann windows a
// quarter apart, for 48 bins spread from 200 Hz to 19 kHz, E|X|^4 / (E|X|^2)^2
// over the windows, averaged over the bins. Two for Gaussian noise; the
// isolated peaks of musical noise make it much larger.
double spectralKurtosis(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    constexpr std::size_t kSize = 2048;
    double total = 0;
    int bins = 0;
    for (int b = 0; b < 48; ++b) {
        const std::size_t k = 10 + static_cast<std::size_t>(b) * 18;  // 215 Hz to 19 kHz, clear of 1 kHz
        if (k >= 45 && k <= 48)
            continue;
        double m2 = 0, m4 = 0;
        int windows = 0;
        for (std::size_t at = from; at + kSize <= to; at += kSize / 4) {
            double re = 0, im = 0;
            for (std::size_t i = 0; i < kSize; ++i) {
                const double w = 0.5 - 0.5 * std::cos(2 * M_PI * i / kSize);
                re += w * s[at + i] * std::cos(2 * M_PI * k * i / kSize);
                im -= w * s[at + i] * std::sin(2 * M_PI * k * i / kSize);
            }
            const double p = re * re + im * im;
            m2 += p;
            m4 += p * p;
            ++windows;
        }
        m2 /= windows;
        m4 /= windows;
        total += m4 / (m2 * m2);
        ++bins;
    }
    return total / bins;
}

}  // namespace

class NoiseReductionTest : public DocumentTest {
protected:
    // Two seconds of white noise at -40 dBFS RMS, four of a 1 kHz tone at
    // -20 dBFS peak in the same noise, two more of the noise alone.
    void make()
    {
        std::mt19937 rng(5);
        std::normal_distribution<double> noise(0.0, 0.01);
        signal.assign(8 * kRate, 0.0f);
        WavBuilder::Bytes data;
        for (std::size_t i = 0; i < signal.size(); ++i) {
            const bool tone = i >= 2 * kRate && i < 6 * kRate;
            signal[i] = static_cast<float>(noise(rng) + (tone ? 0.1 * std::sin(2 * M_PI * 1000 * i / kRate) : 0.0));
            WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(signal[i] * 32768))));
        }
        writeFile(path("noisy.wav"), WavBuilder::pcm(1, kRate, 16, data));
        doc = open_document_file(path("noisy.wav"));
        ASSERT_TRUE(doc);
        doc->bHighlight = 1;
        set_selection_units(*doc, 0, 2 * kRate);
        host.setEffectSettings({{"step", "profile"}});
        ASSERT_EQ(run_effect_command(*doc, 11511), 1);
        host.setEffectSettings({});
    }
    std::vector<float> reduce(std::vector<std::pair<std::string, std::string>> settings, const std::string& preset = {})
    {
        doc->bHighlight = 1;
        set_selection_units(*doc, 0, doc->nTotalSamples);
        host.setEffectSettings(std::move(settings));
        host.setPresetChoice(preset);
        EXPECT_EQ(run_effect_command(*doc, 11511), 1);
        host.setEffectSettings({});
        host.setPresetChoice({});
        auto out = pcm16_samples(readFile(doc->szFileName));
        undo_menu_command(*doc);
        return out;
    }
    std::vector<float> signal;
    std::unique_ptr<CChildFrame> doc;
};

TEST_F(NoiseReductionTest, TheNoiseFallsAsAskedStaysNoiseAndTheToneKeepsItsLevel)
{
    make();
    const std::size_t quietFrom = 6 * kRate + kRate / 4, quietTo = 8 * kRate - kRate / 4;
    const double noiseBefore = rmsDb(signal, quietFrom, quietTo);
    const double kurtosisBefore = spectralKurtosis(signal, quietFrom, quietTo);
    const double toneBefore = toneDb(signal, 3 * kRate, 5 * kRate);
    EXPECT_NEAR(kurtosisBefore, 2.0, 0.3) << "white noise";
    struct Case {
        const char* label;
        std::vector<std::pair<std::string, std::string>> settings;
    };
    const std::vector<Case> cases = {{"default", {{"reduction", "18"}}},
                                     {"most smoothing", {{"reduction", "18"}, {"smoothing", "95"}}},
                                     {"least smoothing", {{"reduction", "18"}, {"smoothing", "0"}}},
                                     {"strongest", {{"reduction", "18"}, {"oversubtraction", "4"}}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const auto out = reduce(c.settings);
        ASSERT_EQ(out.size(), signal.size());
        const double reduction = noiseBefore - rmsDb(out, quietFrom, quietTo);
        const double kurtosisRatio = spectralKurtosis(out, quietFrom, quietTo) / kurtosisBefore;
        const double toneChange = toneDb(out, 3 * kRate, 5 * kRate) - toneBefore;
        std::printf("noise reduction (%s): noise down %.2f dB, kurtosis ratio %.2f, tone %+.2f dB\n", c.label, reduction,
                    kurtosisRatio, toneChange);
        EXPECT_NEAR(reduction, 18.0, 1.0);
        EXPECT_LT(kurtosisRatio, 2.0);
        EXPECT_NEAR(toneChange, 0.0, 0.5);
    }
}

// Its presets are its own: each one picked runs with settings it knows.
TEST_F(NoiseReductionTest, ItsPresetsCarryItsOwnSettings)
{
    make();
    const double noiseBefore = rmsDb(signal, 6 * kRate, 8 * kRate);
    double lastReduction = 0;
    for (const char* preset : {"Light", "Medium", "Strong"}) {
        SCOPED_TRACE(preset);
        const auto out = reduce({}, preset);
        const double reduction = noiseBefore - rmsDb(out, 6 * kRate, 8 * kRate);
        EXPECT_GT(reduction, lastReduction + 3) << "each preset reduces more than the one before";
        lastReduction = reduction;
    }
}
