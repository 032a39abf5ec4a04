#include "modules/module_dialogs.h"

#include "app/dialog_slot.h"
#include "app/messages.h"

ModuleDialogs& module_dialogs() { return DialogSlot<ModuleDialogs>::get(); }
void set_module_dialogs(ModuleDialogs* dialogs) { DialogSlot<ModuleDialogs>::set(dialogs); }

ModuleDialogs::ClipAnswer ModuleDialogs::askClipping(const std::string& text)
{
    ErrMsg("%s", text.c_str());
    return ClipAnswer::Cancel;
}
