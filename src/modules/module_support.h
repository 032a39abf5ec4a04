#pragma once

#include "modules/effect_dialog.h"
#include "modules/selection_processor.h"
#include "view/child_frame.h"

#include "modules/module_services.h"

#include <exception>
#include <memory>

// Small helpers every effect module uses on top of the exported functions.

// Every entry of a module runs its work through this barrier: an exception
// that escapes the work is reported with the entry's name and the entry
// returns 0, as it does when nothing was done.
template <typename Work>
int guarded_entry(const char* entry, Work work)
{
    try {
        return work();
    } catch (const std::exception& e) {
        module_error("%s stopped on an internal error: %s", entry, e.what());
    } catch (...) {
        module_error("%s stopped on an internal error.", entry);
    }
    return 0;
}

// A stateful processor's work as a kernel.
template <typename Processor>
SampleKernel processor_kernel(std::shared_ptr<Processor> p)
{
    return [p](float* s, std::size_t frames, int, std::uint64_t) { p->process(s, frames); };
}

// Offers the dialog's Preview: `make` builds the effect's kernel from the
// values the dialog shows at that moment.
template <typename Make>
void offer_preview(EffectDialog& dialog, CChildFrame& f, Make make)
{
    dialog.preview = [&f, make](const EffectDialog& values) { preview_selection(f, stream_of(make(values))); };
}

// A kernel made from an effect's dialog values and its document.
using KernelMaker = SampleKernel (*)(const EffectDialog&, const CChildFrame&);

// Shows the dialog (with Preview) and, on OK, runs the kernel its values
// give over the selection.
inline int run_with_dialog(CChildFrame& f, int code, EffectDialog d, KernelMaker make, const char* text)
{
    offer_preview(d, f, [&f, make](const EffectDialog& v) { return make(v, f); });
    if (!run_effect_dialog(d))
        return 0;
    return process_selection(f, code, make(d, f), {text});
}

// Runs a stateful processor (anything with process(float*, frames)) over the
// selection, block after block.
template <typename Processor>
int run_processor(CChildFrame& f, int code, std::shared_ptr<Processor> p, const char* text)
{
    return process_selection(
        f, code, [p](float* s, std::size_t frames, int, std::uint64_t) { p->process(s, frames); }, {text});
}
