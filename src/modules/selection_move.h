#pragma once

class CChildFrame;

// Moves the highlight by `shiftFrames` frames (either way) as a new version
// under undo command `code`: where it was becomes silence, where it lands is
// replaced, and the highlight follows it. The caller checks that the moved
// highlight stays inside the file. False when no new version was made.
[[nodiscard]] bool move_selection(CChildFrame& frame, long shiftFrames, int code);
