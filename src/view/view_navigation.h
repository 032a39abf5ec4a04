#pragma once

#include <cstdint>

class CChildFrame;

// Scrolling, zooming and moving about a document. Every routine works on the
// frame's fields for its client size (layout.clientWidth) and sets the redraw
// flags the next paint needs.

// The frame mask of sample positions: none for 1-byte frames, even for
// 2-byte frames, multiples of 4 otherwise.
std::int64_t frame_mask(const CChildFrame& frame);

// The scroll range for the client width (after a size change or a zoom).
// `sizeChange` skips the pull-back of a view that shows past the end.
void compute_scroll_range(CChildFrame& frame, bool sizeChange = false);
// nFirstSample from nScrollPos.
void first_sample_from_scroll(CChildFrame& frame);
// The scroll-bar thumb and range for nScrollPos and nScrollMax.
int scroll_bar_position(const CChildFrame& frame);
int scroll_bar_maximum(const CChildFrame& frame);

enum class ScrollRequest { LineLeft, LineRight, PageLeft, PageRight, Thumb, ToStart, ToEnd };
// A scroll-bar or key request; `thumb` is the bar position for Thumb. Returns
// true when the view changed.
bool scroll(CChildFrame& frame, ScrollRequest request, int thumb = 0);

// The zoom commands: in (1898), out (1899), maximum (87), minimum (88).
bool zoom_in(CChildFrame& frame);
bool zoom_out(CChildFrame& frame);
bool zoom_maximum(CChildFrame& frame);
bool zoom_minimum(CChildFrame& frame);
// Zoom in or out a level keeping the document position under pixel x where it is.
bool zoom_at(CChildFrame& frame, int x, bool in);
// The finest level at which the whole file fits the client width, and
// Fit to window: that level, from the file's start.
int fitting_zoom_level(const CChildFrame& frame);
bool zoom_to_fit(CChildFrame& frame);

// Navigation: go to beginning (11800), end (11801), highlight (11906), select all (1020).
void go_to_beginning(CChildFrame& frame);
void go_to_end(CChildFrame& frame);
bool go_to_highlight(CChildFrame& frame);
void select_all(CChildFrame& frame);

// The nudge commands 11900 to 11905: Review, Cue and the four hilight moves.
bool nudge(CChildFrame& frame, int command);

// After the view moved: the highlight's pixels from its sample positions.
void update_highlight_pixels(CChildFrame& frame);
