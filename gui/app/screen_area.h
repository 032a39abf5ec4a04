#pragma once

#include <QRect>
#include <QSize>

class QWidget;

// The screen's free area (less panels and docks) where a window is or will
// be shown, and the largest size a window opens at there: 95 % of its width
// and 90 % of its height, so that a frame and its buttons stay on screen.
QRect free_screen_area(const QWidget* window);
QSize largest_window_size(const QWidget* window);
