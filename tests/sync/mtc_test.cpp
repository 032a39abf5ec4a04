// MIDI Time Code assembly from quarter frames and SMPTE frame arithmetic.

#include "sync/mtc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

// The eight quarter frames of a time, rate code `rate` (0 = 24 fps).
std::vector<std::uint32_t> quarterFrames(int h, int m, int s, int f, int rate = 0)
{
    const int nibbles[8] = {f & 15, f >> 4, s & 15, s >> 4, m & 15, m >> 4, h & 15, (rate << 1) | (h >> 4)};
    std::vector<std::uint32_t> messages;
    for (int piece = 0; piece < 8; ++piece)
        messages.push_back(midi_message(0xF1, static_cast<std::uint8_t>(piece << 4 | nibbles[piece])));
    return messages;
}

}  // namespace

TEST(MtcTest, QuarterFramesCompleteATimeOnlyAtTheEighthPiece)
{
    MtcState s;
    const auto pieces = quarterFrames(17, 42, 35, 23);
    for (int i = 0; i < 7; ++i) {
        EXPECT_FALSE(mtc_take_message(s, pieces[static_cast<std::size_t>(i)], 100 + i));
        EXPECT_TRUE(s.mtc_fresh);
    }
    EXPECT_EQ(s.mtc_packed, 0u);
    EXPECT_EQ(mtc_hours(s), 0);
    EXPECT_TRUE(mtc_take_message(s, pieces[7], 107));
    EXPECT_EQ(mtc_hours(s), 17);
    EXPECT_EQ(mtc_minutes(s), 42);
    EXPECT_EQ(mtc_seconds(s), 35);
    EXPECT_EQ(mtc_frames(s), 23);
    EXPECT_EQ(s.completedAtNs, 107);
    // The hours byte has bits 5 and 6 set; the slot keeps the sum with 0xA0.
    EXPECT_EQ(s.mtc_current[0] & 0x60, 0x60);
    EXPECT_EQ(s.mtc_piece[3], static_cast<std::uint8_t>(17 + 0xA0));
    EXPECT_EQ(s.mtc_packed, ((17u + 0xA0u) * 256 + 42) << 16 | (35u * 256 + 23));
    EXPECT_DOUBLE_EQ(mtc_time_seconds(s, 24), 17 * 3600 + 42 * 60 + 35 + 23.0 / 24);

    // A zero message clears the fresh flag; other messages set it and are
    // otherwise ignored.
    EXPECT_FALSE(mtc_take_message(s, 0));
    EXPECT_FALSE(s.mtc_fresh);
    EXPECT_FALSE(mtc_take_message(s, midi_message(0x90, 60, 100)));
    EXPECT_TRUE(s.mtc_fresh);
    EXPECT_EQ(mtc_hours(s), 17);
}

TEST(MtcTest, OutOfOrderPiecesStillCompleteOnlyAtPieceSeven)
{
    MtcState s;
    auto pieces = quarterFrames(1, 2, 3, 4);
    // Shuffled, with piece 7 last: the whole time is right.
    std::vector<int> order = {3, 1, 0, 6, 2, 5, 4, 7};
    int completions = 0;
    for (int k : order)
        completions += mtc_take_message(s, pieces[static_cast<std::size_t>(k)]);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(mtc_hours(s), 1);
    EXPECT_EQ(mtc_minutes(s), 2);
    EXPECT_EQ(mtc_seconds(s), 3);
    EXPECT_EQ(mtc_frames(s), 4);

    // Piece 7 before the rest of a new time: it completes with the slots as
    // they stand (the old minutes and seconds, the new frames), and the
    // pieces after it complete nothing until the next piece 7.
    MtcState t;
    for (auto m : quarterFrames(1, 2, 3, 4))
        mtc_take_message(t, m);
    auto next = quarterFrames(5, 6, 7, 8);
    mtc_take_message(t, next[0]);
    mtc_take_message(t, next[1]);
    mtc_take_message(t, next[6]);
    EXPECT_TRUE(mtc_take_message(t, next[7]));
    EXPECT_EQ(mtc_hours(t), 5);
    EXPECT_EQ(mtc_minutes(t), 2);
    EXPECT_EQ(mtc_seconds(t), 3);
    EXPECT_EQ(mtc_frames(t), 8);
    for (int k : {2, 3, 4, 5})
        EXPECT_FALSE(mtc_take_message(t, next[static_cast<std::size_t>(k)]));
    EXPECT_EQ(mtc_seconds(t), 3);
}

TEST(MtcTest, GarbageAndTruncatedMessagesNeverLeaveTheirSlots)
{
    std::mt19937 random(9);
    MtcState s;
    for (int i = 0; i < 100000; ++i)
        mtc_take_message(s, random());
    EXPECT_LE(mtc_hours(s), 31);
    EXPECT_LE(mtc_minutes(s), 255);
    // A quarter frame without its data byte is piece 0 with nibble 0.
    MtcState t;
    for (auto m : quarterFrames(0, 0, 10, 5))
        mtc_take_message(t, m);
    mtc_take_message(t, midi_message(0xF1));
    EXPECT_EQ(t.mtc_piece[0], 0);
    EXPECT_EQ(mtc_frames(t), 5);
}

TEST(MtcTest, FramesCarryOnlyPastTheRateAndThirtyHasItsMinuteRule)
{
    // A count equal to the rate is still a frame.
    SmpteFields t{0, 0, 0, 23};
    t = smpte_step_frame(t, 24);
    EXPECT_EQ(t.frames, 24);
    EXPECT_EQ(t.seconds, 0);
    t = smpte_step_frame(t, 24);
    EXPECT_EQ(t.frames, 0);
    EXPECT_EQ(t.seconds, 1);
    // Seconds and minutes wrap after 59, hours after 23.
    t = smpte_step_frame({23, 59, 59, 25}, 25);
    EXPECT_EQ(t.hours, 0);
    EXPECT_EQ(t.minutes, 0);
    EXPECT_EQ(t.seconds, 0);
    EXPECT_EQ(t.frames, 0);
    t = smpte_advance_frames({1, 4, 59, 24}, 2, 24);
    EXPECT_EQ(t.minutes, 5);
    EXPECT_EQ(t.seconds, 0);
    EXPECT_EQ(t.frames, 1);

    // At 30 frames per second a minute that is a multiple of ten gets frame 2.
    t = smpte_advance_frames({0, 10, 4, 5}, 1, 30);
    EXPECT_EQ(t.frames, 2);
    t = smpte_advance_frames({0, 20, 4, 5}, 0, 30);
    EXPECT_EQ(t.frames, 2);
    t = smpte_advance_frames({0, 11, 4, 5}, 1, 30);
    EXPECT_EQ(t.frames, 6);
    t = smpte_advance_frames({0, 10, 4, 5}, 1, 24);
    EXPECT_EQ(t.frames, 6);

    EXPECT_DOUBLE_EQ(smpte_seconds(1, 0, 2, 15, 30), 3602.5);
    EXPECT_DOUBLE_EQ(smpte_seconds(0, 0, 2, 12, 24), 2.5);
}
