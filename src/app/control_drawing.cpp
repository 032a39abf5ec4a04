#include "app/control_drawing.h"

#include "app/command_ids.h"
#include "app/app_paths.h"
#include "app/string_table.h"
#include "app/transport_state.h"

bool alternate_view_button = false;

void draw_text_on_control(HWND parent, int controlId, const char* text, const char* face,
                          int tenthsOfPoint, std::uint32_t colour, unsigned flags)
{
    ControlTextStyle style;
    style.face = face ? face : "";
    style.tenthsOfPoint = tenthsOfPoint;
    style.colour = colour;
    style.flags = flags;
    style.weight = flags == 100 ? 700 : 400;
    uiHost().drawTextOnControl(parent, controlId, text ? text : "", style);
}

void new_draw_text_on_control(HWND parent, int controlId, const char* text, const char* face,
                              int tenthsOfPoint, std::uint32_t colour, unsigned flags,
                              std::uint32_t background, int weight)
{
    ControlTextStyle style;
    style.face = face ? face : "";
    style.tenthsOfPoint = tenthsOfPoint;
    style.colour = colour;
    style.flags = flags == 100 ? 0 : flags;  // no embossed mode here, only bold
    style.background = background;
    style.ownBackground = true;
    style.weight = flags == 100 ? 700 : weight;
    uiHost().drawTextOnControl(parent, controlId, text ? text : "", style);
}

OwnerDrawFace owner_draw_face(const OwnerDrawItem& item)
{
    OwnerDrawFace face;
    if (item.disabled && !item.drawEntire) {
        face.draw = false;
        return face;
    }
    const int id = item.controlId;
    const TransportState& s = transport_state();
    if (id == kCommandRecord && s.recording && !item.disabled)
        face.bitmap = "redrec";
    else if (id == 1815 && s.playing && !item.disabled)
        face.bitmap = "grnplay";
    else if (id == 1816 && s.paused && !item.disabled)
        face.bitmap = "yelpause";
    else if (id == 1)
        face.bitmap = "ok";
    else if (id == 2)
        face.bitmap = "cancel";
    else {
        int stringId = id;
        if (id == 11853 && alternate_view_button)
            stringId = 11854;
        if (item.disabled)
            stringId += 9000;
        face.bitmap = load_string(stringId);
        if (face.bitmap.empty())
            face.bitmap = "blank";
    }
    switch (id) {
    case 1: face.fixedLabel = "OK"; break;
    case 2: face.fixedLabel = "Cancel"; break;
    case 372: face.fixedLabel = "Exit"; break;
    case 1405: face.fixedLabel = "Help"; break;
    case 367: face.fixedLabel = "Save"; break;
    case 370: face.fixedLabel = "Delete"; break;
    case 373: face.fixedLabel = "Create"; break;
    case 1880: face.fixedLabel = "View"; break;
    default: break;
    }
    return face;
}

void new_draw_item(const OwnerDrawItem& item)
{
    const OwnerDrawFace face = owner_draw_face(item);
    if (face.draw)
        uiHost().paintBitmapButton(item, face.bitmap, face.fixedLabel, !face.fixedLabel.empty());
}

Point centred_dialog_origin(int screenWidth, int screenHeight, int width, int height)
{
    return {((screenWidth - width) / 2 + 4) & ~6, (screenHeight - height) / 2};
}

void center_dialog_box(HWND dialog) { uiHost().centreWindow(dialog); }

void new_show_context_help(HWND, int contextId)
{
    uiHost().showHelp(join_path(program_directory(), "Z32.HLP"), contextId);
}
