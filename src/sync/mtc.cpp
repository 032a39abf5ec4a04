#include "sync/mtc.h"

bool mtc_take_message(MtcState& s, std::uint32_t message, std::int64_t arrivedNs)
{
    if (message == 0) {
        s.mtc_fresh = false;
        return false;
    }
    s.mtc_fresh = true;
    if ((message & 0xFF) != 0xF1)
        return false;
    const std::uint8_t data = static_cast<std::uint8_t>(message >> 8);
    const int piece = (data / 16) & 7;
    const int slot = piece / 2;
    if (piece % 2 == 0)
        s.mtc_piece[slot] = data & 0x0F;
    else
        s.mtc_piece[slot] = static_cast<std::uint8_t>(s.mtc_piece[slot] | (data & 0x0F) << 4);
    if (piece != 7)
        return false;
    // The hours slot keeps the sum; only its low five bits are hours.
    s.mtc_piece[3] = static_cast<std::uint8_t>(s.mtc_piece[3] + 0xA0);
    s.mtc_current[0] = static_cast<std::uint8_t>(s.mtc_piece[3] | 0x60);
    s.mtc_current[1] = s.mtc_piece[2];
    s.mtc_current[2] = s.mtc_piece[1];
    s.mtc_current[3] = s.mtc_piece[0];
    s.mtc_packed = (static_cast<std::uint32_t>(s.mtc_piece[3]) * 256 + s.mtc_piece[2]) << 16 |
                   (static_cast<std::uint32_t>(s.mtc_piece[1]) * 256 + s.mtc_piece[0]);
    s.completedAtNs = arrivedNs;
    ++s.completions;
    return true;
}

int mtc_hours(const MtcState& s) { return s.mtc_current[0] & 0x1F; }
int mtc_minutes(const MtcState& s) { return s.mtc_current[1]; }
int mtc_seconds(const MtcState& s) { return s.mtc_current[2]; }
int mtc_frames(const MtcState& s) { return s.mtc_current[3]; }

double smpte_seconds(int hours, int minutes, int seconds, int frames, int fps)
{
    return hours * 3600.0 + minutes * 60.0 + seconds + static_cast<double>(frames) / (fps > 0 ? fps : 30);
}

double mtc_time_seconds(const MtcState& s, int fps)
{
    return smpte_seconds(mtc_hours(s), mtc_minutes(s), mtc_seconds(s), mtc_frames(s), fps);
}

SmpteFields smpte_step_frame(SmpteFields t, int fps)
{
    t.frames += 1;
    if (t.frames > fps) {
        t.frames = 0;
        if (++t.seconds > 59) {
            t.seconds = 0;
            if (++t.minutes > 59) {
                t.minutes = 0;
                if (++t.hours > 23)
                    t.hours = 0;
            }
        }
    }
    return t;
}

SmpteFields smpte_advance_frames(SmpteFields t, int count, int fps)
{
    for (int i = 0; i < count; ++i)
        t = smpte_step_frame(t, fps);
    if (fps == 30 && t.minutes % 10 == 0)
        t.frames = 2;
    return t;
}
