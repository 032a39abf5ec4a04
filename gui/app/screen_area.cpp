#include "app/screen_area.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

QRect free_screen_area(const QWidget* window)
{
    const QScreen* screen = window && window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect(0, 0, 1280, 800);
}

QSize largest_window_size(const QWidget* window)
{
    const QRect free = free_screen_area(window);
    return {free.width() * 95 / 100, free.height() * 90 / 100};
}
