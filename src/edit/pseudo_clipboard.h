#pragma once

#include "app/unique_fd.h"
#include "app/window_handle.h"

#include <cstdint>
#include <optional>
#include <string>

class CChildFrame;

// The pseudo-clipboard: raw sample bytes in "clipbord.clp" and their format
// in "cliptext.clp" ("channels bits rate"), in the work folder, so that a
// copy outlives the document and the program run it came from.
std::string clipboard_data_path();
std::string clipboard_text_path();
std::string clipboard_converted_path();

// The clipboard's lock ("clipbord.lck" beside it), shared between running
// programs: held to replace the clipboard (exclusive) or to read its samples
// and format together (shared).
class ClipboardLock {
public:
    explicit ClipboardLock(bool writing);

private:
    UniqueFd m_fd;
};

struct ClipboardFormat {
    int channels = 0;
    int bits = 0;
    long rate = 0;
};
std::string format_text(const ClipboardFormat& format);
std::optional<ClipboardFormat> parse_format_text(const std::string& text);
ClipboardFormat format_of(const CChildFrame& frame);

// The frame the clipboard was last filled from (edit_state.h).
extern HWND& clipboard_source_frame;

// Copies the frame's highlight into the clipboard (one channel when only one
// of a stereo pair is highlighted). 1 on success.
int copy_to_pseudo_clipboard(CChildFrame& frame);

// The clipboard's bytes as the destination needs them: a snapshot of the
// clipboard file (so another program's copy cannot change it under the
// paste) when the formats agree, else "convclip.clp" converted to the
// destination's format. Nothing when the clipboard cannot be read (the
// reason has been shown).
struct InsertSource {
    std::string path;
    std::uint64_t bytes = 0;
};
std::optional<InsertSource> clipboard_for(const CChildFrame& destination);
