// Every effect of the Operations menu, with its dialog's defaults: the bytes
// outside the highlight stay as they were (but where a reverb's tail rings), one Ctrl+Z brings the document
// back, and a highlight of a few 8-bit samples is no trouble.

#include "modules/effect_commands.h"
#include "modules/module_dialogs.h"
#include "edit/undo.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"

class AllEffectsTest : public DocumentTest {
protected:
    std::unique_ptr<CChildFrame> open(int channels, int bits, std::size_t frames)
    {
        data = WavBuilder::randomBytes(frames * static_cast<std::size_t>(channels * bits / 8), 3);
        writeFile(path("all.wav"), WavBuilder::pcm(static_cast<std::uint16_t>(channels), 44100,
                                                   static_cast<std::uint16_t>(bits), data));
        return open_document_file(path("all.wav"));
    }
    WavBuilder::Bytes data;
};

TEST_F(AllEffectsTest, EveryEffectKeepsTheRestAndUndoesInOneStep)
{
    const std::size_t from = 10000, to = 30000, frame = 4;  // stereo 16-bit frames
    // Random bytes are noise at full scale: an effect that raises its peaks
    // (tempo) clips; here the result is taken as it comes.
    host.setClipAnswer(ModuleDialogs::ClipAnswer::Clip);
    for (const EffectCommand& c : effect_commands()) {
        SCOPED_TRACE(c.name);
        auto doc = open(2, 16, 60000);
        doc->bHighlight = 1;
        set_selection_units(*doc, static_cast<std::uint32_t>(2 * from), static_cast<std::uint32_t>(2 * to));
        if (std::string(c.name) == "noise-reduction") {
            host.setEffectSettings({{"step", "profile"}});
            ASSERT_EQ(run_effect_command(*doc, c.id), 1);
            host.setEffectSettings({});
        }
        ASSERT_EQ(run_effect_command(*doc, c.id), 1);
        const auto out = readFile(doc->szFileName);
        const std::string name = c.name;
        // The head is untouched; so is the tail, where it now stands.
        const std::size_t headEnd = from * frame;
        EXPECT_TRUE(std::equal(data.begin(), data.begin() + static_cast<long>(headEnd), out.begin()));
        if (name == "quantize") {
            // Shifted by 10 ms (441 frames) later: what it landed on is replaced.
            const std::size_t tail = (to + 441) * frame;
            EXPECT_TRUE(std::equal(data.begin() + static_cast<long>(tail), data.end(), out.begin() + static_cast<long>(tail)));
        } else if (name == "reverb") {
            // Its tail rings on past the highlight (the default): mixed into
            // what follows, and on past the end of the file.
            EXPECT_GT(out.size(), data.size());
        } else {
            const std::size_t tailBytes = data.size() - to * frame;
            EXPECT_TRUE(std::equal(data.end() - static_cast<long>(tailBytes), data.end(),
                                   out.end() - static_cast<long>(tailBytes)));
            if (name != "tempo") {
                EXPECT_EQ(out.size(), data.size());
            }
        }
        // A new version was made (some defaults, such as 0 dB, change no sample).
        EXPECT_TRUE(doc->bUndoAvailable);
        undo_menu_command(*doc);
        EXPECT_EQ(readFile(doc->szFileName), data);
    }
}

TEST_F(AllEffectsTest, AFewEightBitSamplesAreNoTrouble)
{
    for (const EffectCommand& c : effect_commands()) {
        SCOPED_TRACE(c.name);
        auto doc = open(1, 8, 20000);
        doc->bHighlight = 1;
        set_selection_units(*doc, 10000, 10004);
        const std::string name = c.name;
        const int ran = run_effect_command(*doc, c.id);
        const auto out = readFile(doc->szFileName);
        if (name == "reverb")
            ASSERT_GE(out.size(), data.size());  // its tail rings on
        else
            ASSERT_EQ(out.size(), name == "tempo" ? out.size() : data.size());
        EXPECT_TRUE(std::equal(data.begin(), data.begin() + 10000, out.begin()));
        if (name == "pan" || name == "spatial") {
            EXPECT_EQ(ran, 0);  // stereo only: a message, nothing changed
            EXPECT_EQ(out, data);
        }
    }
}
