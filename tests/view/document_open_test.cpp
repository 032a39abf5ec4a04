#include "app/edit_menu_state.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"
#include "wavefile/file_content.h"
#include "view/document_save.h"
#include "wavefile/wave_header.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <sys/stat.h>
#include <unistd.h>

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

namespace {

// The overview computed the plain way: for every whole block of 256 frames
// and each channel, the minimum and maximum of the samples whose unit index
// is at most n - channels - 1 (first channel) or n - 3 (second channel);
// stereo entries as min L, min R, max L, max R.
std::vector<int> referenceOverview(const Bytes& data, int channels, int bits)
{
    const size_t bytesPerSample = static_cast<size_t>(bits / 8);
    const long long units = static_cast<long long>(data.size() / bytesPerSample);
    const size_t capacity = ((bytesPerSample * static_cast<size_t>(units)) >> 7) / bytesPerSample;
    auto value = [&](long long unit) {
        if (bits == 8)
            return static_cast<int>(data[static_cast<size_t>(unit)]);
        const size_t at = static_cast<size_t>(unit) * 2;
        return static_cast<int>(static_cast<std::int16_t>(data[at] | data[at + 1] << 8));
    };
    std::vector<int> out;
    const long long blockUnits = 256LL * channels;
    for (long long start = 0; start + blockUnits <= units; start += blockUnits) {
        if (out.size() + 2u * static_cast<size_t>(channels) > capacity)
            break;
        int lo[2] = {32767, 32767};
        int hi[2] = {-32767, -32767};
        for (long long u = start; u < start + blockUnits; ++u) {
            const int ch = static_cast<int>(u % channels);
            const long long lastReadable = ch == 0 ? units - channels - 1 : units - 3;
            if (u > lastReadable)
                continue;
            lo[ch] = std::min(lo[ch], value(u));
            hi[ch] = std::max(hi[ch], value(u));
        }
        for (int ch = 0; ch < channels; ++ch)
            out.push_back(lo[ch]);
        for (int ch = 0; ch < channels; ++ch)
            out.push_back(hi[ch]);
    }
    return out;
}

}  // namespace

class DocumentOpenTest : public TempDirTest {
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        set_screen_width_pixels(1920);
    }

    std::unique_ptr<CChildFrame> openBytes(const Bytes& file)
    {
        writeFile(path("in.wav"), file);
        return open_document_file(path("in.wav"));
    }

    static Bytes workingBytes(const CChildFrame& f)
    {
        std::ifstream in(f.szFileName, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
};

TEST_F(DocumentOpenTest, TheOverviewHoldsMinimaAndMaximaOfEvery256Frames)
{
    int seed = 1;
    for (int channels : {1, 2}) {
        for (int bits : {8, 16}) {
            // A whole number of blocks, where leaving out the last frame shows,
            // and a ragged end.
            for (size_t frames : {256u * 40u, 256u * 37u + 100u}) {
                size_t bytes = frames * static_cast<size_t>(channels * bits / 8);
                // A 16-bit stereo file that ends in half a frame: the two
                // channels then stop at different frames. (An odd byte count
                // would bring the pad byte into the file's tail, which is
                // what opening takes the samples from.)
                if (channels == 2 && bits == 16 && frames % 256 == 0)
                    bytes += 2;
                const Bytes data = W::randomBytes(bytes, static_cast<std::uint32_t>(seed++));
                auto f = openBytes(W::pcm(static_cast<std::uint16_t>(channels), 22050,
                                          static_cast<std::uint16_t>(bits), data));
                ASSERT_TRUE(f) << channels << " " << bits;
                const std::string label = std::to_string(channels) + "ch " + std::to_string(bits) +
                                          "bit " + std::to_string(frames);
                EXPECT_EQ(f->nTotalSamples, bytes / static_cast<size_t>(bits / 8)) << label;
                EXPECT_EQ(workingBytes(*f), data) << label;
                const int search = display_level_search(
                    static_cast<std::uint64_t>(f->nTotalSamples) * (channels == 1 ? 2 : 1), 1920);
                ASSERT_GE(search, 2) << label;
                EXPECT_EQ(f->nMaxZoomLevel, search) << label;
                EXPECT_EQ(f->fMaxZoom, static_cast<float>(1 << (search - 1))) << label;
                EXPECT_EQ(f->nZoomLevel, 1) << label;
                EXPECT_EQ(f->fZoom, 1.0f) << label;

                const std::vector<int> expected = referenceOverview(data, channels, bits);
                ASSERT_EQ(f->nLevelLength[1], expected.size()) << label;
                std::vector<int> actual;
                for (size_t i = 0; i < expected.size(); ++i)
                    actual.push_back(bits == 8 ? f->level8(1)[i] : f->level16(1)[i]);
                EXPECT_EQ(actual, expected) << label;
            }
        }
    }
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(DocumentOpenTest, EveryFileTheDocumentOwnsGoesWhenItCloses)
{
    edit_menu_state().undoText = "&Undo Cut...\tCtrl+Z";
    auto f = openBytes(W::pcm(2, 44100, 16, W::randomBytes(400000, 3)));
    ASSERT_TRUE(f);
    EXPECT_EQ(edit_menu_state().undoText, "&Undo\tCtrl+Z");
    EXPECT_EQ(CChildFrame::GetTheFuckingHandle(), f.get());
    EXPECT_EQ(f->get_private_member(), f.get());
    EXPECT_EQ(frame_from_handle(f->hWaveWnd), f.get());
    EXPECT_EQ(open_document_count(), 1);
    EXPECT_EQ(f->szDisplayName, "in.wav");
    EXPECT_EQ(filesIn(workDir()).size(), 2u);  // working file and overview
    EXPECT_EQ(f->szFileName.size(), workDir().size() + 1 + 8 + 4);
    EXPECT_EQ(f->szFileName.substr(f->szFileName.size() - 4), ".tmp");
    HWND handle = f->hWaveWnd;
    f.reset();
    EXPECT_TRUE(filesIn(workDir()).empty());
    EXPECT_EQ(CChildFrame::GetTheFuckingHandle(), nullptr);
    EXPECT_EQ(frame_from_handle(handle), nullptr);
    EXPECT_EQ(open_document_count(), 0);
    EXPECT_EQ(get_named_file_length(path("in.wav")), 44u + 400000u);  // the opened file stays
}

TEST_F(DocumentOpenTest, ShortDocumentsHaveOneLevelAndTinyOnesNoMap)
{
    auto shortDoc = openBytes(W::pcm(2, 8000, 8, W::randomBytes(1400, 4)));
    ASSERT_TRUE(shortDoc);
    EXPECT_EQ(shortDoc->nMaxZoomLevel, 1);
    EXPECT_EQ(shortDoc->fZoom, 1.0f);
    EXPECT_TRUE(shortDoc->levels[1].mapped());
    EXPECT_EQ(filesIn(workDir()).size(), 1u);  // no overview file
    shortDoc.reset();

    auto tiny = openBytes(W::pcm(1, 8000, 16, W::randomBytes(8, 5)));
    ASSERT_TRUE(tiny);
    EXPECT_EQ(tiny->nTotalSamples, 4u);
    EXPECT_EQ(tiny->nMaxZoomLevel, 1);
    for (const DisplayLevel& level : tiny->levels)
        EXPECT_FALSE(level.mapped());
}

TEST_F(DocumentOpenTest, ANewEmptyDocumentHasEightUnitsAndOneLevel)
{
    current_wave_format.wBitsPerSample = 16;
    current_wave_format.nBytesPerSample = 2;
    inTempDir([] { ASSERT_EQ(create_new_empty_waveform_file(0), 1); });
    CChildFrame f;
    ASSERT_EQ(open_document(f, true), 1);
    EXPECT_EQ(f.nTotalSamples, 8u);
    EXPECT_EQ(f.nLevelLength[1], 8u);
    EXPECT_EQ(f.nMaxZoomLevel, 1);
    EXPECT_FALSE(f.levels[1].mapped());
}

TEST_F(DocumentOpenTest, SamplesAreTheDataChunksOwnBytes)
{
    // What other programs put after the samples (an INFO list, an id3 tag,
    // cue points, a level chunk) is not audio.
    const Bytes data = W::randomBytes(3000, 6);
    const Bytes info = W::chunk("LIST", {'I', 'N', 'F', 'O', 'I', 'N', 'A', 'M', 3, 0, 0, 0, 'a', 'b', 0, 0});
    const Bytes file = W::riff({W::chunk("fmt ", W::fmtBody(1, 2, 8000, 16)), W::chunk("data", data), info,
                                W::chunk("id3 ", W::randomBytes(128, 60)), W::chunk("levl", W::randomBytes(64, 61))});
    auto f = openBytes(file);
    ASSERT_TRUE(f);
    EXPECT_EQ(workingBytes(*f), data);
    EXPECT_EQ(f->nTotalSamples, 1500u);

    // An odd-length 8-bit file keeps its first sample and gains no click,
    // however often it is opened and saved again.
    const Bytes odd = W::randomBytes(2999, 62);
    std::string name = path("odd.wav");
    writeFile(name, W::pcm(1, 8000, 8, odd));
    for (int round = 0; round < 3; ++round) {
        auto doc = open_document_file(name);
        ASSERT_TRUE(doc) << round;
        EXPECT_EQ(workingBytes(*doc), odd) << round;
        const std::string next = path("odd" + std::to_string(round) + ".wav");
        ASSERT_EQ(save_waveform_file(*doc, next, 0, 0), 1);
        name = next;
    }
    EXPECT_TRUE(shownTexts().empty());
}

TEST_F(DocumentOpenTest, ATruncatedFileOpensWhatItHoldsAndSaysSo)
{
    const Bytes data = W::randomBytes(8000, 63);
    Bytes file = W::pcm(2, 22050, 16, data);
    file.resize(file.size() - 1001);  // ends inside a frame
    auto f = openBytes(file);
    ASSERT_TRUE(f);
    EXPECT_EQ(f->nTotalSamples, (8000u - 1004u) / 2u);
    EXPECT_EQ(workingBytes(*f), Bytes(data.begin(), data.end() - 1004));
    ASSERT_EQ(shownTexts().size(), 1u);
    EXPECT_NE(shownTexts()[0].find("in.wav is truncated"), std::string::npos) << shownTexts()[0];

    // A recorder that never wrote its sizes: all ones is "to the end".
    host.clearShown();
    Bytes unfinished = W::riff({W::chunk("fmt ", W::fmtBody(1, 1, 8000, 16)), W::chunk("data", data, 0xFFFFFFFF)},
                               "WAVE", 0xFFFFFFFF);
    auto g = openBytes(unfinished);
    ASSERT_TRUE(g);
    EXPECT_EQ(workingBytes(*g), data);
    EXPECT_TRUE(shownTexts().empty());
}

TEST_F(DocumentOpenTest, BadFilesGiveTheirMessageAndLeaveNothingBehind)
{
    const Bytes fmt = W::chunk("fmt ", W::fmtBody(1, 1, 22050, 8));
    Bytes noData = W::riff({fmt});
    struct Case {
        Bytes file;
        const char* message;
    };
    const std::vector<Case> cases = {
        {{}, "End of input file."},
        // An ADPCM file without "fact": the user is asked, and says no.
        {W::riff({W::chunk("fmt ", W::fmtBody(2, 1, 22050, 4, 20)), W::chunk("data", {1, 2})}),
         "This wave file does not have a 'fact' chunk and requires one! This is completely invalid and MUST be "
         "fixed! Attempt to load it anyway?"},
        // A format that is neither PCM nor ADPCM.
        {W::riff({W::chunk("fmt ", W::fmtBody(0x55, 1, 22050, 0, 30)), W::chunk("fact", {1, 0, 0, 0}),
                  W::chunk("data", {1, 2})}),
         nullptr},
        {noData, "No 'data' chunk in input file."},
        {W::riff({W::chunk("data", {1, 2}), fmt}), "No 'data' chunk in input file."},
        {W::riff({fmt, W::chunk("data", {1, 2})}, "WAVE", 2), "No 'fmt' chunk on input file."},
    };
    for (const Case& c : cases) {
        host.clearShown();
        EXPECT_EQ(openBytes(c.file), nullptr) << (c.message ? c.message : "unknown format");
        // The program's text, then the file it is about.
        const std::string message = c.message ? c.message + std::string("\n\n") + path("in.wav")
                                              : path("in.wav") + " has an unknown (non-PCM) format.";
        EXPECT_EQ(shownTexts(), std::vector<std::string>{message});
        EXPECT_TRUE(filesIn(workDir()).empty()) << message;
    }
    // Messages that name the file. Four channels without an answer to the
    // question: said, not refused silently.
    for (const auto& [file, message] :
         {std::pair<Bytes, std::string>{W::pcm(4, 22050, 16, W::randomBytes(800, 13)),
                                        "in.wav has 4 channels; a document holds one or two. Open it with --downmix "
                                        "to mix them down to stereo, or with --channels-from L,R to take two of them."},
          std::pair<Bytes, std::string>{
              W::pcm(0, 22050, 8, W::randomBytes(600, 15)),
              "Cannot open in.wav: it holds WAVE audio, which neither libsndfile nor FFmpeg can read."}}) {
        host.clearShown();
        EXPECT_EQ(openBytes(file), nullptr);
        EXPECT_EQ(shownTexts(), std::vector<std::string>{message});
        EXPECT_TRUE(filesIn(workDir()).empty());
    }
    host.clearShown();
    EXPECT_EQ(open_document_file(path("missing.wav")), nullptr);
    ASSERT_EQ(mkdir(path("dir.wav").c_str(), 0755), 0);
    EXPECT_EQ(open_document_file(path("dir.wav")), nullptr);
    EXPECT_EQ(shownTexts(), (std::vector<std::string>{"Cannot open input WAVE file.\n\n" + path("missing.wav"),
                                                       "Cannot open input WAVE file.\n\n" + path("dir.wav")}));
    EXPECT_TRUE(filesIn(workDir()).empty());
    EXPECT_EQ(open_document_count(), 0);
}

TEST_F(DocumentOpenTest, AFullDiskWhileCopyingCreatesNoDocument)
{
    writeFile(path("big.wav"), W::pcm(2, 44100, 16, W::randomBytes(300000, 8)));
    std::unique_ptr<CChildFrame> f;
    withFileSizeLimit(100000, [&] { f = open_document_file(path("big.wav")); });
    EXPECT_EQ(f, nullptr);
    EXPECT_EQ(shownTexts(), std::vector<std::string>{"Not enough room on disk to copy file.\n\n" + path("big.wav")});
    EXPECT_TRUE(filesIn(workDir()).empty());
}

TEST_F(DocumentOpenTest, CancellingTheOverviewEndsTheOpenWithThePartBuilt)
{
    // The copy (in the kernel, up to 32 blocks a call) polls Cancel once here,
    // the overview once every ten blocks of 256 frames: Cancel on its first poll.
    writeFile(path("in.wav"), W::pcm(1, 22050, 16, W::randomBytes(65536, 9)));
    szOpenedFileName = path("in.wav");
    host.cancelAfterPolls(1);
    {
        CChildFrame f;
        EXPECT_EQ(open_document(f), 0);
        EXPECT_EQ(f.nLevelLength[1], 20u);  // ten blocks of a minimum and a maximum
        EXPECT_FALSE(host.progressOpen());
    }
    EXPECT_TRUE(filesIn(workDir()).empty());
}

TEST_F(DocumentOpenTest, ZoomedInitialDisplayStartsAtAFinerLevel)
{
    preferences().zoomedInitialDisplay = true;
    auto f = openBytes(W::pcm(1, 8000, 8, W::randomBytes(8000 * 60, 10)));
    ASSERT_TRUE(f);
    // 60 s at 8 kHz mono counts 960000 units: ten levels. Ten seconds on 1920
    // columns need 80000 / 1920 = 42 frames a column, so 2^6: level 10 - 6 = 4.
    EXPECT_EQ(f->nMaxZoomLevel, 10);
    EXPECT_EQ(f->nZoomLevel, 4);
    EXPECT_EQ(f->fZoom, 8.0f);
}

TEST_F(DocumentOpenTest, SaveBufferCopiesFramesFromTheHighlight)
{
    const Bytes data = W::randomBytes(4000, 11);
    auto f = openBytes(W::pcm(2, 22050, 16, data));
    ASSERT_TRUE(f);
    f->nSelStart = 10;
    std::uint32_t position = 0;
    const unsigned char* buffer = f->make_pSaveBuffer_single_display(4, &position, 3);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(position, 10u * 2u + 4u);
    EXPECT_EQ(Bytes(buffer, buffer + 12), Bytes(data.begin() + 24, data.begin() + 36));
    f->shitcan_pSaveBuffer();
    EXPECT_TRUE(f->pSaveBuffer.empty());
}

TEST_F(DocumentOpenTest, OnlyAModifiedDocumentAsksBeforeClosing)
{
    auto f = openBytes(W::pcm(1, 8000, 8, W::randomBytes(100, 12)));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->query_close(), 1);
    EXPECT_TRUE(host.shown().empty());
    f->bModified = 1;
    host.scriptAnswers({IDCANCEL, IDOK});
    EXPECT_EQ(f->query_close(), 0);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].text, "OK to close in.wav?");
    EXPECT_EQ(host.shown()[0].style, static_cast<unsigned>(MB_OKCANCEL | MB_ICONQUESTION));
    EXPECT_EQ(f->query_close(), 1);
}

// What a file holds decides how it opens, not its name: the extensible and
// float WAVE forms open as documents of their width; what no library can
// read, and what is not sound at all, is refused with a message naming the
// file and what it holds.
TEST_F(DocumentOpenTest, FilesAreJudgedByTheirContent)
{
    auto fmt = [](std::uint16_t tag, std::uint16_t channels, std::uint16_t bits) {
        return WavBuilder::fmtBody(tag, channels, 44100, bits);
    };
    WavBuilder::Bytes extensible = fmt(0xFFFE, 2, 24);
    WavBuilder::put16(extensible, 22);  // the extension: valid bits, channel mask, sub-format
    WavBuilder::put16(extensible, 24);
    WavBuilder::put32(extensible, 3);
    WavBuilder::put16(extensible, 1);  // PCM
    for (std::uint8_t b : {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71})
        extensible.push_back(b);
    const WavBuilder::Bytes samples = W::randomBytes(600, 7);
    auto riff = [&](const WavBuilder::Bytes& format) {
        return WavBuilder::riff({WavBuilder::chunk("fmt ", format), WavBuilder::chunk("data", samples)});
    };
    for (const auto& [name, content, bits, tag] :
         {std::tuple{"deep.wav", riff(extensible), 24, 1}, std::tuple{"float.wav", riff(fmt(3, 2, 32)), 32, 3}}) {
        SCOPED_TRACE(name);
        writeFile(path(name), content);
        auto doc = open_document_file(path(name));
        ASSERT_NE(doc, nullptr);
        EXPECT_EQ(doc->wfx.wBitsPerSample, bits);
        EXPECT_EQ(doc->wfx.wFormatTag, tag);
        EXPECT_EQ(workingBytes(*doc), samples);
    }

    auto bytes = [](std::string text) {
        text.resize(600, '\0');
        return WavBuilder::Bytes(text.begin(), text.end());
    };
    const struct {
        const char* name;
        WavBuilder::Bytes content;
        std::string message;
    } cases[] = {
        {"song.flac", bytes("fLaC"), "Cannot open song.flac: it holds FLAC audio, which neither libsndfile nor FFmpeg can read."},
        {"talk.wav", bytes(std::string("OggS") + std::string(24, '\x01') + "OpusHead"),
         "Cannot open talk.wav: it holds Opus audio, which neither libsndfile nor FFmpeg can read."},
        {"photo.wav", bytes("\x89PNG\r\n"),
         "photo.wav holds no sound (a picture, an archive or a program), which this version cannot open."},
        {"tune.mp3", bytes("MThd"), "tune.mp3 holds a MIDI sequence, which this version cannot open."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        writeFile(path(c.name), c.content);
        host.clearShown();
        EXPECT_EQ(open_document_file(path(c.name)), nullptr);
        EXPECT_EQ(shownTexts(), std::vector<std::string>{c.message});
        EXPECT_TRUE(filesIn(workDir()).empty());
    }
    writeFile(path("plain.wav"), WavBuilder::pcm(2, 44100, 16, WavBuilder::indexedFrames(1000)));
    EXPECT_EQ(unopenable_content_description(path("plain.wav")), "");
    EXPECT_NE(open_document_file(path("plain.wav")), nullptr);
}
