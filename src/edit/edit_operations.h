#pragma once

#include "app/command_ids.h"

#include <cstdint>

class CChildFrame;

// Builds the destination's new version from its bytes before the highlight,
// the middle the operation makes (clipboard, mix, silence) and its bytes
// after, then commits it for undo. With `clipboardCopy` the source's
// highlight is copied to the clipboard first. 1 on success; on failure the
// shown file is unchanged (the reason has been shown). Insert Silence
// inserts `silenceUnits` sample values.
[[nodiscard]] int edit_operation(CChildFrame& source, CChildFrame& destination, bool clipboardCopy, int code,
                   std::uint32_t silenceUnits = 0);

// The commands: Copy, Cut, Paste, Replace, Mix, Crop, Trim, Insert Silence.
int copy_command(CChildFrame& frame);
int trim_command(CChildFrame& frame);
// Inserts `units` sample values of silence at the highlight's start.
int insert_silence_command(CChildFrame& frame, std::uint32_t units);
// The silence length the "SILENCE" dialog keeps, as minutes and seconds.
struct SilenceLength {
    int minutes = 0;
    int seconds = 10;
};
extern SilenceLength& silence_length;
