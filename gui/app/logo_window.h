#pragma once

#include <QWidget>

// The logo shown at start-up ("LOGOBITMAP", drawn anew); it goes by itself
// after a few seconds or at a click.
class LogoWindow : public QWidget {
    Q_OBJECT
public:
    explicit LogoWindow(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};
