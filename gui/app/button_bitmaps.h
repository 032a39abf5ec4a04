#pragma once

#include "app/ui_host.h"

#include <QFont>
#include <QPixmap>
#include <QString>

class QPainter;

// The bitmaps of the owner-drawn buttons, drawn anew by name ("rplay",
// "invplay", "redrec", "bigsave", ...). Unknown names give the blank bitmap.
QPixmap button_bitmap(const QString& name);

// Paints an owner-drawn button: face, bitmap centred, raised bevel and black
// frame, the label (a fixed word in the right half, or the control's own text
// at the bottom), inverted when selected, a focus rectangle when focused.
void paint_bitmap_button(QPainter& p, const QRect& rect, const OwnerDrawItem& item, const QString& bitmap,
                         const QString& fixedLabel, bool labelInRightHalf, const QString& ownText,
                         const QFont& font);
