#pragma once

class CChildFrame;

// Playing from a document's time marks.

// Plays from a mark: a pair plays its range, a single mark to the end of the
// document. 1 when playback started.
int play_from_timemark(CChildFrame& frame, int index);
// The cue sequence of a document from its cue-list rows starting at row
// `firstRow`: a pair's range, or a single mark up to the next mark after it
// (or the end). At most ten entries.
int play_timemark_sequence(CChildFrame& frame, int firstRow);
