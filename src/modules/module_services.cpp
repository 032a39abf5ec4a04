#include "modules/module_services.h"

#include "app/app_paths.h"
#include "app/messages.h"
#include "app/command_ids.h"
#include "edit/presets.h"
#include "modules/effect_commands.h"
#include "modules/effect_context.h"
#include "view/child_frame.h"
#include "view/view_dialogs.h"

#include <cstdarg>
#include <cstdio>

CChildFrame* module_document(HWND window) { return frame_from_handle(window); }

CChildFrame* selected_document(HWND window)
{
    CChildFrame* f = frame_from_handle(window);
    return f && f->bHighlight && f->nSelEnd > f->nSelStart ? f : nullptr;
}

CChildFrame* active_document() { return CChildFrame::GetTheFuckingHandle(); }

void module_error(const char* format, ...)
{
    char text[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    ErrMsg("%s", text);
}

void module_message(int id) { NewErrMsg(id); }

int chosen_effect_variant() { return effect_context().variant; }

std::string filter_preset_values(const std::string& name)
{
    // The Filter command's own preset names.
    use_effect_presets(*find_effect_command(kEffectFilter)->presets);
    return preset_values(preset_context(), name);
}

std::string user_file_path(const std::string& name, bool makeDirectory)
{
    if (makeDirectory)
        make_directories(user_directory());
    return join_path(user_directory(), name);
}

void show_spectrum(const Spectrogram& spectrogram, const std::string& title)
{
    view_dialogs().showSpectrum(spectrogram, title);
}
