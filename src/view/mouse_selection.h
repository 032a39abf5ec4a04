#pragma once

#include <cstdint>

class CChildFrame;

// The highlight and the mouse. Positions are client coordinates of the
// document window; the frame's layout gives its size.

// Recomputes nSelStart/nSelEnd and their byte and millisecond forms from the
// highlight's pixels (or the whole file without a highlight).
void compute_operation_range(CChildFrame& frame);
// Sets the range directly in sample units, with its byte and ms forms.
void set_selection_units(CChildFrame& frame, std::uint32_t start, std::uint32_t end);

enum class ViewZone { Strip, Ruler, Waveform, Controls };
ViewZone zone_at(const CChildFrame& frame, int y);

enum class ViewCursor { Strip, Arrow, LeftChannel, RightChannel, LeftRight };
// The mouse cursor over a point: per channel zone for stereo documents.
ViewCursor cursor_at(const CChildFrame& frame, int x, int y);

// Which channels a click at y selects: 1 left, 2 right, 3 both.
int channels_at(const CChildFrame& frame, int y);

// The left button. Each returns true when the view needs a repaint.
bool left_button_down(CChildFrame& frame, int x, int y, bool shift);
bool mouse_moved(CChildFrame& frame, int x, int y, bool leftDown, bool shift);
bool left_button_up(CChildFrame& frame, int x, int y);

// After a drag along the top strip from x1 to x2: select that part of the
// document and zoom so that it fills at least half the window.
void zoom_to_region(CChildFrame& frame, int x1, int x2);

// The right button: what it asks for.
enum class RightButtonAction { None, Play, Stop };
RightButtonAction right_button_down(const CChildFrame& frame, int x, int y);
