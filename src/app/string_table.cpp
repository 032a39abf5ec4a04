#include "app/string_table.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct Entry {
    int id;
    std::string_view text;
};

// Grouped by use; the wording of every entry is the program's own and is kept
// exactly, spelling included.
constexpr Entry kStrings[] = {
    // Bitmap names of the owner-drawn buttons
    {367, "bigsave"},
    {370, "BIGDELETE"},
    {372, "CANCEL"},
    {373, "BIGCREATE"},
    // Record dialog
    {404, "Total available recording time with current format"},
    {421, "Replace previous data with new data"},
    {422, "Insert new recorded data at current position; add previous data to end"},
    {423, "Test the input level without recording"},
    {425, "Clip indicator: lights when the input reaches the top of its range"},
    {427, "rcue"},
    {428, "rreview"},
    // Zoom commands (prompt and tool tip)
    {87, "Maximum zoom\tAlt+Z"},
    {88, "Minimum zoom\tAlt+U"},
    {1020, "&Select all\tCtrl+A"},
    {1405, "HELP"},
    {1813, "rrecord"},
    {1814, "rstop"},
    {1815, "rplay"},
    {1816, "rpause"},
    {1880, "view"},
    {1881, "&Trim"},
    {1898, "Zoom In horizontal azis\nZoom In"},
    {1899, "Zoom Out (UnZoom) horizontal azis\nZoom Out (UnZoom)"},
    // Messages
    {5001, "Cannot allocate memory."},
    {5002, "Cannot allocate FFT memory."},
    {5007, "Cannot open WAVE file for playback."},
    {5008, "Couldn't lock memory for edited data!"},
    {5009, "Cannot open WAVE file."},
    {5012, "Can't get timer dev caps"},
    {5025, "Not enough room on disk to copy file."},
    {5026, "Can't allocate transfer buffer"},
    {5029, "Cannot create bitmap."},
    {5031, "Cannot write output WAVE file."},
    {5032, "Cannot open input WAVE file."},
    {5034, "End of input file."},
    {5035, "Format error on input file."},
    {5036, "No 'fmt' chunk on input file."},
    {5037, "'fmt' chunk too small on input file."},
    {5038, "Truncated input file."},
    {5039, "Input file is not a PCM_WAVE file."},
    {5040, "Sound board cannot play 16-bit data."},
    {5041, "Sound board does not support 44KHz sample-rate."},
    {5042, "No 'data' chunk in input file."},
    {5043, "Unknown error on input file."},
    {5044, "Error in mmioSetInfo on input WAVE file."},
    {5050, "Cannot create L chan bitmap."},
    {5051, "Cannot create R chan bitmap."},
    {5053, "First highlight the section to be shifted"},
    {5054, "Too close to edge to quantize selection"},
    {5055, "Cannot allocate undo memory."},
    {5056, "Save Compressor / Expander Values"},
    {5057, "Compressor Presets"},
    {5058, "Compressor Preset"},
    {5070, "Was not able to read from file 'clipbord.clp'"},
    {5071, "Cannot allocate new format memory."},
    // Disabled bitmaps of the owner-drawn buttons (control id + 9000)
    {9427, "invcue"},
    {9428, "invrev"},
    {10813, "invrec"},
    {10814, "invstop"},
    {10815, "invplay"},
    {10816, "invpause"},
    // Edit commands
    {11301, "C&lear"},
    {11302, "Cr&op"},
    {11303, "&Cut\tCtrl+X"},
    {11304, "Co&py\tCtrl+C"},
    {11305, "&Paste\tCtrl+V"},
    {11306, "&Replace\tCtrl+R"},
    {11307, "&Mix\tCtrl+M"},
    // Effect commands
    {11500, "A&ccelerando..."},
    {11501, "&Amplify..."},
    {11502, "Chan&ge Pitch..."},
    {11503, "Compressor..."},
    {11504, "&Echo..."},
    {11505, "E&nvelope..."},
    {11506, "Eq&ualize..."},
    {11507, "&Fade..."},
    {11508, "Flan&ge..."},
    {11509, "Fi&lter..."},
    {11510, "&Modulate..."},
    {11511, "Noise reduction..."},
    {11512, "&Pan..."},
    {11514, "&Reverb..."},
    {11515, "Re&verse"},
    {11516, "Spatial locali&zation..."},
    {11517, "Tones / Effects..."},
    {11518, "Insert &Silence...\tAlt+Shift+l"},
    {11602, "&Undo\tCtrl+Z"},
    // Navigation commands
    {11800, "Go to &beginning\tCtrl+B"},
    {11801, "Go to &end\tCtrl+E"},
    {11900, "Review\nReview"},
    {11901, "Cue\nCue"},
    {11902, "Move begining of selection earlier\nL hilight <-"},
    {11903, "Move begining of selection later\nL hilight ->"},
    {11904, "Move end of selctiion earlier\nR hilight <-"},
    {11905, "Move end of selection later\nR hilight ->"},
    {11906, "Go to &highlight\tCtrl+H"},
};

constexpr bool idsAreUnique()
{
    for (const Entry& a : kStrings) {
        int seen = 0;
        for (const Entry& b : kStrings)
            seen += a.id == b.id;
        if (seen != 1)
            return false;
    }
    return true;
}
static_assert(idsAreUnique(), "a string id stands twice in the table");

const Entry* find(int id)
{
    for (const Entry& e : kStrings)
        if (e.id == id)
            return &e;
    return nullptr;
}

}  // namespace

std::string load_string(int id)
{
    const Entry* e = find(id);
    return e ? std::string(e->text) : std::string();
}

bool has_string(int id) { return find(id) != nullptr; }
