#pragma once

#include "app/command_ids.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class CChildFrame;
struct PositionChange;
struct Timemark;

// Time marks of a document: named positions shown as icons just above the
// ruler, listed in the main frame's cue list, alone or as start/end pairs.

// Marks added one at a time stop at this many; pairs are not counted against it.
constexpr int kTimemarkLimit = 49;
// The longest name typed for a mark.
constexpr int kMarkerNameLength = 29;
// The icon: 9 x 11 pixels, its left edge 4 pixels before the mark, its top
// 13 pixels above the ruler's bottom line.
constexpr int kMarkIconWidth = 9;
constexpr int kMarkIconHeight = 11;
constexpr int kMarkIconRise = 13;


// The cue list's content: one row per mark that is not the end of a pair,
// in index order, each row naming its mark; the last row is current.
struct CueList {
    std::vector<std::string> names;
    std::vector<int> markers;
    int current = -1;
};

// The y of the ruler's bottom line in the view.
int timemark_baseline(const CChildFrame& frame);
// The view column of mark i at the current zoom and scroll.
int timemark_x(const CChildFrame& frame, int index);

// Command 11700: a mark at the play position while playing, otherwise at the
// cursor; named on the fly when the preference says so, otherwise (or after
// Cancel) "Marker <position>". Nothing is added at kTimemarkLimit marks. 1
// when a mark was added.
int add_timemark(CChildFrame& frame);
// The marker bar's Add: the same, but at the limit it beeps and says
// "Too many timemarks".
int add_timemark_from_bar(CChildFrame& frame);
// A mark at view column x with the given name (empty: "Marker <position>"),
// without the limit test. The index of the new mark.
int add_timemark_at(CChildFrame& frame, int x, const std::string& name);
// A mark at a position in sample units (the command line's way), held to
// kTimemarkLimit as the marker bar is. The index of the new mark, or -1.
int add_timemark_at_position(CChildFrame& frame, std::uint32_t position, const std::string& name);
// A linked pair at the highlight's start and end. 1 when added.
int add_timemark_pair(CChildFrame& frame);
// Removes mark i, unlinking its pair and lowering the links of the marks
// that move down.
void delete_timemark(CChildFrame& frame, int index);
// Command 11701.
void delete_all_timemarks(CChildFrame& frame);
// The mark whose icon holds the point (x, y), searched in index order; -1
// when none.
int find_timemark(const CChildFrame& frame, int x, int y);
// "<name>, Time: <time>" for mark i, with the time of the mark or, with
// atMouse, of view column mouseX.
std::string timemark_info_text(const CChildFrame& frame, int index, bool atMouse, int mouseX, int timeFormat);
// Gives mark i a new name (typed names are cut to kMarkerNameLength). 1 when renamed.
int rename_timemark(CChildFrame& frame, int index, const std::string& name);
// Moves a grabbed mark to view column x.
void move_timemark(CChildFrame& frame, int index, int x);

// Moves marks as an edit moved the positions (see PositionChange); a mark
// whose place is gone is removed, and the other mark of its pair becomes a
// single one. The number removed.
int apply_position_change(std::vector<Timemark>& marks, const PositionChange& change);
// "1 time mark in the removed part was removed." (and the plural), for
// the user; nothing is said for none.
void tell_removed_timemarks(int removed);

// The cue list of a document, and handing it to the main frame's combo box.
CueList cue_list(const CChildFrame& frame);
void refill_cue_list(const CChildFrame& frame);

// Choosing a mark (a cue-list row): a pair becomes the highlight, a single
// mark takes the cursor. Scrolls it into view.
void select_timemark(CChildFrame& frame, int index);
// Where the document is playing now, in sample units; nothing when it is
// not the one playing. Playback answers (it lies above the editing): a new
// mark goes at the play position while the document plays, else at the
// cursor. (Playing from marks is in audio/timemark_playback.h.)
using PlayingUnitSource = std::function<std::optional<double>(const CChildFrame&)>;
void set_playing_unit_source(PlayingUnitSource source);
