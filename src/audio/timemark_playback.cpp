#include "audio/timemark_playback.h"

#include "audio/playback_engine.h"
#include "edit/timemarks.h"
#include "view/child_frame.h"

#include <algorithm>

namespace {

bool validMark(const CChildFrame& f, int i) { return i >= 0 && i < static_cast<int>(f.timemarks.size()); }

}  // namespace

int play_from_timemark(CChildFrame& f, int i)
{
    if (!validMark(f, i))
        return 0;
    PlaybackEngine& engine = PlaybackEngine::instance();
    if (engine.is_playing())
        return 0;
    select_timemark(f, i);
    if (!f.bHighlight)
        engine.play_from_unit = f.timemarks[static_cast<std::size_t>(i)].position;
    return engine.play_the_wavefile(f);
}

int play_timemark_sequence(CChildFrame& f, int firstRow)
{
    const CueList rows = cue_list(f);
    if (firstRow < 0 || firstRow >= static_cast<int>(rows.markers.size()))
        return 0;
    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.cue_sequence.clear();
    for (int row = 0; row < static_cast<int>(rows.markers.size()) && engine.cue_sequence.size() < kMaxSequenceEntries;
         ++row) {
        const Timemark& m = f.timemarks[static_cast<std::size_t>(rows.markers[static_cast<std::size_t>(row)])];
        CueSequenceEntry entry;
        entry.start = m.position;
        if (m.partner >= 0 && validMark(f, m.partner)) {
            entry.end = f.timemarks[static_cast<std::size_t>(m.partner)].position;
        } else {
            entry.end = f.nTotalSamples;
            for (const Timemark& other : f.timemarks)
                if (other.position > m.position && other.position < entry.end)
                    entry.end = other.position;
        }
        const std::uint32_t channels = static_cast<std::uint32_t>(std::max<int>(1, f.wfx.nChannels));
        entry.start = std::min(entry.start, f.nTotalSamples) / channels * channels;
        entry.end = std::min(entry.end, f.nTotalSamples) / channels * channels;
        entry.file = f.szFileName;
        engine.cue_sequence.push_back(entry);
    }
    return engine.play_cue_sequence(f, std::min(firstRow, static_cast<int>(engine.cue_sequence.size()) - 1));
}
