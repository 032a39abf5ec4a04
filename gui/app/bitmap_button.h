#pragma once

#include <QAbstractButton>

// An owner-drawn bitmap button: its look comes from the program's drawing
// routine (new_draw_item) by its control id.
class BitmapButton : public QAbstractButton {
    Q_OBJECT
public:
    BitmapButton(int controlId, const QString& text, QWidget* parent = nullptr);
    int controlId() const { return m_id; }
    QSize sizeHint() const override { return {96, 40}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_id;
};
