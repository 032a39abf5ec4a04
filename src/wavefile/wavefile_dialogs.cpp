#include "wavefile/wavefile_dialogs.h"

#include "app/dialog_slot.h"

WaveFileDialogs& wavefile_dialogs() { return DialogSlot<WaveFileDialogs>::get(); }
void set_wavefile_dialogs(WaveFileDialogs* dialogs) { DialogSlot<WaveFileDialogs>::set(dialogs); }
