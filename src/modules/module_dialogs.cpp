#include "modules/module_dialogs.h"

#include "app/dialog_slot.h"

ModuleDialogs& module_dialogs() { return DialogSlot<ModuleDialogs>::get(); }
void set_module_dialogs(ModuleDialogs* dialogs) { DialogSlot<ModuleDialogs>::set(dialogs); }
