#include "app/atomic_file.h"
#include "view/document_save.h"
#include "wavefile/helper_programs.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_io.h"

#include "support/document_test.h"

#include <cmath>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

using Bytes = WavBuilder::Bytes;

class DocumentSaveTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        setenv("ONDRAVA_HOME", path("ondrava").c_str(), 1);
        f = openTone(2, 16, 22050, 22050);  // one second
        ASSERT_TRUE(f);
        data = readFile(path("tone.wav"));
        data.erase(data.begin(), data.begin() + 44);
    }
    void TearDown() override
    {
        unsetenv("ONDRAVA_HOME");
        f.reset();
        DocumentTest::TearDown();
    }
    // RMS of a file's first channel, as a fraction of full scale.
    double level(const std::string& name)
    {
        const Bytes b = readFile(name);
        EXPECT_EQ(ReadInputWaveformHeader(name, 1), 1);
        const int bits = current_wave_format.wBitsPerSample;
        const int frame = current_wave_format.nChannels * bits / 8;
        double sum = 0;
        std::size_t n = 0;
        for (std::size_t at = 44; at + frame <= b.size(); at += static_cast<std::size_t>(frame), ++n) {
            const double v = bits == 8 ? (b[at] - 128) / 128.0 : static_cast<std::int16_t>(b[at] | b[at + 1] << 8) / 32768.0;
            sum += v * v;
        }
        return n ? std::sqrt(sum / n) : 0;
    }
    std::unique_ptr<CChildFrame> f;
    Bytes data;
};

TEST_F(DocumentSaveTest, APlainSaveWritesTheWorkingBytesBehindTheHeader)
{
    f->bModified = 1;
    ASSERT_EQ(save_waveform_file(*f, path("out.wav"), 0, 0), 1);
    EXPECT_EQ(f->bModified, 0);
    const Bytes out = readFile(path("out.wav"));
    ASSERT_EQ(out.size(), 44 + data.size());
    EXPECT_EQ(Bytes(out.begin() + 44, out.end()), data);
    EXPECT_EQ(readFile(path("tone.wav")), readFile(path("out.wav")));  // the same file again

    // The highlight alone: from nSelStart, nSelEnd - nSelStart units.
    f->nSelStart = 1000;
    f->nSelEnd = 3000;
    ASSERT_EQ(save_waveform_file(*f, path("sel.wav"), 1, 0), 1);
    const Bytes sel = readFile(path("sel.wav"));
    EXPECT_EQ(Bytes(sel.begin() + 44, sel.end()), Bytes(data.begin() + 2000, data.begin() + 6000));
}

TEST_F(DocumentSaveTest, EveryFormatOfTheDialogsRoundTrips)
{
    const double original = level(path("tone.wav"));
    for (std::uint16_t channels : {1, 2}) {
        for (std::uint16_t bits : {8, 16}) {
            for (std::uint32_t rate : {11025u, 22050u, 44100u}) {
                chooseFormat(channels, bits, rate);
                const std::string name = path("fmt.wav");
                ASSERT_EQ(save_waveform_file(*f, name, 0, 1), 1);
                const std::string label = std::to_string(channels) + "ch " + std::to_string(bits) + "bit " +
                                          std::to_string(rate);
                ASSERT_EQ(ReadInputWaveformHeader(name, 1), 1) << label;
                EXPECT_EQ(current_wave_format.nChannels, channels) << label;
                EXPECT_EQ(current_wave_format.wBitsPerSample, bits) << label;
                EXPECT_EQ(current_wave_format.nSamplesPerSec, rate) << label;
                const double frames = static_cast<double>(data_chunk_size) / (channels * bits / 8);
                EXPECT_NEAR(frames, rate, rate * 0.01) << label;  // one second, give or take the filter
                // The left channel (or the mix of both) keeps its level.
                const double expected = channels == 1 ? original * 0.75 : original;
                EXPECT_NEAR(level(name), expected, expected * 0.08) << label;
                // The document itself is still the same.
                EXPECT_EQ(f->nTotalSamples, 44100u);
            }
        }
    }
}

TEST_F(DocumentSaveTest, ANewFileFromAOneChannelHighlightDoublesThatChannel)
{
    int opened = 0;
    set_open_opened_file_handler([&] { ++opened; });
    f->nSelStart = 400;
    f->nSelEnd = 4400;
    f->nSelStartByte = 800;
    for (int selector : {2, 3}) {
        f->bLeftChannel = selector == 2;
        f->bRightChannel = selector == 3;
        inTempDir([&] { ASSERT_EQ(new_file_from_selection(*f), 1); });
        EXPECT_EQ(szOpenedFileName, path("SAMPLE" + std::to_string(selector - 1) + ".WAV"));
        // Frame by frame: left copied over right, or right over the next left;
        // the last frame stays as it was.
        Bytes expected(data.begin() + 800, data.begin() + 800 + 8000);
        for (std::size_t k = 0; k + 1 < 2000; ++k) {
            const std::size_t frame = 4 * k;
            if (selector == 2) {
                expected[frame + 2] = expected[frame];
                expected[frame + 3] = expected[frame + 1];
            } else {
                expected[frame + 4] = expected[frame + 2];
                expected[frame + 5] = expected[frame + 3];
            }
        }
        const Bytes made = readFile(szOpenedFileName);
        ASSERT_EQ(made.size(), 44u + 8000u);
        EXPECT_EQ(Bytes(made.begin() + 44, made.end()), expected) << selector;
        EXPECT_EQ(made[22], 2);  // still stereo
    }
    EXPECT_EQ(opened, 2);
    set_open_opened_file_handler({});
    EXPECT_EQ(bCopyOneChannel, 0);
}

TEST_F(DocumentSaveTest, FailuresLeaveTheDocumentAsItWas)
{
    f->bModified = 1;
    // A folder that does not exist.
    EXPECT_EQ(save_waveform_file(*f, path("no/such/dir/out.wav"), 0, 0), 0);
    EXPECT_EQ(shownTexts().back(), "Cannot open WAVE file.");
    // A full disk, saving under a new name: no file under that name at all.
    int result = -1;
    withFileSizeLimit(20000, [&] { result = save_waveform_file(*f, path("full.wav"), 0, 0); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(shownTexts().back().rfind("Cannot write output WAVE file " + path("full.wav") + ": ", 0), 0u);
    EXPECT_FALSE(file_exists(path("full.wav")));
    EXPECT_EQ(f->bModified, 1);
    // Cancel: nothing under the name either.
    host.cancelAfterPolls(1);
    EXPECT_EQ(save_waveform_file(*f, path("cancel.wav"), 0, 0), 0);
    EXPECT_FALSE(file_exists(path("cancel.wav")));
    EXPECT_EQ(f->bModified, 1);
    EXPECT_EQ(f->nTotalSamples, 44100u);
    // No temporary file is left beside the targets.
    for (const std::string& name : filesIn(path("")))
        EXPECT_FALSE(is_atomic_temporary_name(name)) << name;
}

// Saving over the very file the document came from, and failing: the user's
// file stays byte for byte as it was, and no temporary file is left.
TEST_F(DocumentSaveTest, AFailedSaveOverTheOpenFileLeavesItUntouched)
{
    const Bytes original = readFile(path("tone.wav"));
    f->bModified = 1;
    // Something to save that differs from what is on disk.
    f->nSelStart = 0;
    f->nSelEnd = 1000;

    int result = -1;
    withFileSizeLimit(30000, [&] { result = save_waveform_file(*f, path("tone.wav"), 0, 0); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFile(path("tone.wav")), original);

    host.cancelAfterPolls(1);
    EXPECT_EQ(save_waveform_file(*f, path("tone.wav"), 0, 0), 0);
    EXPECT_EQ(readFile(path("tone.wav")), original);
    host.cancelAfterPolls(-1);

    // A folder the save cannot write into.
    ASSERT_EQ(mkdir(path("locked").c_str(), 0755), 0);
    writeFile(path("locked/keep.wav"), original);
    ASSERT_EQ(chmod(path("locked").c_str(), 0555), 0);
    if (geteuid() != 0) {  // root writes anywhere
        EXPECT_EQ(save_waveform_file(*f, path("locked/keep.wav"), 0, 0), 0);
        EXPECT_EQ(readFile(path("locked/keep.wav")), original);
    }
    chmod(path("locked").c_str(), 0755);

    for (const std::string& name : filesIn(path("")))
        EXPECT_FALSE(is_atomic_temporary_name(name)) << name;
    EXPECT_EQ(f->bModified, 1);

    // And a save that succeeds replaces it whole, with the file's permissions.
    ASSERT_EQ(chmod(path("tone.wav").c_str(), 0640), 0);
    ASSERT_EQ(save_waveform_file(*f, path("tone.wav"), 1, 0), 1);
    EXPECT_EQ(readFile(path("tone.wav")).size(), 44u + 2000u);
    struct stat st {};
    ASSERT_EQ(stat(path("tone.wav").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
}

TEST_F(DocumentSaveTest, ACompressedSaveLeavesAnAdpcmFileUnderTheChosenName)
{
    SaveOptions options;
    options.bSaveCompressed = 1;
    ASSERT_EQ(save_wav_by_type(*f, path("packed.wav"), 0, options), 1);
    std::unique_ptr<wave_io_info> info;
    ASSERT_EQ(wioFileOpen(&info, path("packed.wav").c_str(), 0), WIOERR_NOERROR);
    EXPECT_EQ(info->fmt[0], 2);
    EXPECT_FALSE(file_exists(converter_output_path()));
    // 48 kHz cannot be compressed: the save fails and nothing is left under
    // the name, nor the PCM file it was to be made from.
    chooseFormat(2, 16, 48000);
    options.bSaveConverts = 1;
    EXPECT_EQ(save_wav_by_type(*f, path("48k.wav"), 0, options), 0);
    EXPECT_FALSE(file_exists(path("48k.wav")));
    // Over an existing file, a failed compression leaves it as it was.
    const Bytes packed = readFile(path("packed.wav"));
    EXPECT_EQ(save_wav_by_type(*f, path("packed.wav"), 0, options), 0);
    EXPECT_EQ(readFile(path("packed.wav")), packed);
    for (const std::string& name : filesIn(path("")))
        EXPECT_FALSE(is_atomic_temporary_name(name)) << name;
}

TEST_F(DocumentSaveTest, CopyWholeFileCopiesAllOrTheDocumentsLengthFromTheEnd)
{
    EXPECT_EQ(copy_whole_file(*f, path("tone.wav"), path("tone.wav"), nullptr, 0), 1);
    ASSERT_EQ(copy_whole_file(*f, path("whole.wav"), path("tone.wav"), "Copying", 0), 1);
    EXPECT_EQ(readFile(path("whole.wav")), readFile(path("tone.wav")));
    // From the end: the last nTotalSamples bytes of the source.
    ASSERT_EQ(copy_whole_file(*f, path("tail.raw"), path("tone.wav"), nullptr, 1), 1);
    const Bytes source = readFile(path("tone.wav"));
    EXPECT_EQ(readFile(path("tail.raw")), Bytes(source.end() - f->nTotalSamples, source.end()));
    host.cancelAfterPolls(0);
    EXPECT_EQ(copy_whole_file(*f, path("cut.wav"), path("tone.wav"), nullptr, 0), 0);
    EXPECT_EQ(copy_whole_file(*f, path("x.wav"), path("missing.wav"), nullptr, 0), 0);
    EXPECT_EQ(shownTexts().back(), "Cannot open input WAVE file.");
    EXPECT_EQ(copy_whole_file(*f, path("no/dir/x.wav"), path("tone.wav"), nullptr, 0), 0);
    EXPECT_EQ(shownTexts().back(), "Files 624: Cannot create output file " + path("no/dir/x.wav"));
    EXPECT_EQ(host.shown().back().caption, "Oops...");
}

namespace {

// A "LIST"/"INFO" chunk with the given items (id, text).
Bytes infoChunk(const std::vector<std::pair<std::string, std::string>>& items)
{
    Bytes body = {'I', 'N', 'F', 'O'};
    for (const auto& [id, text] : items) {
        Bytes value(text.begin(), text.end());
        value.push_back(0);
        const Bytes item = WavBuilder::chunk(id.c_str(), value);
        body.insert(body.end(), item.begin(), item.end());
    }
    return WavBuilder::chunk("LIST", body);
}

}  // namespace

// The INFO items of an ordinary PCM file (what many programs write after the
// samples) come through open, an edit and a save, and stay with their
// document: another document's save never carries them.
TEST_F(DocumentSaveTest, InfoItemsStayWithTheirDocument)
{
    const Bytes samples = WavBuilder::randomBytes(4000, 21);
    writeFile(path("tagged.wav"),
              WavBuilder::riff({WavBuilder::chunk("fmt ", WavBuilder::fmtBody(1, 2, 44100, 16)),
                                WavBuilder::chunk("data", samples),
                                infoChunk({{"IART", "The Artist"}, {"INAM", "A Title"}, {"ICMT", "Some comments"},
                                           {"ITRK", "7"}})}));
    auto tagged = open_document_file(path("tagged.wav"));
    ASSERT_TRUE(tagged);
    EXPECT_TRUE(shownTexts().empty()) << "an item outside the table is kept without a question";
    auto plain = openTone(2, 16, 22050, 1000);
    ASSERT_TRUE(plain);

    // An edit on the tagged document, then saves of both, in turn.
    tagged->bHighlight = 1;
    tagged->nSelStart = 0;
    tagged->nSelEnd = 1000;
    ASSERT_EQ(save_waveform_file(*tagged, path("tagged-out.wav"), 1, 0), 1);
    ASSERT_EQ(save_waveform_file(*plain, path("plain-out.wav"), 0, 0), 1);
    // A file read through the chunk walker in between leaves nothing behind either.
    std::unique_ptr<wave_io_info> walked;
    host.setDefaultAgree(true);  // it asks about the item outside the table
    ASSERT_EQ(wioFileOpen(&walked, path("tagged.wav").c_str(), 0), WIOERR_NOERROR);
    ASSERT_EQ(save_waveform_file(*plain, path("plain-out2.wav"), 0, 0), 1);

    const auto items = [&](const std::string& file) {
        std::map<std::string, std::string> found;
        if (const auto list = read_info_list(file)) {
            for (int i = 0; i < kInfoItemCount; ++i)
                if (const auto value = info_item_value(*list, i))
                    found[info_item_definition(i).id] = *value;
            if (!list->unknown.empty())
                found["unknown"] = std::string(list->unknown.begin(), list->unknown.end());
        }
        return found;
    };
    const auto saved = items(path("tagged-out.wav"));
    EXPECT_EQ(saved.at("IART"), "The Artist");
    EXPECT_EQ(saved.at("INAM"), "A Title");
    EXPECT_EQ(saved.at("ICMT"), "Some comments");
    ASSERT_EQ(saved.count("unknown"), 1u);
    EXPECT_NE(saved.at("unknown").find("ITRK"), std::string::npos);
    EXPECT_TRUE(items(path("plain-out.wav")).empty());
    EXPECT_TRUE(items(path("plain-out2.wav")).empty());

    // The saved file opens again with the same items and the same samples.
    auto again = open_document_file(path("tagged-out.wav"));
    ASSERT_TRUE(again);
    ASSERT_TRUE(again->infoList);
    EXPECT_EQ(info_item_value(*again->infoList, find_info_item(make_fourcc("IART"))), "The Artist");
    EXPECT_EQ(readFile(again->szFileName), Bytes(samples.begin(), samples.begin() + 2000));
}
