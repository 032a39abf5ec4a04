// Time marks: adding at the cursor with the 49-mark limit, pairs from the
// highlight, deletion with its unlinking and relinking rules, hit testing,
// the information text, the cue list, and keeping marks in saved files.

#include "edit/timemarks.h"

#include "edit/edit_operations.h"
#include "edit/undo.h"
#include "modules/effect_commands.h"

#include "view/document_save.h"
#include "view/mouse_selection.h"
#include "view/timemark_storage.h"
#include "wavefile/cue_chunk.h"

#include "support/document_test.h"

#include <fstream>

class TimemarksTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        doc = openTone(2, 16, 44100, 441000);
        ASSERT_TRUE(doc);
    }
    void TearDown() override
    {
        doc.reset();
        DocumentTest::TearDown();
    }
    int addAt(int x)
    {
        doc->nCaretX = x;
        return add_timemark(*doc);
    }
    void highlight(std::uint32_t start, std::uint32_t end)
    {
        doc->bHighlight = 1;
        set_selection_units(*doc, start, end);
    }
    const Timemark& mark(int i) const { return doc->timemarks.at(static_cast<std::size_t>(i)); }

    std::unique_ptr<CChildFrame> doc;
};

TEST_F(TimemarksTest, AddsAtTheCursorUpToFortyNineAndTheBarSaysWhenFull)
{
    ASSERT_EQ(addAt(100), 1);
    EXPECT_EQ(mark(0).position, doc->pixel_to_sample(100.0f));
    EXPECT_EQ(mark(0).name, "Marker " + std::to_string(mark(0).position));
    EXPECT_EQ(mark(0).partner, -1);
    EXPECT_EQ(doc->bModified, 1);

    // The icon covers columns 96..104 and rows 13..2 above the ruler's bottom.
    const int base = timemark_baseline(*doc);
    EXPECT_EQ(find_timemark(*doc, 96, base - 13), 0);
    EXPECT_EQ(find_timemark(*doc, 104, base - 2), 0);
    EXPECT_EQ(find_timemark(*doc, 95, base - 5), -1);
    EXPECT_EQ(find_timemark(*doc, 105, base - 5), -1);
    EXPECT_EQ(find_timemark(*doc, 100, base - 14), -1);
    EXPECT_EQ(find_timemark(*doc, 100, base - 1), -1);

    for (int i = 1; i < kTimemarkLimit; ++i)
        ASSERT_EQ(addAt(100 + 10 * i), 1);
    ASSERT_EQ(doc->timemarks.size(), 49u);
    host.clearShown();
    EXPECT_EQ(addAt(900), 0);
    EXPECT_EQ(doc->timemarks.size(), 49u);
    EXPECT_TRUE(host.shown().empty()) << "the menu command refuses silently";
    // The cue list is refilled even so, the last row current.
    EXPECT_EQ(host.cueList().names.size(), 49u);
    EXPECT_EQ(host.cueList().current, 48);

    EXPECT_EQ(add_timemark_from_bar(*doc), 0);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "Too many timemarks");

    // Pairs are not held to the limit.
    highlight(1000, 5000);
    EXPECT_EQ(add_timemark_pair(*doc), 1);
    EXPECT_EQ(doc->timemarks.size(), 51u);
    EXPECT_EQ(host.cueList().names.size(), 50u);

    delete_all_timemarks(*doc);
    EXPECT_TRUE(doc->timemarks.empty());
    EXPECT_TRUE(host.cueList().names.empty());
    EXPECT_EQ(host.cueList().current, -1);
}

TEST_F(TimemarksTest, NamesOnTheFlyWhenAskedAndFallsBackOnCancel)
{
    preferences().markerNameOnTheFly = true;
    host.scriptMarkerNames({"Chorus", "", "A name much longer than twenty-nine characters"});
    addAt(10);
    addAt(20);   // OK with an empty name counts as Cancel
    addAt(30);
    addAt(40);   // no answer: Cancel
    EXPECT_EQ(mark(0).name, "Chorus");
    EXPECT_EQ(mark(1).name, "Marker " + std::to_string(mark(1).position));
    EXPECT_EQ(mark(2).name, "A name much longer than twent");
    EXPECT_EQ(mark(2).name.size(), 29u);
    EXPECT_EQ(mark(3).name, "Marker " + std::to_string(mark(3).position));

    preferences().markerNameOnTheFly = false;
    host.scriptMarkerNames({"Ignored"});
    addAt(50);
    EXPECT_EQ(mark(4).name, "Marker " + std::to_string(mark(4).position));
}

TEST_F(TimemarksTest, PairsShowOneRowAndUnlinkWhenEitherEndGoes)
{
    addAt(50);
    highlight(88200, 176400);
    ASSERT_EQ(add_timemark_pair(*doc), 1);
    ASSERT_EQ(doc->timemarks.size(), 3u);
    EXPECT_EQ(mark(1).position, 88200u);
    EXPECT_EQ(mark(1).partner, 2);
    EXPECT_EQ(mark(1).second, 0);
    EXPECT_EQ(mark(2).position, 176400u);
    EXPECT_EQ(mark(2).partner, -1);
    EXPECT_EQ(mark(2).second, 1);
    EXPECT_EQ(mark(2).name, "Marker 176400");
    CueList list = cue_list(*doc);
    ASSERT_EQ(list.names.size(), 2u);
    EXPECT_EQ(list.names[1], "Marker 88200");
    EXPECT_EQ(list.markers[1], 1);
    EXPECT_EQ(list.current, 1);

    // Choosing the pair highlights its range; a single mark takes the cursor.
    doc->bHighlight = 0;
    select_timemark(*doc, 1);
    EXPECT_EQ(doc->bHighlight, 1);
    EXPECT_EQ(doc->nSelStart, 88200u);
    EXPECT_EQ(doc->nSelEnd, 176400u);
    select_timemark(*doc, 0);
    EXPECT_EQ(doc->bHighlight, 0);
    EXPECT_EQ(doc->nCaretX, timemark_x(*doc, 0));

    // Deleting the first of the pair leaves the second as a single mark.
    delete_timemark(*doc, 1);
    ASSERT_EQ(doc->timemarks.size(), 2u);
    EXPECT_EQ(mark(1).position, 176400u);
    EXPECT_EQ(mark(1).second, 0);
    EXPECT_EQ(mark(1).partner, -1);
    EXPECT_EQ(cue_list(*doc).names.size(), 2u);

    // Deleting the second of a pair clears the first's link.
    highlight(200000, 300000);
    add_timemark_pair(*doc);
    delete_timemark(*doc, 3);
    EXPECT_EQ(mark(2).partner, -1);
    EXPECT_EQ(mark(2).second, 0);
}

TEST_F(TimemarksTest, LinksOfMovedMarksAreLoweredByScreenPosition)
{
    // A single mark right of a pair: deleting it moves the pair down, but its
    // link points at a mark left of the deleted one and stays as it was.
    addAt(600);
    highlight(doc->pixel_to_sample(100.0f), doc->pixel_to_sample(200.0f));
    add_timemark_pair(*doc);
    ASSERT_EQ(mark(1).partner, 2);
    delete_timemark(*doc, 0);
    ASSERT_EQ(doc->timemarks.size(), 2u);
    EXPECT_EQ(mark(0).partner, 2) << "x positions decide, not indices";
    // The stale link harms nothing.
    EXPECT_EQ(cue_list(*doc).names.size(), 1u);
    select_timemark(*doc, 0);
    EXPECT_EQ(doc->bHighlight, 0);
    delete_timemark(*doc, 0);
    EXPECT_EQ(doc->timemarks.size(), 1u);

    // A single mark left of a pair: the link is lowered with the move.
    delete_all_timemarks(*doc);
    addAt(50);
    highlight(doc->pixel_to_sample(100.0f), doc->pixel_to_sample(200.0f));
    add_timemark_pair(*doc);
    delete_timemark(*doc, 0);
    EXPECT_EQ(mark(0).partner, 1);
    EXPECT_EQ(mark(1).second, 1);

    // A pair before the deleted mark whose end lies after it keeps pointing
    // at its end.
    delete_all_timemarks(*doc);
    highlight(doc->pixel_to_sample(100.0f), doc->pixel_to_sample(200.0f));
    add_timemark_pair(*doc);                 // 0 -> 1
    addAt(300);                              // 2
    delete_timemark(*doc, 0);                // the pair's end is now 0
    addAt(400);
    highlight(doc->pixel_to_sample(500.0f), doc->pixel_to_sample(600.0f));
    add_timemark_pair(*doc);                 // 3 -> 4
    delete_timemark(*doc, 1);
    EXPECT_EQ(mark(2).partner, 3);
}

TEST_F(TimemarksTest, InformationTextNamesTheMarkAndItsTime)
{
    highlight(88200, 88200 + 44100);
    add_timemark_pair(*doc);
    EXPECT_EQ(timemark_info_text(*doc, 0, false, 0, 1), "Marker 88200, Time: 1.000 sec");
    EXPECT_EQ(timemark_info_text(*doc, 1, false, 0, 25), "Marker 132300, Time: 00:00:01:12");
    rename_timemark(*doc, 0, std::string(60, 'x'));
    EXPECT_EQ(mark(0).name.size(), 29u);
    const std::string atMouse = timemark_info_text(*doc, 0, true, 0, 1);
    EXPECT_EQ(atMouse, std::string(29, 'x') + ", Time: 0.000 sec");
    EXPECT_EQ(timemark_info_text(*doc, 7, false, 0, 1), "");
}

TEST_F(TimemarksTest, MarksAreSavedWithTheFileAndComeBackWhenItOpens)
{
    preferences().markerNameOnTheFly = true;
    host.scriptMarkerNames({"Verse"});
    addAt(100);
    highlight(88200, 176400);
    add_timemark_pair(*doc);
    rename_timemark(*doc, 2, "Verse end");
    const std::string saved = path("marked.wav");
    ASSERT_EQ(save_waveform_file(*doc, saved, 0, 0), 1);

    const std::vector<CuePoint> points = read_cue_points(saved);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0].label, "Verse");
    EXPECT_EQ(points[0].frame, mark(0).position / 2);
    EXPECT_EQ(points[1].frame, 44100u);
    EXPECT_EQ(points[1].length, 44100u);
    EXPECT_EQ(points[1].note, "Verse end");

    auto again = open_document_file(saved);
    ASSERT_TRUE(again);
    ASSERT_EQ(again->timemarks.size(), 3u);
    EXPECT_EQ(again->timemarks[0].name, "Verse");
    EXPECT_EQ(again->timemarks[0].position, mark(0).position);
    EXPECT_EQ(again->timemarks[1].position, 88200u);
    EXPECT_EQ(again->timemarks[1].partner, 2);
    EXPECT_EQ(again->timemarks[2].name, "Verse end");
    EXPECT_EQ(again->timemarks[2].second, 1);
    // The samples are untouched by the chunks before them.
    EXPECT_EQ(again->nTotalSamples, doc->nTotalSamples);
    std::ifstream a(doc->szFileName, std::ios::binary), b(again->szFileName, std::ios::binary);
    EXPECT_TRUE(std::equal(std::istreambuf_iterator<char>(a), {}, std::istreambuf_iterator<char>(b)));

    // A saved highlight keeps the marks inside it, moved to its start; a
    // pair cut by it keeps its inside end.
    highlight(132300, 300000);
    ASSERT_EQ(save_waveform_file(*doc, path("part.wav"), 1, 0), 1);
    const std::vector<CuePoint> part = read_cue_points(path("part.wav"));
    ASSERT_EQ(part.size(), 1u);
    EXPECT_EQ(part[0].frame, (176400u - 132300u) / 2);
    EXPECT_EQ(part[0].label, "Verse end");
    EXPECT_EQ(part[0].length, 0u);
}

TEST_F(TimemarksTest, DamagedCueChunksGiveWhatCanBeRead)
{
    // A cue chunk that claims more points than it holds, a label for an
    // unknown id that runs past the end of its list, a point past the end.
    WavBuilder::Bytes cue;
    WavBuilder::put32(cue, 1000);
    for (std::uint32_t id : {7u, 9u}) {
        WavBuilder::put32(cue, id);
        WavBuilder::put32(cue, 0);
        WavBuilder::putId(cue, "data");
        WavBuilder::put32(cue, 0);
        WavBuilder::put32(cue, 0);
        WavBuilder::put32(cue, id == 7 ? 100 : 99999999);
    }
    WavBuilder::Bytes labl;
    WavBuilder::put32(labl, 7);
    for (char c : std::string("Seven"))
        labl.push_back(static_cast<std::uint8_t>(c));
    labl.push_back(0);
    WavBuilder::Bytes stray;
    WavBuilder::put32(stray, 3);
    stray.push_back('x');
    WavBuilder::Bytes list;
    WavBuilder::putId(list, "adtl");
    auto l1 = WavBuilder::chunk("labl", labl);
    auto l2 = WavBuilder::chunk("labl", stray, 50);
    list.insert(list.end(), l1.begin(), l1.end());
    list.insert(list.end(), l2.begin(), l2.end());
    auto listChunk = WavBuilder::chunk("LIST", list);

    WavBuilder::Bytes samples(4000, 0);
    WavBuilder::Bytes body;
    WavBuilder::putId(body, "WAVE");
    WavBuilder::Bytes fmt;
    WavBuilder::put16(fmt, 1);
    WavBuilder::put16(fmt, 2);
    WavBuilder::put32(fmt, 44100);
    WavBuilder::put32(fmt, 44100 * 4);
    WavBuilder::put16(fmt, 4);
    WavBuilder::put16(fmt, 16);
    for (const auto& c : {WavBuilder::chunk("fmt ", fmt), WavBuilder::chunk("cue ", cue), listChunk,
                          WavBuilder::chunk("data", samples)})
        body.insert(body.end(), c.begin(), c.end());
    writeFile(path("damaged.wav"), WavBuilder::chunk("RIFF", body));

    const std::vector<CuePoint> points = read_cue_points(path("damaged.wav"));
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0].label, "Seven");
    auto f = open_document_file(path("damaged.wav"));
    ASSERT_TRUE(f);
    ASSERT_EQ(f->timemarks.size(), 1u) << "the point past the end is dropped";
    EXPECT_EQ(f->timemarks[0].name, "Seven");
    EXPECT_EQ(f->timemarks[0].position, 200u);

    EXPECT_TRUE(read_cue_points(path("no-such-file.wav")).empty());
}

// Marks follow the edits: a cut moves the marks after it back and removes
// those inside (the user is told how many; a pair cut in two leaves its
// other mark alone); an insertion of silence moves the marks from its
// place on; a paste over a highlight replaces what was inside; a crop keeps
// only the inside, moved to the start; a tempo change spreads the marks of
// its passage over the new length. Undo and Redo bring each version's marks.
TEST_F(TimemarksTest, MarksFollowTheEditsAndUndo)
{
    // Ten seconds of stereo: 882000 units.
    const auto positions = [this] {
        std::vector<std::uint32_t> p;
        for (const Timemark& m : doc->timemarks)
            p.push_back(m.position);
        return p;
    };
    ASSERT_GE(add_timemark_at_position(*doc, 100000, "late"), 0);
    ASSERT_GE(add_timemark_at_position(*doc, 30000, "inside"), 0);
    highlight(40000, 60000);
    ASSERT_EQ(add_timemark_pair(*doc), 1);  // 40000 and 60000, linked
    ASSERT_EQ(doc->timemarks.size(), 4u);

    // Cut units [20000, 50000): "inside" and the pair's start go.
    highlight(20000, 50000);
    host.clearShown();
    ASSERT_EQ(edit_operation(*doc, *doc, true, kCut), 1);
    EXPECT_EQ(positions(), (std::vector<std::uint32_t>{70000, 30000}));
    EXPECT_EQ(mark(0).name, "late");
    EXPECT_EQ(mark(1).partner, -1);
    EXPECT_EQ(mark(1).second, 0) << "the pair's end stands alone";
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(host.shown()[0].text, "2 time marks in the removed part were removed.");

    undo_menu_command(*doc);
    EXPECT_EQ(positions(), (std::vector<std::uint32_t>{100000, 30000, 40000, 60000}));
    EXPECT_EQ(mark(2).partner, 3);
    undo_menu_command(*doc);  // redo
    EXPECT_EQ(positions(), (std::vector<std::uint32_t>{70000, 30000}));

    // Silence inserted at 10000: both move on by its length.
    highlight(10000, 10000);
    doc->bHighlight = 0;
    ASSERT_EQ(insert_silence_command(*doc, 4410), 1);
    EXPECT_EQ(positions(), (std::vector<std::uint32_t>{74410, 34410}));

    // The clipboard (30000 units, from the cut) pasted over [60000, 80000):
    // the mark at 74410 was inside; the one before stays.
    highlight(60000, 80000);
    host.clearShown();
    ASSERT_EQ(edit_operation(*doc, *doc, false, kPaste), 1);
    EXPECT_EQ(positions(), (std::vector<std::uint32_t>{34410}));
    EXPECT_EQ(host.shown().back().text, "1 time mark in the removed part was removed.");

    // New marks, then a crop to [30000, 130000): the inside ones move to the start.
    ASSERT_GE(add_timemark_at_position(*doc, 200000, "outside"), 0);
    ASSERT_GE(add_timemark_at_position(*doc, 100000, "kept"), 0);
    highlight(30000, 130000);
    ASSERT_EQ(edit_operation(*doc, *doc, true, kCrop), 1);
    EXPECT_EQ(positions(), (std::vector<std::uint32_t>{4410, 70000}));
    EXPECT_EQ(doc->nTotalSamples, 100000u);
}

TEST_F(TimemarksTest, ATempoChangeSpreadsItsMarks)
{
    ASSERT_GE(add_timemark_at_position(*doc, 44100, "in"), 0);
    ASSERT_GE(add_timemark_at_position(*doc, 300000, "after"), 0);
    highlight(0, 176400);  // the first two seconds, played twice as fast
    host.setEffectSettings({{"tempo", "200"}});
    ASSERT_EQ(run_effect_command(*doc, kEffectTempo), 1);
    host.setEffectSettings({});
    EXPECT_EQ(doc->nTotalSamples, 882000u - 88200u);
    ASSERT_EQ(doc->timemarks.size(), 2u);
    EXPECT_NEAR(mark(0).position, 22050.0, 2.0);
    EXPECT_EQ(mark(1).position, 300000u - 88200u);
}

// Shifting a passage 10 ms later (Quantize's shift) takes its marks along;
// a mark where it lands goes, one before it stays.
TEST_F(TimemarksTest, AShiftedPassageTakesItsMarks)
{
    ASSERT_GE(add_timemark_at_position(*doc, 50000, "before"), 0);
    ASSERT_GE(add_timemark_at_position(*doc, 100000, "inside"), 0);
    ASSERT_GE(add_timemark_at_position(*doc, 176500, "landed on"), 0);
    highlight(88200, 176400);  // seconds 1 to 2
    host.setEffectSettings({{"mode", "shift"}, {"shift", "10"}});
    host.clearShown();
    ASSERT_EQ(run_effect_command(*doc, kEffectQuantize), 1);
    host.setEffectSettings({});
    ASSERT_EQ(doc->timemarks.size(), 2u);
    EXPECT_EQ(mark(0).position, 50000u);
    EXPECT_EQ(mark(1).position, 100000u + 2 * 441);
    EXPECT_EQ(host.shown().back().text, "1 time mark in the removed part was removed.");
}
