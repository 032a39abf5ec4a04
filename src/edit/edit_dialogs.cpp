#include "edit/edit_dialogs.h"

#include "app/dialog_slot.h"

EditDialogs& edit_dialogs() { return DialogSlot<EditDialogs>::get(); }
void set_edit_dialogs(EditDialogs* dialogs) { DialogSlot<EditDialogs>::set(dialogs); }
