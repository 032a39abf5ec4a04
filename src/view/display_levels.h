#pragma once

#include <cstddef>
#include <cstdint>

class CChildFrame;

// The screen width the level count is worked out for. The program sets the
// real width; without a display it is 1920.
int screen_width_pixels();
void set_screen_width_pixels(int width);

// The smallest i (0..999) with units / 2^i below three quarters of the
// screen width. `units` is twice the frame count.
int display_level_search(std::uint64_t units, int screenWidth);
// Sets nMaxZoomLevel, fZoom and fMaxZoom from the document's length: one
// level and factor 1.0 when the search gives less than 2.
void compute_display_levels(CChildFrame& frame, int screenWidth);

// Bytes of one entry of the overview levels: 1 for 8-bit documents (stored
// unsigned, as their samples), 2 for every other (16-bit values; 24-bit and
// float documents are drawn at that resolution).
std::size_t overview_entry_bytes(const CChildFrame& f);

// Maps the working file as the finest level. 0 when it cannot be mapped.
int map_finest_level(CChildFrame& frame);

// Builds level 1: the minimum and maximum of every 256 frames per channel, in
// a file of its own, under the progress box "Opening file %s..." whose Cancel
// ends the build (the part built so far stays). 1 when complete, 0 otherwise.
int build_overview_level(CChildFrame& frame, const char* progressFormat = "Opening file %s...");

// Frames summarised by one entry pair of the coarse overview, and overview
// blocks per coarse group.
constexpr int kCoarseGroupFrames = 16384;
constexpr int kCoarseGroupBlocks = kCoarseGroupFrames / 256;
// Builds frame.coarseOverview from the overview (level 1).
void build_coarse_overview(CChildFrame& frame);

// The initial zoom level after opening: the overview, or with "Zoomed initial
// display" the level at which about ten seconds of sound fill the screen.
void apply_initial_zoom(CChildFrame& frame, bool zoomed, int screenWidth);
