#include "app/bitmap_button.h"

#include "app/button_bitmaps.h"

#include "app/control_drawing.h"
#include "app/qt_ui_host.h"

#include <QPainter>

BitmapButton::BitmapButton(int controlId, const QString& text, QWidget* parent)
    : QAbstractButton(parent), m_id(controlId)
{
    setText(text);
    setObjectName(QString::number(controlId));
}

void BitmapButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    OwnerDrawItem item;
    item.controlId = m_id;
    item.drawEntire = true;
    item.disabled = !isEnabled();
    item.selected = isDown();
    item.focused = hasFocus();
    item.control = handle_of(this);
    auto* host = dynamic_cast<QtUiHost*>(&uiHost());
    if (host) {
        host->setButtonPainter(&painter);
        new_draw_item(item);
        host->setButtonPainter(nullptr);
    } else {
        const OwnerDrawFace face = owner_draw_face(item);
        paint_bitmap_button(painter, rect(), item, QString::fromStdString(face.bitmap),
                            QString::fromStdString(face.fixedLabel), !face.fixedLabel.empty(), text(), font());
    }
}
