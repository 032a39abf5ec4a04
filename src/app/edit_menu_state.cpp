#include "app/edit_menu_state.h"

EditMenuState& edit_menu_state()
{
    static EditMenuState state;
    return state;
}
