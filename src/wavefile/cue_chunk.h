#pragma once

#include <cstdint>
#include <string>
#include <vector>

class RiffFile;

// One cue point of a RIFF WAVE file as other editors store it: a "cue "
// chunk entry with a "labl" name, and for a region an "ltxt" length, in the
// file's "LIST"/"adtl" chunk. A "note" carries the name of a region's end.
struct CuePoint {
    std::uint32_t id = 0;
    std::uint32_t frame = 0;   // position in sample frames
    std::string label;
    std::uint32_t length = 0;  // frames; 0 for a single point
    std::string note;
};

// The cue points written into the next file that create_waveform_format_header
// makes (between "fmt " and "data"); the saver sets them and clears them after.
extern std::vector<CuePoint>& cue_points_to_write;

// Writes the "cue " chunk and the "LIST"/"adtl" chunk at the file's position.
// Nothing is written for an empty list. 1 on success.
int write_cue_chunks(RiffFile& file, const std::vector<CuePoint>& points);

// Reads the cue points of a RIFF WAVE file, in the order of its "cue " chunk,
// with their labels, region lengths and notes. A file without cues, or with
// damaged cue chunks, gives what could be read (possibly nothing).
std::vector<CuePoint> read_cue_points(const std::string& path);
