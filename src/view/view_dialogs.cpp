#include "view/view_dialogs.h"

#include "app/dialog_slot.h"

ViewDialogs& view_dialogs() { return DialogSlot<ViewDialogs>::get(); }
void set_view_dialogs(ViewDialogs* dialogs) { DialogSlot<ViewDialogs>::set(dialogs); }
