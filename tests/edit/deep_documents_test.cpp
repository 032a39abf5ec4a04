// Documents of 24-bit PCM and 32-bit float samples: every edit, undo, the
// clipboard between formats, the mix, saving and an effect keep their
// resolution; the overview and the picture are those of the same sound at
// 16 bits.

#include "edit/edit_operations.h"
#include "edit/mix.h"
#include "edit/pseudo_clipboard.h"
#include "edit/transfer_helpers.h"
#include "edit/undo.h"
#include "modules/effect_commands.h"
#include "view/document_save.h"
#include "view/mouse_selection.h"
#include "view/waveform_renderer.h"
#include "wavefile/sample_format.h"

#include "support/edit_document_test.h"
#include "support/qt_application.h"

#include <cstring>
#include <fstream>
#include <random>

using Bytes = WavBuilder::Bytes;

namespace {

// The WAVE file of `frames` frames in the given form: 24-bit samples in the
// extensible header (as sox and ffmpeg write them), float with tag 3.
Bytes deepWave(int channels, bool isFloat, const Bytes& data, std::uint32_t rate = 44100)
{
    const std::uint16_t bits = isFloat ? 32 : 24;
    Bytes fmt = WavBuilder::fmtBody(isFloat ? 3 : 0xFFFE, static_cast<std::uint16_t>(channels), rate, bits);
    if (!isFloat) {
        WavBuilder::put16(fmt, 22);
        WavBuilder::put16(fmt, 24);
        WavBuilder::put32(fmt, channels == 2 ? 3 : 4);
        for (std::uint8_t b : {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38,
                               0x9B, 0x71})
            fmt.push_back(b);
    }
    return WavBuilder::riff({WavBuilder::chunk("fmt ", fmt), WavBuilder::chunk("data", data)});
}

// Random samples: any 24-bit value, or floats within full scale.
Bytes randomSamples(std::size_t samples, bool isFloat, std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Bytes b;
    for (std::size_t i = 0; i < samples; ++i) {
        if (isFloat) {
            const float v = std::uniform_real_distribution<float>(-1.0f, 1.0f)(rng);
            std::uint32_t bits;
            std::memcpy(&bits, &v, 4);
            WavBuilder::put32(b, bits);
        } else {
            const std::uint32_t v = rng();
            b.push_back(static_cast<std::uint8_t>(v));
            b.push_back(static_cast<std::uint8_t>(v >> 8));
            b.push_back(static_cast<std::uint8_t>(v >> 16));
        }
    }
    return b;
}

std::int32_t s24(const Bytes& b, std::size_t at)
{
    const std::int32_t v = b[at] | b[at + 1] << 8 | b[at + 2] << 16;
    return v >= 0x800000 ? v - 0x1000000 : v;
}
float f32(const Bytes& b, std::size_t at)
{
    const std::uint32_t bits = b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24;
    float v;
    std::memcpy(&v, &bits, 4);
    return v;
}

}  // namespace

class DeepDocumentTest : public EditDocumentTest {
protected:
    CChildFrame& open(int channels, bool isFloat, std::size_t frames, std::uint32_t seed,
                      const std::string& name = "deep.wav")
    {
        data = randomSamples(frames * static_cast<std::size_t>(channels), isFloat, seed);
        writeFile(path(name), deepWave(channels, isFloat, data));
        docs.push_back(open_document_file(path(name)));
        EXPECT_TRUE(docs.back()) << name;
        return *docs.back();
    }
};

TEST_F(DeepDocumentTest, EveryEditKeepsEveryByteAtTwentyFourBitsAndInFloat)
{
    std::uint32_t seed = 40;
    for (bool isFloat : {false, true}) {
        for (int channels : {1, 2}) {
            const std::string label = std::to_string(channels) + (isFloat ? "ch float" : "ch 24-bit");
            SCOPED_TRACE(label);
            const std::size_t bps = isFloat ? 4 : 3;
            CChildFrame& f = open(channels, isFloat, 3000, seed++);
            ASSERT_EQ(f.wfx.wBitsPerSample, isFloat ? 32 : 24);
            ASSERT_EQ(f.nTotalSamples, 3000u * static_cast<std::uint32_t>(channels));
            EXPECT_EQ(readFile(f.szFileName), data);

            // Whole frames everywhere: units 400..1000 and 2000..2400 start
            // and end on frames in mono and stereo alike.
            select(f, 400, 1000);
            ASSERT_EQ(copy_command(f), 1);
            const Bytes clip = slice(data, 400 * bps, 1000 * bps);
            EXPECT_EQ(readFile(clipboard_data_path()), clip);
            const std::string text = std::to_string(channels) + (isFloat ? " 32 44100" : " 24 44100");
            EXPECT_EQ(readFile(clipboard_text_path()), Bytes(text.begin(), text.end()));

            const std::size_t start = 2000 * bps, end = 2400 * bps, total = data.size();
            const std::vector<std::pair<int, Bytes>> cases = {
                {kCopy, join({slice(data, 0, start), clip, slice(data, start, total)})},
                {kPaste, join({slice(data, 0, start), clip, slice(data, end, total)})},
                {kReplace, join({slice(data, 0, start), clip, slice(data, start + clip.size(), total)})},
            };
            for (const auto& [code, expected] : cases) {
                select(f, 2000, 2400);
                ASSERT_EQ(edit_operation(f, f, false, code), 1) << code;
                EXPECT_EQ(readFile(f.szFileName), expected) << code;
                EXPECT_EQ(f.nTotalSamples, expected.size() / bps) << code;
                undo_redo_toggle(f);
                EXPECT_EQ(readFile(f.szFileName), data) << code;
            }

            // Mix at the default levels: the mean of the two; 24-bit values
            // truncated toward zero as the narrower widths are.
            select(f, 2000, 2400);
            ASSERT_EQ(edit_operation(f, f, false, kMix), 1);
            const Bytes mixed = readFile(f.szFileName);
            ASSERT_EQ(mixed.size(), total);
            for (std::size_t i = 0; i < clip.size(); i += bps) {
                const std::size_t at = start + i;
                if (isFloat) {
                    const double expected = (static_cast<double>(f32(clip, i)) + f32(data, at)) * 0.5;
                    ASSERT_EQ(f32(mixed, at), static_cast<float>(expected)) << i;
                } else {
                    const long expected = std::clamp<long>(static_cast<long>((s24(clip, i) + s24(data, at)) * 0.5),
                                                           -8388607, 8388607);
                    ASSERT_EQ(s24(mixed, at), expected) << i;
                }
            }
            EXPECT_EQ(slice(mixed, 0, start), slice(data, 0, start));
            undo_redo_toggle(f);

            select(f, 2000, 2400);
            ASSERT_EQ(edit_operation(f, f, true, kCut), 1);
            EXPECT_EQ(readFile(f.szFileName), join({slice(data, 0, start), slice(data, end, total)}));
            EXPECT_EQ(readFile(clipboard_data_path()), slice(data, start, end));
            undo_redo_toggle(f);

            // Silence is zero bytes for both forms.
            select(f, 2000, 2400);
            ASSERT_EQ(insert_silence_command(f, 100), 1);
            EXPECT_EQ(readFile(f.szFileName), join({slice(data, 0, start), Bytes(100 * bps, 0), slice(data, start, total)}));
            undo_redo_toggle(f);
            select(f, 2000, 2400);
            ASSERT_EQ(trim_command(f), 1);
            EXPECT_EQ(readFile(f.szFileName), join({Bytes(start, 0), slice(data, start, end), Bytes(total - end, 0)}));
            undo_redo_toggle(f);

            select(f, 2000, 2400);
            ASSERT_EQ(edit_operation(f, f, true, kCrop), 1);
            EXPECT_EQ(readFile(f.szFileName), slice(data, start, end));
            undo_redo_toggle(f);
            EXPECT_EQ(readFile(f.szFileName), data);
            docs.clear();
        }
    }
}

// A highlight that starts on the second channel (the command line allows
// it) still moves whole frames: the clipboard gets frames, not half frames.
TEST_F(DeepDocumentTest, AHighlightOnAnOddUnitCopiesWholeFrames)
{
    CChildFrame& f = open(2, false, 1000, 9);
    select(f, 101, 301);
    ASSERT_EQ(copy_command(f), 1);
    const Bytes clip = readFile(clipboard_data_path());
    EXPECT_EQ(clip.size() % 6, 0u);
    EXPECT_EQ(clip, slice(data, 100 * 3, 300 * 3));
}

TEST_F(DeepDocumentTest, SavingKeepsTheResolutionBitForBitAndReopens)
{
    for (bool isFloat : {false, true}) {
        SCOPED_TRACE(isFloat ? "float" : "24-bit");
        CChildFrame& f = open(2, isFloat, 5000, 70);
        const std::string saved = path(isFloat ? "saved-float.wav" : "saved-24.wav");
        ASSERT_EQ(save_waveform_file(f, saved, 0, 0), 1);
        const Bytes file = readFile(saved);
        // 24-bit in the extensible form (tag 0xFFFE, PCM sub-format, all 24
        // bits valid); float with tag 3.
        ASSERT_GE(file.size(), 60u);
        const std::uint16_t tag = static_cast<std::uint16_t>(file[20] | file[21] << 8);
        EXPECT_EQ(tag, isFloat ? 3 : 0xFFFE);
        if (!isFloat) {
            EXPECT_EQ(file[16], 40);  // the fmt chunk's size
            EXPECT_EQ(file[38] | file[39] << 8, 24);  // valid bits
            EXPECT_EQ(file[44], 1);   // the sub-format's tag: PCM
        }
        EXPECT_TRUE(std::search(file.begin(), file.end(), data.begin(), data.end()) != file.end());
        auto again = open_document_file(saved);
        ASSERT_TRUE(again);
        EXPECT_EQ(readFile(again->szFileName), data);
        EXPECT_EQ(again->wfx.wFormatTag, isFloat ? 3 : 1);
        docs.clear();
    }
}

// 24-bit stereo pasted into a 16-bit mono document: converted through the
// clipboard conversion, the mean of the channels rounded to 16 bits.
TEST_F(DeepDocumentTest, TheClipboardConvertsBetweenWidths)
{
    CChildFrame& deep = open(2, false, 2000, 21, "deep.wav");
    const Bytes deepData = data;
    select(deep, 0, 1000);  // 500 frames
    ASSERT_EQ(copy_command(deep), 1);
    writeFile(path("plain.wav"), WavBuilder::pcm(1, 44100, 16, Bytes(2000, 0)));
    docs.push_back(open_document_file(path("plain.wav")));
    CChildFrame& plain = *docs.back();
    select(plain, 100, 100);
    ASSERT_EQ(edit_operation(deep, plain, false, kPaste), 1);
    const Bytes out = readFile(plain.szFileName);
    ASSERT_EQ(out.size(), 2000u + 1000u);
    for (std::size_t frame = 0; frame < 500; ++frame) {
        const double mean = (s24(deepData, frame * 6) + s24(deepData, frame * 6 + 3)) / 2.0;
        const long expected = std::clamp(std::lrint(mean / 256.0), -32768L, 32767L);
        const auto got = static_cast<std::int16_t>(out[200 + 2 * frame] | out[201 + 2 * frame] << 8);
        ASSERT_NEAR(got, expected, 1) << frame;  // float rounding of the mean
    }
    // And a 16-bit clipboard into a float document comes in exactly.
    select(plain, 0, 1000);
    ASSERT_EQ(copy_command(plain), 1);
    CChildFrame& floating = open(1, true, 1000, 22, "float.wav");
    select(floating, 0, 0);
    ASSERT_EQ(edit_operation(plain, floating, false, kPaste), 1);
    const Bytes f = readFile(floating.szFileName);
    for (std::size_t i = 0; i < 1000; ++i) {
        const auto v = static_cast<std::int16_t>(out[2 * i] | out[2 * i + 1] << 8);
        ASSERT_EQ(f32(f, 4 * i), v / 32768.0f) << i;
    }
}

// An effect works at the document's resolution: halving a 24-bit document
// by 6.0206 dB keeps the low byte that a 16-bit document would not have.
TEST_F(DeepDocumentTest, EffectsWorkAtTheDocumentsResolution)
{
    CChildFrame& f = open(1, false, 4000, 5);
    select(f, 0, 4000);
    host.setEffectSettings({{"mode", "percent"}, {"percent", "50"}});
    ASSERT_EQ(run_effect_command(f, find_effect_command("amplify")->id), 1);
    const Bytes out = readFile(f.szFileName);
    ASSERT_EQ(out.size(), data.size());
    int lowBytesUsed = 0;
    for (std::size_t i = 0; i < 4000; ++i) {
        const double expected = s24(data, 3 * i) * 0.5;
        ASSERT_NEAR(s24(out, 3 * i), expected, 0.5 + 1e-9) << i;
        lowBytesUsed += (s24(out, 3 * i) & 0xFF) != 0;
    }
    EXPECT_GT(lowBytesUsed, 3000);

    // Reverse on float is exact.
    CChildFrame& g = open(2, true, 3000, 6, "float.wav");
    select(g, 0, 6000);
    host.setEffectSettings({});
    ASSERT_EQ(run_effect_command(g, find_effect_command("reverse")->id), 1);
    const Bytes reversed = readFile(g.szFileName);
    for (std::size_t frame = 0; frame < 3000; ++frame)
        for (std::size_t ch = 0; ch < 2; ++ch)
            ASSERT_EQ(f32(reversed, 8 * frame + 4 * ch), f32(data, 8 * (2999 - frame) + 4 * ch)) << frame;
}

// The overview and the picture of a 24-bit or float document are those of
// the same sound stored at 16 bits.
TEST_F(DeepDocumentTest, TheOverviewAndThePictureAreThoseOfTheSameSoundAtSixteenBits)
{
    test_application();
    const std::size_t frames = 600000;
    Bytes s16, s24bytes, f32bytes;
    for (std::size_t i = 0; i < frames; ++i) {
        const double s = std::sin(static_cast<double>(i) * 0.003) * (0.3 + 0.6 * (i % 70000) / 70000.0);
        for (int ch = 0; ch < 2; ++ch) {
            const auto v = static_cast<std::int16_t>(std::lround((ch ? s / 2 : s) * 32000));
            WavBuilder::put16(s16, static_cast<std::uint16_t>(v));
            const std::int32_t wide = v * 256;
            s24bytes.push_back(static_cast<std::uint8_t>(wide));
            s24bytes.push_back(static_cast<std::uint8_t>(wide >> 8));
            s24bytes.push_back(static_cast<std::uint8_t>(wide >> 16));
            const float fv = v / 32768.0f;
            std::uint32_t bits;
            std::memcpy(&bits, &fv, 4);
            WavBuilder::put32(f32bytes, bits);
        }
    }
    writeFile(path("s16.wav"), WavBuilder::pcm(2, 44100, 16, s16));
    writeFile(path("s24.wav"), deepWave(2, false, s24bytes));
    writeFile(path("f32.wav"), deepWave(2, true, f32bytes));
    auto reference = open_document_file(path("s16.wav"));
    ASSERT_TRUE(reference);
    reference->layout.clientWidth = 1000;
    WaveformRenderer r16(1920);
    QImage expected;
    r16.paint(*reference, expected, 1);
    for (const char* name : {"s24.wav", "f32.wav"}) {
        SCOPED_TRACE(name);
        auto f = open_document_file(path(name));
        ASSERT_TRUE(f);
        ASSERT_GE(f->nMaxZoomLevel, 2);
        ASSERT_EQ(f->nLevelLength[1], reference->nLevelLength[1]);
        for (std::uint32_t i = 0; i < f->nLevelLength[1]; ++i)
            ASSERT_EQ(f->level16(1)[i], reference->level16(1)[i]) << i;
        EXPECT_EQ(f->coarseOverview, reference->coarseOverview);
        f->layout.clientWidth = 1000;
        WaveformRenderer r(1920);
        QImage image;
        r.paint(*f, image, 1);
        EXPECT_TRUE(image == expected) << "the overview picture";
        // Zoomed in to single frames, read from the working file itself.
        for (CChildFrame* d : {f.get(), reference.get()}) {
            d->nZoomLevel = d->nMaxZoomLevel;
            d->fZoom = d->fMaxZoom;
            d->nFirstSample = 300000;
            d->layout.redrawAll = true;
        }
        WaveformRenderer near16(1920), near(1920);
        QImage a, b;
        near16.paint(*reference, a, 1);
        near.paint(*f, b, 1);
        EXPECT_TRUE(a == b) << "the finest level";
        reference->nZoomLevel = 1;
        reference->fZoom = 1.0f;
        reference->nFirstSample = 0;
        reference->layout.redrawAll = true;
    }
}
