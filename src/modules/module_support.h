#pragma once

#include "modules/selection_processor.h"
#include "view/child_frame.h"

#include <memory>

// Small helpers every effect module uses on top of the exported functions.

// The document behind a window when it has a selection, else null (the
// effect then does nothing, as every effect command does).
inline CChildFrame* selected_frame(HWND window)
{
    CChildFrame* f = frame_from_handle(window);
    return f && f->bHighlight && f->nSelEnd > f->nSelStart ? f : nullptr;
}

// Runs a stateful processor (anything with process(float*, frames)) over the
// selection, block after block.
template <typename Processor>
int run_processor(CChildFrame& f, int code, std::shared_ptr<Processor> p, const char* text)
{
    return process_selection(
        f, code, [p](float* s, std::size_t frames, int, std::uint64_t) { p->process(s, frames); }, {text});
}
