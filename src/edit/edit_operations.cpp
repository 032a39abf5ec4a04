#include "edit/edit_operations.h"

#include "app/file_names.h"
#include "app/messages.h"
#include "edit/mix.h"
#include "edit/pseudo_clipboard.h"
#include "edit/transfer_helpers.h"
#include "edit/undo.h"
#include "view/child_frame.h"

#include <algorithm>


namespace {

std::uint64_t fileSize(const std::string& path) { return get_named_file_length(path); }

// The new version's length from its file: never below 4 bytes.
std::uint32_t versionLength(const CChildFrame& d)
{
    return static_cast<std::uint32_t>(std::max<std::uint64_t>(fileSize(d.szRedoFileName), 4) /
                                      static_cast<std::uint64_t>(d.bytesPerSample()));
}

bool append(CChildFrame& d, const std::string& from, std::uint64_t bytes, std::uint64_t offset)
{
    if (bytes == 0)
        return true;
    return d.copy_file_to_file(d.szRedoFileName, from, static_cast<std::uint32_t>(bytes),
                               static_cast<std::uint32_t>(offset), -1, 0, "Copying file...") != 0;
}

}  // namespace

int edit_operation(CChildFrame& s, CChildFrame& d, bool clipboardCopy, int code, std::uint32_t silenceUnits)
{
    if (d.szFileName.empty())
        return 0;
    UndoTransaction version(d);
    if (!version.begun())
        return 0;
    if (clipboardCopy && !copy_to_pseudo_clipboard(s))
        return 0;

    InsertSource insert;
    if (code != kInsertSilence && code != kCut) {
        const auto clip = clipboard_for(d);
        if (!clip)
            return 0;
        insert = *clip;
    }
    const std::uint64_t bps = static_cast<std::uint64_t>(d.bytesPerSample());
    const std::uint64_t total = static_cast<std::uint64_t>(d.nTotalSamples) * bps;
    const std::uint64_t start = align_to_frame(d, static_cast<std::uint64_t>(d.nSelStart) * bps);
    const std::uint64_t end = align_to_frame(d, static_cast<std::uint64_t>(d.nSelEnd) * bps);
    const auto units = [bps](std::uint64_t bytes) { return static_cast<std::uint32_t>(bytes / bps); };
    if (code == kCrop) {
        if (!d.bHighlight)
            return 0;
        if (!append(d, insert.path, insert.bytes, 0))
            return 0;
        d.bHighlight = 0;
        d.versions.newLength = versionLength(d);
        d.versions.change = PositionChange{PositionChange::Inside::Crop, units(start), units(end), units(end - start)};
        return version.commit(kCrop);
    }
    std::uint64_t insertLength = insert.bytes;
    if (code == kInsertSilence)
        insertLength = static_cast<std::uint64_t>(silenceUnits) * bps;
    if (!append(d, d.szFileName, start, 0))
        return 0;

    switch (code) {
    case kCopy:
    case kPaste:
    case kReplace:
        if (!append(d, insert.path, insertLength, 0))
            return 0;
        break;
    case kMix:
    case kCrossfade:
        if (!mix_into(d, insert.path, insertLength, start, d.szRedoFileName, code == kCrossfade,
                      end > start ? end - start : 0))
            return 0;
        break;
    case kInsertSilence:
        if (!write_silence(d.szRedoFileName, start, insertLength, silence_byte(d)))
            return 0;
        break;
    default:
        break;
    }

    std::uint64_t tailOffset = 0;
    std::uint64_t tailBytes = 0;
    switch (code) {
    case kCut:
        tailOffset = end;
        tailBytes = total - std::min(end, total);
        d.bHighlight = 0;
        break;
    case kCopy:
    case kInsertSilence:
        tailOffset = start;
        tailBytes = total - std::min(start, total);
        break;
    case kPaste:
        tailOffset = end;
        tailBytes = total - std::min(end, total);
        break;
    default:  // Replace, Mix, Cross-fade: after the inserted length
        tailOffset = std::min(start + insertLength, total);
        tailBytes = total - tailOffset;
        break;
    }
    tailOffset = align_to_frame(d, tailOffset);
    tailBytes = align_to_frame(d, tailBytes);
    if (tailBytes > 0 && code != kCrossfade && !append(d, d.szFileName, tailBytes, tailOffset))
        return 0;
    // A file is never empty: what is cut to nothing keeps four bytes of silence.
    const std::uint64_t made = fileSize(d.szRedoFileName);
    if (made < 4 && !write_silence(d.szRedoFileName, made, 4 - made, silence_byte(d)))
        return 0;
    d.versions.newLength = versionLength(d);
    // The time marks follow: a cut removes its part, an insertion (Copy's,
    // silence) opens one, a paste replaces the highlight; Replace, Mix and
    // Cross-fade work in place.
    switch (code) {
    case kCut: d.versions.change = PositionChange{PositionChange::Inside::Remove, units(start), units(end), 0}; break;
    case kCopy:
    case kInsertSilence:
        d.versions.change =
            PositionChange{PositionChange::Inside::Remove, units(start), units(start), units(insertLength)};
        break;
    case kPaste:
        d.versions.change =
            PositionChange{PositionChange::Inside::Remove, units(start), units(std::max(start, end)), units(insertLength)};
        break;
    default: break;
    }
    return version.commit(code);
}

int copy_command(CChildFrame& f) { return copy_to_pseudo_clipboard(f); }

int trim_command(CChildFrame& f)
{
    if (!f.bHighlight) {
        message_beep();
        return 0;
    }
    UndoTransaction version(f);
    if (!version.begun() || !copy_selected_area_to_pseudo_clipboard(f))
        return 0;
    const std::uint64_t bps = static_cast<std::uint64_t>(f.bytesPerSample());
    const std::uint64_t total = static_cast<std::uint64_t>(f.nTotalSamples) * bps;
    // The whole file into the new version, then silence around the highlight.
    if (!f.copy_file_to_file(f.szRedoFileName, f.szFileName, static_cast<std::uint32_t>(total), 0, -1, 1,
                             "Saving file ..."))
        return 0;
    const std::uint64_t start = align_to_frame(f, static_cast<std::uint64_t>(f.nSelStart) * bps);
    const std::uint64_t end = std::min(align_to_frame(f, static_cast<std::uint64_t>(f.nSelEnd) * bps), total);
    if (!write_silence(f.szRedoFileName, 0, start, silence_byte(f)) ||
        !write_silence(f.szRedoFileName, end, total - end, silence_byte(f)))
        return 0;
    return version.commit(kTrim);
}

int insert_silence_command(CChildFrame& f, std::uint32_t units)
{
    return edit_operation(f, f, false, kInsertSilence, units);
}
