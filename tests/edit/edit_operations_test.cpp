#include "edit/edit_operations.h"
#include "edit/mix.h"
#include "edit/pseudo_clipboard.h"
#include "edit/transfer_helpers.h"
#include "edit/undo.h"
#include "app/edit_menu_state.h"
#include "view/mouse_selection.h"

#include "support/edit_document_test.h"

#include <cmath>
#include <filesystem>
#include <fstream>

using Bytes = WavBuilder::Bytes;

class EditTest : public EditDocumentTest {
protected:
    // A document of random bytes; keeps the data for reference.
    CChildFrame& open(int channels, int bits, std::size_t frames, std::uint32_t seed, const std::string& name = "doc.wav")
    {
        data = WavBuilder::randomBytes(frames * static_cast<std::size_t>(channels * bits / 8), seed);
        writeFile(path(name), WavBuilder::pcm(static_cast<std::uint16_t>(channels), 22050,
                                              static_cast<std::uint16_t>(bits), data));
        docs.push_back(open_document_file(path(name)));
        EXPECT_TRUE(docs.back());
        return *docs.back();
    }
    static Bytes shown(const CChildFrame& f)
    {
        std::ifstream in(f.szFileName, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
};

TEST(TransferHelpers, SampleLengthsSplitTheTotalEvenly)
{
    EXPECT_EQ(compute_sample_length(100000, 4, 32768), 25000u);  // four nearly equal pieces
    EXPECT_EQ(compute_sample_length(1001, 4, 32768), 1000u);
    EXPECT_EQ(compute_sample_length(65536, 2, 32768), 32768u);  // a multiple: unchanged
}

TEST_F(EditTest, EveryOperationBuildsItsBytesForEveryFormat)
{
    std::uint32_t seed = 1;
    for (int channels : {1, 2}) {
        for (int bits : {8, 16}) {
            const std::string label = std::to_string(channels) + "ch " + std::to_string(bits) + "bit";
            const std::size_t bps = static_cast<std::size_t>(bits / 8);
            CChildFrame& f = open(channels, bits, 3000, seed++);
            const unsigned char fill = bits == 8 ? 128 : 0;
            // The clipboard: units 400..1000 (byte positions rounded down to 4).
            select(f, 400, 1000);
            ASSERT_EQ(copy_command(f), 1) << label;
            const Bytes clip = slice(data, (400 * bps) & ~3u, (1000 * bps) & ~3u);
            EXPECT_EQ(readFile(clipboard_data_path()), clip) << label;
            const std::string text = std::to_string(channels) + " " + std::to_string(bits) + " 22050";
            EXPECT_EQ(readFile(clipboard_text_path()), Bytes(text.begin(), text.end())) << label;

            const std::size_t start = 2000 * bps, end = 2400 * bps, total = data.size();
            struct Case {
                int code;
                Bytes expected;
            };
            const std::vector<Case> cases = {
                {kCopy, join({slice(data, 0, start), clip, slice(data, start, total)})},
                {kPaste, join({slice(data, 0, start), clip, slice(data, end, total)})},
                {kReplace, join({slice(data, 0, start), clip, slice(data, start + clip.size(), total)})},
            };
            for (const Case& c : cases) {
                select(f, 2000, 2400);
                ASSERT_EQ(edit_operation(f, f, false, c.code), 1) << label << " " << c.code;
                EXPECT_EQ(shown(f), c.expected) << label << " " << c.code;
                EXPECT_EQ(f.nTotalSamples, c.expected.size() / bps) << label;
                undo_redo_toggle(f);  // back to the original for the next case
                EXPECT_EQ(shown(f), data) << label;
            }
            // Mix at the default levels: the mean of the two, limited.
            select(f, 2000, 2400);
            ASSERT_EQ(edit_operation(f, f, false, kMix), 1);
            Bytes mixed = join({slice(data, 0, start), clip, slice(data, start + clip.size(), total)});
            for (std::size_t i = 0; i < clip.size(); i += bps) {
                const int c = bits == 8 ? clip[i] - 128 : static_cast<std::int16_t>(clip[i] | clip[i + 1] << 8);
                const std::size_t at = start + i;
                const int v = bits == 8 ? data[at] - 128 : static_cast<std::int16_t>(data[at] | data[at + 1] << 8);
                const long m = std::clamp<long>(static_cast<long>((c + v) * 0.5), bits == 8 ? -127 : -32767, bits == 8 ? 127 : 32767);
                if (bits == 8) {
                    mixed[at] = static_cast<unsigned char>(m + 128);
                } else {
                    mixed[at] = static_cast<unsigned char>(m & 0xFF);
                    mixed[at + 1] = static_cast<unsigned char>((m >> 8) & 0xFF);
                }
            }
            EXPECT_EQ(shown(f), mixed) << label << " mix";
            undo_redo_toggle(f);

            // Cut: the highlight goes to the clipboard and out of the file.
            select(f, 2000, 2400);
            ASSERT_EQ(edit_operation(f, f, true, kCut), 1);
            EXPECT_EQ(shown(f), join({slice(data, 0, start), slice(data, end, total)})) << label << " cut";
            EXPECT_EQ(readFile(clipboard_data_path()), slice(data, start & ~3u, end & ~3u)) << label;
            EXPECT_EQ(f.bHighlight, 0);
            undo_redo_toggle(f);

            // Insert Silence and Trim.
            select(f, 2000, 2400);
            ASSERT_EQ(insert_silence_command(f, 100), 1);
            EXPECT_EQ(shown(f), join({slice(data, 0, start), Bytes(100 * bps, fill), slice(data, start, total)})) << label;
            undo_redo_toggle(f);
            select(f, 2000, 2400);
            ASSERT_EQ(trim_command(f), 1);
            EXPECT_EQ(shown(f), join({Bytes(start, fill), slice(data, start, end), Bytes(total - end, fill)})) << label;
            undo_redo_toggle(f);

            // Crop keeps only the highlight.
            select(f, 2000, 2400);
            ASSERT_EQ(edit_operation(f, f, true, kCrop), 1);
            EXPECT_EQ(shown(f), slice(data, start & ~3u, end & ~3u)) << label << " crop";
            docs.clear();
        }
    }
}

TEST_F(EditTest, CuttingEverythingLeavesFourBytesAndReplacingPastTheEndGrows)
{
    CChildFrame& f = open(2, 16, 1000, 7);
    select(f, 0, 2000);
    ASSERT_EQ(edit_operation(f, f, true, kCut), 1);
    EXPECT_EQ(shown(f).size(), 4u);
    EXPECT_EQ(f.nTotalSamples, 2u);
    undo_redo_toggle(f);

    // A clipboard of 1600 units replaced at unit 1200 of 2000: start + clipboard.
    select(f, 0, 1600);
    copy_command(f);
    select(f, 1200, 1300);
    ASSERT_EQ(edit_operation(f, f, false, kReplace), 1);
    EXPECT_EQ(shown(f), join({slice(data, 0, 2400), slice(data, 0, 3200)}));
    EXPECT_EQ(f.nTotalSamples, 1200u + 1600u);
    undo_redo_toggle(f);
    // Mixing past the end grows the same way; beyond the destination's data
    // the clipboard stands alone at twice its level, halved: as it was.
    select(f, 1200, 1300);
    ASSERT_EQ(edit_operation(f, f, false, kMix), 1);
    EXPECT_EQ(f.nTotalSamples, 1200u + 1600u);
    EXPECT_EQ(slice(shown(f), 4000, 5600), slice(data, 1600, 3200));
}

TEST_F(EditTest, TransfersBetweenFilesAndMemory)
{
    writeFile(path("f.raw"), {1, 2, 3, 4, 5, 6, 7, 8});
    char buffer[16] = {};
    EXPECT_EQ(copy_file_to_memory(path("f.raw").c_str(), buffer, 2, 4, 3, 1), 4);
    EXPECT_EQ(buffer[2], 4);
    EXPECT_EQ(buffer[5], 7);
    EXPECT_EQ(copy_file_to_memory(path("f.raw").c_str(), buffer, -5, 100, -1, 0), 8);  // negatives mean 0
    EXPECT_EQ(copy_file_to_memory(path("none.raw").c_str(), buffer, 0, 4, 0, 0), 0);
    const char patch[] = {9, 9};
    EXPECT_EQ(copy_memory_to_file(path("f.raw").c_str(), patch, 0, 2, 6, 1), 1);
    EXPECT_EQ(readFile(path("f.raw")), (Bytes{1, 2, 3, 4, 5, 6, 9, 9}));
    EXPECT_EQ(copy_memory_to_file(path("none.raw").c_str(), patch, 0, 2, 0, 0), 0);  // never creates
    EXPECT_EQ(host.shown().back().text, "CMTF: Was not able to open file " + path("none.raw"));
    EXPECT_EQ(host.shown().back().caption, "Record File");
    EXPECT_FALSE(file_exists(path("none.raw")));
}

TEST_F(EditTest, MixLevelsAndChannelTargetsAndCrossfades)
{
    CChildFrame& f = open(2, 16, 2000, 9);
    select(f, 0, 400);
    copy_command(f);
    auto sampleAt = [](const Bytes& b, std::size_t unit) { return static_cast<std::int16_t>(b[2 * unit] | b[2 * unit + 1] << 8); };
    // Left target: left = the clipboard at twice its level (halved), right = the destination.
    mix_settings.target = MixTarget::Left;
    select(f, 1000, 1400);
    ASSERT_EQ(edit_operation(f, f, false, kMix), 1);
    Bytes out = shown(f);
    for (std::size_t u = 1000; u < 1400; u += 2) {
        EXPECT_EQ(sampleAt(out, u), sampleAt(data, u - 1000)) << u;  // left: clipboard
        EXPECT_EQ(sampleAt(out, u + 1), sampleAt(data, u + 1)) << u;  // right: destination
    }
    undo_redo_toggle(f);
    // Cross-fades over the highlight (400 units = 200 steps of a frame), levels 1:
    // linear gains 2 i (4 / 800) and 2 - i (4 / 800); exponential 2 e and
    // 2 (1 - e) with e = 1 - exp(-ln(1 / 0.08) 4 i / 800). The tail is dropped.
    mix_settings.target = MixTarget::Both;
    for (int curve : {1, 0}) {
        mix_settings.crossfadeCurve = curve;
        select(f, 1000, 1400);
        ASSERT_EQ(edit_operation(f, f, false, kCrossfade), 1);
        out = shown(f);
        EXPECT_EQ(out.size(), 2u * 1400u);
        for (std::size_t u = 1000; u < 1400; u += 37) {
            const double i = static_cast<double>((u - 1000) / 2 + 1);
            double clipGain = 2 * i * (4.0 / 800), destGain = 2 - i * (4.0 / 800);
            if (curve == 0) {
                const double e = 1 - std::exp(-(-std::log(0.08) * 4 / 800) * i);
                clipGain = 2 * e;
                destGain = 2 * (1 - e);
            }
            const double expected = (sampleAt(data, u - 1000) * std::min(clipGain, 2.0) + sampleAt(data, u) * std::max(destGain, 0.0)) * 0.5;
            EXPECT_NEAR(sampleAt(out, u), std::clamp(expected, -32767.0, 32767.0), 1.0) << curve << " " << u;
        }
        undo_redo_toggle(f);
    }
    EXPECT_EQ(mix_settings.clipLevel, 1.0);                       // the settings stay as they were
}

TEST_F(EditTest, UndoRedoSwitchVersionsAndANewOperationDropsTheUndoneOne)
{
    CChildFrame& f = open(1, 8, 4000, 11);
    select(f, 100, 200);
    ASSERT_EQ(edit_operation(f, f, true, kCut), 1);
    EXPECT_EQ(edit_menu_state().undoText, "&Undo Cut...\tCtrl+Z");
    EXPECT_EQ(f.bUndoAvailable, 1);
    EXPECT_EQ(f.bModified, 1);
    const Bytes cut = shown(f);
    const std::string newest = f.szFileName;
    undo_menu_command(f);
    EXPECT_EQ(shown(f), data);
    EXPECT_EQ(edit_menu_state().undoText, "&Redo Cut...\tCtrl+Z");
    EXPECT_EQ(edit_menu_state().undoCommand, 11601);
    undo_menu_command(f);  // undo twice is redo
    EXPECT_EQ(shown(f), cut);
    EXPECT_EQ(f.szFileName, newest);
    undo_menu_command(f);
    // A new operation after Undo gives up the undone version for good.
    select(f, 0, 10);
    ASSERT_EQ(insert_silence_command(f, 50), 1);
    EXPECT_FALSE(file_exists(newest));
    EXPECT_EQ(edit_menu_state().undoText, "&Undo Insert...\tCtrl+Z");
    // Two operations on: only the shown, the previous version and the overviews remain.
    select(f, 0, 10);
    ASSERT_EQ(edit_operation(f, f, true, kCut), 1);
    std::size_t versions = 0;
    for (const std::string& name : filesIn(workDir()))
        versions += name.size() > 4 && name.substr(name.size() - 4) == ".tmp";
    EXPECT_EQ(versions, 2u);
    docs.clear();
    for (const std::string& name : filesIn(workDir()))
        EXPECT_EQ(name.find(".tmp"), std::string::npos) << name;
    // The clipboard stays, with its lock.
    auto left = filesIn(workDir());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"clipbord.clp", "clipbord.lck", "cliptext.clp"}));
}

TEST_F(EditTest, AStereoClipboardPastedIntoEightBitMonoIsConvertedFirst)
{
    CChildFrame& stereo = open(2, 16, 2000, 13, "stereo.wav");
    select(stereo, 0, 1000);
    ASSERT_EQ(copy_command(stereo), 1);
    CChildFrame& mono = open(1, 8, 3000, 14, "mono.wav");
    select(mono, 1000, 1000);
    ASSERT_EQ(edit_operation(stereo, mono, false, kPaste), 1);
    EXPECT_TRUE(file_exists(clipboard_converted_path()));
    EXPECT_EQ(get_named_file_length(clipboard_converted_path()), 500u);  // 500 frames, one byte each
    EXPECT_EQ(mono.nTotalSamples, 3000u + 500u);
}

TEST_F(EditTest, ABrokenClipboardChangesNothing)
{
    CChildFrame& f = open(2, 16, 1000, 15);
    auto unchanged = [&](const char* what) {
        select(f, 100, 200);
        host.clearShown();
        EXPECT_EQ(edit_operation(f, f, false, kPaste), 0) << what;
        EXPECT_EQ(shownTexts(), std::vector<std::string>{"Was not able to read from file 'clipbord.clp'"}) << what;
        EXPECT_EQ(shown(f), data) << what;
        EXPECT_EQ(f.bModified, 0) << what;
    };
    unchanged("empty clipboard");
    select(f, 0, 100);
    copy_command(f);
    std::remove(clipboard_data_path().c_str());
    unchanged("clipboard file deleted");
    copy_command(f);
    std::ofstream(clipboard_text_path()) << "two channels";
    unchanged("format text that does not parse");
    // A full disk while the new version is written.
    copy_command(f);
    select(f, 100, 200);
    int result = -1;
    withFileSizeLimit(1000, [&] { result = edit_operation(f, f, false, kPaste); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(shown(f), data);
}

// The clipboard is shared by every running program: a copy that does not
// finish leaves the one before it whole, samples and format alike.
TEST_F(EditTest, AnUnfinishedCopyLeavesTheClipboardAsItWas)
{
    auto first = openTone(2, 16, 8000, 4000);
    ASSERT_TRUE(first);
    select(*first, 0, 8000);
    ASSERT_EQ(copy_to_pseudo_clipboard(*first), 1);
    const Bytes clip = readFile(clipboard_data_path());
    const Bytes text = readFile(clipboard_text_path());
    ASSERT_EQ(clip.size(), 16000u);

    // A long mono copy (its progress box can be cancelled), cancelled.
    auto second = openTone(1, 8, 8000, 4000000);
    ASSERT_TRUE(second);
    select(*second, 0, 4000000);
    host.cancelAfterPolls(1);
    EXPECT_EQ(copy_to_pseudo_clipboard(*second), 0);
    EXPECT_EQ(readFile(clipboard_data_path()), clip);
    EXPECT_EQ(readFile(clipboard_text_path()), text);
    for (const std::string& name : filesIn(workDir()))
        EXPECT_EQ(name.find(".clp") == std::string::npos || name == "clipbord.clp" || name == "cliptext.clp", true)
            << name;
}

// An operation that fails after it began its new version gives that version
// up: no half-made file is left beside the shown one, the shown version and
// its undo stay as they were.
TEST_F(EditTest, AFailedOperationLeavesNoHalfMadeVersion)
{
    CChildFrame& f = open(2, 16, 4000, 41);
    select(f, 400, 800);
    ASSERT_EQ(edit_operation(f, f, true, kCut), 1);  // something to undo
    const std::string shownFile = f.szFileName;
    const Bytes before = shown(f);
    ASSERT_TRUE(f.bUndoAvailable);
    const std::string folder = std::filesystem::path(shownFile).parent_path().string();
    const auto tmpFiles = [&] {
        int n = 0;
        for (const auto& e : std::filesystem::directory_iterator(folder))
            n += e.path().extension() == ".tmp";
        return n;
    };
    const int filesBefore = tmpFiles();
    // Paste with the clipboard gone: the operation begins, then fails.
    std::filesystem::remove(clipboard_data_path());
    std::filesystem::remove(clipboard_text_path());
    select(f, 100, 200);
    EXPECT_EQ(edit_operation(f, f, false, kPaste), 0);
    EXPECT_EQ(f.szFileName, shownFile);
    EXPECT_EQ(shown(f), before);
    EXPECT_TRUE(f.szRedoFileName.empty() || f.szRedoFileName == f.szFileName) << f.szRedoFileName;
    EXPECT_LE(tmpFiles(), filesBefore) << "a half-made version was left in " << folder;
}
