#pragma once

#include "wavefile/cue_chunk.h"

#include <cstdint>
#include <string>
#include <vector>

class CChildFrame;
struct Timemark;

// Time marks kept in the saved file as cue points with labels: a single mark
// is a point, a pair is a region (the first mark's point with the pair's
// length, and the second mark's name as the point's note). Positions are
// sample frames in the file, sample units in the document.

// "Marker <position>": the name a mark gets when it is given none.
std::string default_timemark_name(std::uint32_t position);

// The cue points for saving the document's units [from, to) at a rate
// `rateRatio` times the document's: marks outside the range are left out
// (a pair cut by the range keeps its inside end as a single mark).
std::vector<CuePoint> timemarks_to_cue_points(const CChildFrame& frame, std::uint32_t from, std::uint32_t to,
                                              double rateRatio);
// Time marks from a file's cue points for a document of `channels` channels
// and `totalUnits` units: points past the end are dropped; a point without a
// label is named "Marker <position>".
std::vector<Timemark> timemarks_from_cue_points(const std::vector<CuePoint>& points, int channels,
                                                std::uint32_t totalUnits);
// Reads the marks stored in a file into a freshly opened document.
void load_stored_timemarks(CChildFrame& frame, const std::string& path);
