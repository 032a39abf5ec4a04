#pragma once

#include "app/ui_host.h"
#include "app/window_handle.h"

#include <cstdint>
#include <string>

// Text and bitmap painting on dialog controls, and dialog placement. The core
// decides what is drawn; the user-interface host paints it.

// Paints `text` into a control, size in tenths of a point; flags 100 draws
// it bold and embossed, any other flags are the host's text-drawing flags.
void draw_text_on_control(HWND parent, int controlId, const char* text, const char* face,
                          int tenthsOfPoint, std::uint32_t colour, unsigned flags);
// As draw_text_on_control with its own background colour and font weight.
void new_draw_text_on_control(HWND parent, int controlId, const char* text, const char* face,
                              int tenthsOfPoint, std::uint32_t colour, unsigned flags,
                              std::uint32_t background, int weight);

// The display switch that makes control 11853 show string 11854 instead.
extern bool alternate_view_button;

struct OwnerDrawFace {
    bool draw = true;          // false: nothing is painted for this request
    std::string bitmap;        // bitmap resource name
    std::string fixedLabel;    // a fixed word for the right half, or empty
};
// Chooses bitmap and label of an owner-drawn button.
OwnerDrawFace owner_draw_face(const OwnerDrawItem& item);
// Paints an owner-drawn bitmap button.
void new_draw_item(const OwnerDrawItem& item);

struct Point {
    int x = 0;
    int y = 0;
};
// Top-left corner that centres a dialog on the screen; x has the bits of
// value 6 cleared after adding 4, as the program has always placed them.
Point centred_dialog_origin(int screenWidth, int screenHeight, int width, int height);
void center_dialog_box(HWND dialog);

// Opens the help file "Z32.HLP" beside the program at a context id.
void new_show_context_help(HWND window, int contextId);
