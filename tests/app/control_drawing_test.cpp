#include "app/control_drawing.h"
#include "app/transport_state.h"

#include "support/temp_dir_test.h"

class ControlDrawingTest : public TempDirTest {
protected:
    void TearDown() override
    {
        transport_state() = TransportState{};
        alternate_view_button = false;
        TempDirTest::TearDown();
    }
};

TEST_F(ControlDrawingTest, TransportButtonsFollowTheRecordAndPlayState)
{
    OwnerDrawItem record{1813};
    EXPECT_EQ(owner_draw_face(record).bitmap, "rrecord");
    transport_state().recording = true;
    EXPECT_EQ(owner_draw_face(record).bitmap, "redrec");
    transport_state().playing = true;
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1815}).bitmap, "grnplay");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1816}).bitmap, "rpause");
    transport_state().paused = true;
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1816}).bitmap, "yelpause");
}

TEST_F(ControlDrawingTest, DisabledButtonsUseTheirOwnBitmapAndOnlyOnAFullDraw)
{
    OwnerDrawItem stop{1814};
    stop.disabled = true;
    EXPECT_EQ(owner_draw_face(stop).bitmap, "invstop");
    stop.drawEntire = false;
    EXPECT_FALSE(owner_draw_face(stop).draw);
    OwnerDrawItem cue{427};
    cue.disabled = true;
    EXPECT_EQ(owner_draw_face(cue).bitmap, "invcue");
    OwnerDrawItem save{367};
    save.disabled = true;
    EXPECT_EQ(owner_draw_face(save).bitmap, "blank");  // no disabled bitmap exists
}

TEST_F(ControlDrawingTest, FixedButtonsAndLabels)
{
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1}).bitmap, "ok");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1}).fixedLabel, "OK");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{2}).bitmap, "cancel");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{372}).bitmap, "CANCEL");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{372}).fixedLabel, "Exit");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1880}).fixedLabel, "View");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{1813}).fixedLabel, "");
    EXPECT_EQ(owner_draw_face(OwnerDrawItem{4242}).bitmap, "blank");
}

TEST(ControlDrawing, DialogsAreCentredWithTheirOldRounding)
{
    // (1920 - 400) / 2 + 4 = 764; clearing the bits of value 6 gives 760.
    EXPECT_EQ(centred_dialog_origin(1920, 1080, 400, 300).x, 760);
    EXPECT_EQ(centred_dialog_origin(1920, 1080, 400, 300).y, 390);
    // (1000 - 333) / 2 + 4 = 337 has neither bit set and stays.
    EXPECT_EQ(centred_dialog_origin(1000, 800, 333, 201).x, 337);
    EXPECT_EQ(centred_dialog_origin(1000, 800, 333, 201).y, 299);
}

TEST_F(ControlDrawingTest, TextStylesAndHelp)
{
    draw_text_on_control(nullptr, 1039, "hello", "Helv", 80, 0, 0);
    EXPECT_EQ(host.controlText(1039), "hello");
    new_show_context_help(nullptr, 11206);
    EXPECT_EQ(host.helpContext(), 11206);
    EXPECT_EQ(host.helpFile().substr(host.helpFile().size() - 8), "/Z32.HLP");
}
