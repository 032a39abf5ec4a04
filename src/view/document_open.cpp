#include "view/document_open.h"
#include "wavefile/file_content.h"

#include "app/app_paths.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/instance_files.h"
#include "app/messages.h"
#include "app/unique_fd.h"
#include "app/preferences.h"
#include "app/edit_menu_state.h"
#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_journal.h"
#include "wavefile/open_by_type.h"
#include "view/timemark_storage.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_types.h"
#include "wavefile/library_import.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Field set-up from the header just read: the format with tag 1 and computed
// rates, the length, no highlight, scroll at the start, empty timemarks.
void initialise_fields(CChildFrame& f)
{
    const WaveFormat& cf = current_wave_format;
    f.wfx.wFormatTag = cf.wFormatTag == 3 ? 3 : 1;
    f.wfx.nChannels = cf.nChannels;
    f.wfx.nSamplesPerSec = cf.nSamplesPerSec;
    f.wfx.wBitsPerSample = cf.wBitsPerSample;
    f.wfx.nBlockAlign = static_cast<std::uint16_t>(cf.nChannels * cf.wBitsPerSample / 8);
    f.wfx.nAvgBytesPerSec = cf.nSamplesPerSec * cf.wBitsPerSample * cf.nChannels / 8;
    const std::uint32_t bytesPerSample = cf.wBitsPerSample / 8;
    f.nTotalSamples = bytesPerSample ? data_chunk_size / bytesPerSample : 0;
    f.nSelStart = 0;
    f.nSelEnd = f.nTotalSamples;
    f.bHighlight = 0;
    f.nScrollPos = 0;
    f.nScrollMax = 1;
    f.nScrollStep = 1;
    f.fSelStartPixel = 0.0f;
    f.fSelEndPixel = 1.0f;
    f.nFirstSample = 0;
    f.timemarks.clear();
    edit_menu_state().undoText = kPlainUndoText;
    f.nInfoHeight = 0;
    f.bColorDisplay = preferences().colorDisplay;
    f.bToolTips = preferences().toolTips;
}

}  // namespace

int prepare_working_file(CChildFrame& f)
{
    // Made exclusively, so no other program's working file is ever taken over.
    if (!create_work_file(f.szFileName, ".tmp").valid()) {
        ErrMsg("No file %s", f.szFileName.c_str());
        return 0;
    }
    busy_wait_ms(20);
    f.szDisplayName = file_name_part(szOpenedFileName);
    // A decoded file is raw samples whose format the decoding set.
    if (bOpenedByConverter || !wave_state().importedFrom.empty())
        return 1;
    if (ReadInputWaveformHeader(szOpenedFileName, 0))
        return 1;
    bNeedsConversion = 1;
    return 0;
}

int load_document_file(CChildFrame& f)
{
    const std::uint64_t fileLength = get_named_file_length(szOpenedFileName);
    const std::uint32_t dataBytes = data_chunk_size;
    const std::uint64_t dataOffset = data_chunk_offset;

    if (!UniqueFd(::open(f.szFileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)).valid()) {
        ErrMsg("No file %s", f.szFileName.c_str());
        return 0;
    }
    if (dataOffset + dataBytes > fileLength || dataOffset > 0xFFFFFFFFu) {
        NewErrMsg(5038);
        return 0;
    }

    char text[600];
    std::snprintf(text, sizeof text, "Reading file %s...", file_name_part(szOpenedFileName).c_str());
    // A file a library decoded for this document is its samples already,
    // in a file of ours: it becomes the working file as it is.
    const bool decoded = !wave_state().importedFrom.empty() && dataOffset == 0 && dataBytes == fileLength;
    if (decoded && ::rename(szOpenedFileName.c_str(), f.szFileName.c_str()) == 0) {
        // taken over whole
    } else if (!f.copy_file_to_file(f.szFileName, szOpenedFileName, dataBytes, static_cast<std::uint32_t>(dataOffset),
                                    0, 1, text)) {
        // The samples are the "data" chunk's own bytes: chunks after it and
        // the pad byte of an odd-sized chunk are not audio.
        return 0;
    }

    compute_display_levels(f, screen_width_pixels());
    if (dataBytes < 9)
        return 1;
    if (!map_finest_level(f))
        return 0;
    if (f.nMaxZoomLevel >= 2 && !build_overview_level(f))
        return 0;
    return 1;
}

int open_document(CChildFrame& f, bool newEmpty)
{
    // A file decoded for this opening goes whatever becomes of it.
    struct DiscardImport {
        std::string source = wave_state().importedFrom;
        ~DiscardImport()
        {
            if (!source.empty())
                discard_imported_file();
        }
    } discardImport;
    if (!prepare_working_file(f)) {
        // Say why the file cannot be opened as it is (the check fails again,
        // now with its message).
        static_cast<void>(ReadInputWaveformHeader(szOpenedFileName, 1));
        return 0;
    }
    // The display, the edits and playback all work on one or two channels of
    // 8-, 16- or 24-bit or float samples; the opening paths turn everything
    // else into that, so a file that still is not is refused here.
    const WaveFormat& format = current_wave_format;
    if (!is_document_format(format.wFormatTag, format.nChannels, format.wBitsPerSample)) {
        ErrMsg("Cannot open %s: only 8-, 16- and 24-bit PCM and 32-bit float files in mono or stereo can be "
               "edited.",
               file_name_part(szOpenedFileName).c_str());
        return 0;
    }
    const bool truncated = data_chunk_truncated != 0;
    initialise_fields(f);
    f.files.path = szOpenedFileName;
    // A document opened from an AVI's sound track keeps the AVI for its video.
    f.files.aviSource = szOpenedAviFileName;
    szOpenedAviFileName.clear();
    if (!load_document_file(f))
        return 0;
    if (truncated)
        ErrMsg("%s is truncated: its samples end before the length its header gives. The %u samples present "
               "have been opened.",
               file_name_part(szOpenedFileName).c_str(), f.nTotalSamples);
    if (newEmpty) {
        f.nMaxZoomLevel = 1;
        f.nTotalSamples = 8;
        f.nSelEnd = 8;
        f.nLevelLength[1] = 8;
        f.nZoomLevel = 1;
        f.fZoom = f.fMaxZoom = 1.0f;
        return 1;
    }
    apply_initial_zoom(f, preferences().zoomedInitialDisplay, screen_width_pixels());
    // Marks saved with the file come back with it, and so do its INFO items
    // (a decoded file's are its source's tags).
    if (discardImport.source.empty()) {
        load_stored_timemarks(f, szOpenedFileName);
        f.infoList = read_info_list(szOpenedFileName);
    } else {
        f.infoList = wave_state().importInfo;
        // Decoded by a library into a file of ours, which goes when this
        // returns: the document is the source's, but not its file (Save
        // asks for a name).
        f.files.importedFrom = discardImport.source;
        f.files.path.clear();
        f.szDisplayName = file_name_part(f.files.importedFrom) + wave_state().importNote;
    }
    journal_document(f);
    return 1;
}

int open_raw_document(CChildFrame& f, const std::string& raw, std::uint64_t bytes, std::uint16_t channels,
                      std::uint16_t bits, std::uint32_t rate, const std::string& pathName, const std::string& title)
{
    const std::uint16_t tag = bits == 32 ? 3 : 1;
    if (bytes > 0xFFFFFFFFu || !is_document_format(tag, channels, bits) || rate == 0)
        return 0;
    if (!create_work_file(f.szFileName, ".tmp").valid()) {
        ErrMsg("No file %s", f.szFileName.c_str());
        return 0;
    }
    current_wave_format = WaveFormat{tag, channels, bits, static_cast<std::uint16_t>(bits / 8), rate};
    data_chunk_size = static_cast<std::uint32_t>(bytes);
    data_chunk_offset = 0;
    data_chunk_truncated = 0;
    szOpenedFileName = raw;
    initialise_fields(f);
    if (!load_document_file(f))
        return 0;
    apply_initial_zoom(f, preferences().zoomedInitialDisplay, screen_width_pixels());
    f.files.path = pathName;
    f.szDisplayName = title;
    f.bModified = 1;
    journal_document(f);
    return 1;
}

std::unique_ptr<CChildFrame> open_document_file(const std::string& path)
{
    // Every message of the open names the file.
    const MessageFileScope about(path, unopenable_content_description(path));
    if (!open_by_type(path, remember_file_type(path)))
        return nullptr;
    auto frame = std::make_unique<CChildFrame>();
    if (!open_document(*frame))
        return nullptr;
    set_active_frame(frame.get());
    return frame;
}
