#include "wavefile/wavefile_dialogs.h"

#include "app/dialog_slot.h"
#include "app/app_paths.h"
#include "app/messages.h"

WaveFileDialogs& wavefile_dialogs() { return DialogSlot<WaveFileDialogs>::get(); }
void set_wavefile_dialogs(WaveFileDialogs* dialogs) { DialogSlot<WaveFileDialogs>::set(dialogs); }

std::optional<ChannelChoice> WaveFileDialogs::askChannelChoice(const std::string& file, int channels)
{
    // Nobody to ask: say so rather than open nothing without a word.
    ErrMsg("%s has %d channels; a document holds one or two, and there is no one to ask whether to mix them down "
           "or which two to take. Nothing was opened.",
           file_name_part(file).c_str(), channels);
    return std::nullopt;
}
