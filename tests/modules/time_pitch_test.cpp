// Tempo and pitch measured where listeners hear faults: at the end of a
// highlight that runs on into more of the same sound (no silence, no level
// jump, the exact length) and along a glissando (the pitch where the ramp
// puts it).

#include "modules/effect_commands.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"
#include "support/pcm_samples.h"

#include <cmath>

namespace {

constexpr int kRate = 44100;

// RMS in dB of the left channel of interleaved stereo over frames [from, to).
double rmsDb(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    double sum = 0;
    for (std::size_t i = from; i < to; ++i)
        sum += static_cast<double>(s[2 * i]) * s[2 * i];
    return 10 * std::log10(std::max(sum / static_cast<double>(to - from), 1e-20));
}

// The frequency of the left channel over frames [from, to), from its rising
// zero crossings placed between samples by linear interpolation.
double frequencyOf(const std::vector<float>& s, std::size_t from, std::size_t to)
{
    double first = -1, last = -1;
    int count = 0;
    for (std::size_t i = from; i + 1 < to; ++i) {
        const double a = s[2 * i], b = s[2 * i + 2];
        if (a < 0 && b >= 0) {
            const double at = static_cast<double>(i) + a / (a - b);
            first = count == 0 ? at : first;
            last = at;
            ++count;
        }
    }
    return count > 1 ? (count - 1) * kRate / (last - first) : 0.0;
}

}  // namespace

class TimePitchTest : public DocumentTest {
protected:
    // `seconds` of a 440 Hz stereo tone at -9 dBFS peak.
    void make(double seconds)
    {
        WavBuilder::Bytes data;
        const auto frames = static_cast<std::size_t>(seconds * kRate);
        for (std::size_t i = 0; i < frames; ++i) {
            const auto v = static_cast<std::int16_t>(std::lround(11600 * std::sin(2 * M_PI * 440 * i / kRate)));
            WavBuilder::put16(data, static_cast<std::uint16_t>(v));
            WavBuilder::put16(data, static_cast<std::uint16_t>(v));
        }
        writeFile(path("tone.wav"), WavBuilder::pcm(2, kRate, 16, data));
        doc = open_document_file(path("tone.wav"));
        ASSERT_TRUE(doc);
    }
    std::vector<float> apply(int id, std::size_t fromFrame, std::size_t toFrame,
                             std::vector<std::pair<std::string, std::string>> settings)
    {
        doc->bHighlight = 1;
        set_selection_units(*doc, static_cast<std::uint32_t>(2 * fromFrame), static_cast<std::uint32_t>(2 * toFrame));
        host.setEffectSettings(std::move(settings));
        EXPECT_EQ(run_effect_command(*doc, id), 1);
        host.setEffectSettings({});
        return pcm16_samples(readFile(doc->szFileName));
    }
    std::unique_ptr<CChildFrame> doc;
};

// Three seconds of a four-second tone highlighted: each pitch shift and
// tempo gives exactly the length it should, and the sound runs on to the end
// of the processed part at the tone's level, into the untouched rest
// without a gap or a jump. The same on the whole file, to its very end.
TEST_F(TimePitchTest, TheStretchedPassageEndsWithTheSoundAtItsLevel)
{
    struct Case {
        int id;
        const char* key;
        const char* value;
        double tempo;
    };
    const Case cases[] = {{11502, "semitones", "12", 1.0}, {11502, "semitones", "-12", 1.0},
                          {11502, "semitones", "5", 1.0},  {11500, "tempo", "150", 1.5},
                          {11500, "tempo", "75", 0.75}};
    const double toneDb = 20 * std::log10(11600.0 / 32768 / std::sqrt(2.0));
    const std::size_t window = kRate / 200;  // 5 ms
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " " + c.value);
        make(4);
        const auto out = apply(c.id, 0, 3 * kRate, {{c.key, c.value}});
        const auto processed = static_cast<std::size_t>(std::llround(3 * kRate / c.tempo));
        ASSERT_EQ(out.size(), 2 * (processed + kRate));
        // The last 200 ms of the processed part and the first 20 ms after it,
        // 5 ms at a time: the tone's level throughout.
        for (std::size_t at = processed - kRate / 5; at + window <= processed + kRate / 50; at += window) {
            const double db = rmsDb(out, at, at + window);
            EXPECT_NEAR(db, toneDb, 1.5) << "at " << 1000.0 * (static_cast<double>(at) - processed) / kRate
                                         << " ms from the end of the processed part";
        }
    }

    make(3);
    const auto out = apply(11502, 0, 3 * kRate, {{"semitones", "12"}});
    ASSERT_EQ(out.size(), 2u * 3 * kRate);
    for (std::size_t at = 3 * kRate - kRate / 5; at + window <= 3 * kRate; at += window)
        EXPECT_NEAR(rmsDb(out, at, at + window), toneDb, 1.5)
            << "at " << 1000.0 * (static_cast<double>(at) - 3 * kRate) / kRate << " ms from the end of the file";
}

// A glissando from 0 to 12 semitones over three seconds: at every 100 ms the
// pitch measured over 20 ms is the ramp's within what 10 ms of the ramp
// changes (0.04 semitone) and the measurement's own spread.
TEST_F(TimePitchTest, AGlissandoFollowsItsRamp)
{
    make(3);
    const auto out = apply(11502, 0, 3 * kRate, {{"mode", "glissando"}, {"start", "0"}, {"end", "12"}});
    ASSERT_EQ(out.size(), 2u * 3 * kRate);
    const std::size_t half = kRate / 100;  // 10 ms each side
    double worst = 0;
    for (double t = 0.2; t <= 2.8; t += 0.1) {
        const auto at = static_cast<std::size_t>(t * kRate);
        const double semitones = 12 * std::log2(frequencyOf(out, at - half, at + half) / 440.0);
        const double ramp = 12 * t / 3;
        worst = std::max(worst, std::fabs(semitones - ramp));
        EXPECT_NEAR(semitones, ramp, 0.04 + 0.06) << "at " << t << " s";
    }
    RecordProperty("worst_semitones", std::to_string(worst));
}
