#include "wavefile/riff_file.h"
#include "wavefile/file_types.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_io.h"

#include <numeric>

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

using Bytes = WavBuilder::Bytes;
using W = WavBuilder;

class RiffInfoTest : public TempDirTest {
protected:
    // Writes the list as the only chunk of a RIFF WAVE file with PCM around it.
    void writeWithList(const InfoList& list)
    {
        RiffFile file;
        ASSERT_TRUE(file.open(path("info.wav"), RiffFile::Mode::Create));
        ChunkInfo riff;
        riff.fccType = kWave;
        ASSERT_EQ(file.createChunk(riff, MMIO_CREATERIFF), 0);
        ASSERT_EQ(write_info_list(&file, &list), INFO_OK);
        const Bytes rest = W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8));
        const Bytes data = W::chunk("data", {1, 2});
        file.write(rest.data(), static_cast<long long>(rest.size()));
        file.write(data.data(), static_cast<long long>(data.size()));
        ASSERT_EQ(file.ascend(riff), 0);
        file.close();
    }
};

TEST(InfoTable, HasTheTwentyThreeItemsInOrder)
{
    EXPECT_STREQ(info_item_definition(0).id, "IARL");
    EXPECT_STREQ(info_item_definition(1).name, "Artist");
    EXPECT_STREQ(info_item_definition(5).name, "Creation date");
    EXPECT_STREQ(info_item_definition(22).id, "ITCH");
    EXPECT_EQ(find_info_item(make_fourcc("ISBJ")), 17);
    EXPECT_EQ(find_info_item(make_fourcc("isbj")), -1);
    for (int i = 0; i < kInfoItemCount; ++i)
        EXPECT_GT(std::string(info_item_definition(i).help).size(), 10u) << i;
}

TEST_F(RiffInfoTest, ValuesRoundTripWithPaddingOfOddSizes)
{
    std::shared_ptr<InfoList> list;
    ASSERT_EQ(create_info_list(list), INFO_OK);
    ASSERT_EQ(list->items.size(), 23u);
    set_info_item_value(*list, 1, "Ann", INFOCHUNK_EDITED);         // 4 bytes: even
    set_info_item_value(*list, 3, "A comment", INFOCHUNK_EDITED);   // 10 bytes: even
    set_info_item_value(*list, 14, "Title", INFOCHUNK_EDITED);      // 6 bytes
    set_info_item_value(*list, 22, "Tech", INFOCHUNK_EDITED);       // 5 bytes: odd, padded
    set_info_item_value(*list, 5, "1553-05-03", INFOCHUNK_EDITED);  // 11 bytes: odd, padded
    writeWithList(*list);

    const Bytes b = readFile(path("info.wav"));
    // After "RIFF" size "WAVE" "LIST" size "INFO": the items in table order.
    EXPECT_EQ(std::string(b.begin() + 12, b.begin() + 16), "LIST");
    EXPECT_EQ(std::string(b.begin() + 20, b.begin() + 24), "INFO");
    EXPECT_EQ(std::string(b.begin() + 24, b.begin() + 28), "IART");
    EXPECT_EQ(std::string(b.begin() + 36, b.begin() + 40), "ICMT");
    EXPECT_EQ(std::string(b.begin() + 54, b.begin() + 58), "ICRD");
    EXPECT_EQ(b[58], 11);            // size field counts the zero but not the pad
    EXPECT_EQ(b[62 + 10], 0);        // the terminating zero...
    EXPECT_EQ(b[62 + 11], 0);        // ...and the pad byte
    EXPECT_EQ(std::string(b.begin() + 74, b.begin() + 78), "INAM");

    std::unique_ptr<wave_io_info> info;
    ASSERT_EQ(wioFileOpen(&info, path("info.wav").c_str(), 0), WIOERR_NOERROR);
    for (int i = 0; i < kInfoItemCount; ++i)
        EXPECT_EQ(info_item_value(*info->pInfo, i), info_item_value(*list, i)) << i;
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(RiffInfoTest, AListWithoutValuesWritesNothing)
{
    std::shared_ptr<InfoList> list;
    create_info_list(list);
    set_info_item_value(*list, 2, "", INFOCHUNK_EDITED);
    // An item whose value in the file is empty counts as having none.
    list->raw = {'I', 'C', 'O', 'P', 1, 0, 0, 0, 0, 0};
    list->items[4].offset = 8;
    list->items[4].size = 1;
    RiffFile file;
    ASSERT_TRUE(file.open(path("empty"), RiffFile::Mode::Create));
    EXPECT_EQ(write_info_list(&file, list.get()), INFO_OK);
    EXPECT_EQ(write_info_list(nullptr, list.get()), INFO_BAD_ARGUMENT);
    EXPECT_EQ(write_info_list(&file, nullptr), INFO_BAD_ARGUMENT);
    file.close();
    EXPECT_EQ(get_named_file_length(path("empty")), 0u);
}

TEST_F(RiffInfoTest, AnUnknownItemAcceptedIsNotWrittenBack)
{
    Bytes body;
    W::putId(body, "INFO");
    for (const Bytes& item : {W::chunk("IZZZ", {'x', 0}), W::chunk("IENG", {'E', 'd', 0})})
        body.insert(body.end(), item.begin(), item.end());
    writeFile(path("in.wav"), W::riff({W::chunk("LIST", body), W::chunk("fmt ", W::fmtBody(1, 1, 8000, 8)),
                                       W::chunk("data", {1, 2})}));
    host.scriptAnswers({IDYES});
    std::unique_ptr<wave_io_info> info;
    ASSERT_EQ(wioFileOpen(&info, path("in.wav").c_str(), 0), WIOERR_NOERROR);
    writeWithList(*info->pInfo);
    const Bytes b = readFile(path("info.wav"));
    const std::string text(b.begin(), b.end());
    EXPECT_EQ(text.find("IZZZ"), std::string::npos);
    EXPECT_NE(text.find("IENG"), std::string::npos);
}

TEST_F(RiffInfoTest, EditedValuesFollowTheSettingRules)
{
    std::shared_ptr<InfoList> list;
    create_info_list(list);
    list->raw = {'I', 'A', 'R', 'T', 4, 0, 0, 0, 'B', 'o', 'b', 0};
    list->items[1].offset = 8;
    list->items[1].size = 4;
    EXPECT_EQ(info_item_value(*list, 1), "Bob");

    set_info_item_value(*list, 1, "Bob", INFOCHUNK_EDITED);  // equal to the file's value: dropped
    EXPECT_FALSE(list->items[1].edited);
    set_info_item_value(*list, 1, "", INFOCHUNK_EDITED);     // empty: dropped
    EXPECT_EQ(info_item_value(*list, 1), "Bob");
    set_info_item_value(*list, 1, "Eve", INFOCHUNK_EDITED);
    EXPECT_EQ(info_item_value(*list, 1), "Eve");
    set_info_item_value(*list, 1, nullptr, INFOCHUNK_EDITED);  // null without FREE keeps it
    EXPECT_EQ(info_item_value(*list, 1), "Eve");
    set_info_item_value(*list, 1, nullptr, INFOCHUNK_EDITED | INFOCHUNK_FREE);
    EXPECT_EQ(info_item_value(*list, 1), "Bob");
    set_info_item_value(*list, 1, "", INFOCHUNK_EDITED);
    EXPECT_EQ(info_item_value(*list, 1), "Bob");

    EXPECT_EQ(free_info_list(list), INFO_OK);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(free_info_list(list), INFO_BAD_ARGUMENT);
}

TEST_F(RiffInfoTest, CopiesAChunkWhole)
{
    const Bytes body = W::randomBytes(40001, 9);
    writeFile(path("src"), body);
    RiffFile source;
    RiffFile destination;
    ASSERT_TRUE(source.open(path("src"), RiffFile::Mode::Read));
    ASSERT_TRUE(destination.open(path("dst"), RiffFile::Mode::Create));
    ChunkInfo ck;
    ck.ckid = make_fourcc("junk");
    ck.cksize = 40001;
    EXPECT_EQ(copy_riff_chunk(source, destination, ck), 1);
    destination.close();
    const Bytes copy = readFile(path("dst"));
    ASSERT_EQ(copy.size(), 8u + 40001u + 1u);
    EXPECT_EQ(Bytes(copy.begin() + 8, copy.begin() + 8 + 40001), body);
    ck.cksize = 50000;  // more than the source holds
    source.seek(0, SEEK_SET);
    ASSERT_TRUE(destination.open(path("dst2"), RiffFile::Mode::Create));
    EXPECT_EQ(copy_riff_chunk(source, destination, ck), 0);
}

TEST(FileTypes, TheTableAndTheExtensionRule)
{
    // The twenty rows the program always had, then the types read through
    // the media libraries, then "All Files".
    ASSERT_EQ(file_types().size(), 27u);
    EXPECT_STREQ(file_types()[0].filter, "Microsoft PCM Files (*.wav)");
    EXPECT_STREQ(file_types()[7].pattern, ".sf");  // without a star, as it always was
    EXPECT_STREQ(file_types()[10].filter, "Unigned binary files (*.sou)");
    EXPECT_STREQ(file_types()[19].filter, "JAF files (*.jaf)");
    EXPECT_STREQ(file_types()[kTypeFlac].filter, "FLAC files (*.flac)");
    EXPECT_STREQ(file_types()[kTypeAll].filter, "All Files (*.*)");
    EXPECT_EQ(readable_file_types().size(), 26u);  // all but RealMedia
    std::vector<int> readable(27);
    std::iota(readable.begin(), readable.end(), 0);
    readable.erase(readable.begin() + kTypeRealMedia);
    EXPECT_EQ(readable_types(), readable);
    // Every row that can be read opens, every row that can be written saves.
    for (const FileType& t : file_types()) {
        EXPECT_EQ(t.canRead, t.open != nullptr) << t.filter;
        EXPECT_EQ(t.canWrite, t.save != nullptr) << t.filter;
    }
    EXPECT_FALSE(file_types()[kTypeAac].canWrite);
    EXPECT_TRUE(file_types()[kTypeOpus].canWrite);
    EXPECT_EQ(file_type_of("song.flac", 0), kTypeFlac);
    EXPECT_EQ(file_type_of("song.OGA", 0), kTypeVorbis);
    EXPECT_EQ(file_type_of("song.aiff", 0), 2);
    EXPECT_EQ(file_type_of("song.aifc", 0), 2);
    EXPECT_EQ(file_type_of("song.8svx", 0), 1);
    EXPECT_EQ(file_type_of("song.m4a", 0), kTypeAac);
    // The extension rule alone changes nothing.
    EXPECT_EQ(file_type_of("song.AIF", 7), 2);
    EXPECT_EQ(file_type_of("x.unknown", 7), 7);
    EXPECT_EQ(file_type_of("x.wav", 7), 0);
    EXPECT_EQ(file_type_of("movie.avi", 0), 16);
    EXPECT_EQ(file_type_of("noise.voc", 0), 15);
    EXPECT_EQ(file_type_of("any.jaf", 0), 19);
    EXPECT_EQ(last_file_type, 0);
    // Remembering keeps the type of the last known name.
    EXPECT_EQ(remember_file_type("song.AIF"), 2);
    EXPECT_EQ(remember_file_type("take.1.wav"), 2);  // the text after the first dot: "1.wav" keeps the last type
    EXPECT_EQ(remember_file_type("x.mp3"), 18);
    EXPECT_EQ(remember_file_type("x.unknown"), 18);  // other extensions keep the type chosen last
    EXPECT_EQ(remember_file_type("x.wav"), 0);
    EXPECT_EQ(remember_file_type("movie.avi"), 16);
    last_file_type = 0;
}
