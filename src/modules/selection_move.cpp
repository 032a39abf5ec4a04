#include "modules/selection_move.h"

#include "edit/transfer_helpers.h"
#include "edit/undo.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"

#include <algorithm>
#include <cstdint>

bool move_selection(CChildFrame& f, long shift, int code)
{
    const auto channels = static_cast<long>(std::max<int>(1, f.wfx.nChannels));
    const long start = static_cast<long>(f.nSelStart) / channels;
    const long end = static_cast<long>(f.nSelEnd) / channels;
    const long total = static_cast<long>(f.nTotalSamples) / channels;
    const std::uint64_t frame = static_cast<std::uint64_t>(channels) * static_cast<std::uint64_t>(f.bytesPerSample());
    const auto bytes = [frame](long frames) { return static_cast<std::uint64_t>(frames) * frame; };
    UndoTransaction version(f);
    if (!version.begun())
        return false;
    const auto append = [&f](std::uint64_t count, std::uint64_t from) {
        return count == 0 || f.copy_file_to_file(f.szRedoFileName, f.szFileName, static_cast<std::uint32_t>(count),
                                                  static_cast<std::uint32_t>(from), -1, 0, "Moving...");
    };
    const auto silence = [&f](std::uint64_t at, std::uint64_t count) {
        return count == 0 || write_silence(f.szRedoFileName, at, count, silence_byte(f));
    };
    bool ok;
    if (shift > 0) {
        ok = append(bytes(start), 0) && silence(bytes(start), bytes(shift)) &&
             append(bytes(end - start), bytes(start)) && append(bytes(total - end - shift), bytes(end + shift));
    } else {
        const long s = -shift;
        ok = append(bytes(start - s), 0) && append(bytes(end - start), bytes(start)) &&
             silence(bytes(end - s), bytes(s)) && append(bytes(total - end), bytes(end));
    }
    // A part frame at the very end stays as it was.
    const std::uint64_t rest = static_cast<std::uint64_t>(f.nTotalSamples) * f.bytesPerSample() - bytes(total);
    ok = ok && append(rest, bytes(total));
    // The marks of the passage go with it.
    f.versions.change = PositionChange{PositionChange::Inside::Move, static_cast<std::uint32_t>(start * channels),
                                       static_cast<std::uint32_t>(end * channels),
                                       static_cast<std::uint32_t>((end - start) * channels), shift * channels};
    if (!ok || !version.commit(code))
        return false;
    set_selection_units(f, static_cast<std::uint32_t>((start + shift) * channels),
                        static_cast<std::uint32_t>((end + shift) * channels));
    return true;
}
