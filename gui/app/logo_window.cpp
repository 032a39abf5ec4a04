#include "app/logo_window.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <cmath>

LogoWindow::LogoWindow(QWidget* parent) : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("LOGOBITMAP"));
    setAttribute(Qt::WA_DeleteOnClose);
    resize(420, 200);
    if (parent)
        move(parent->geometry().center() - rect().center());
    QTimer::singleShot(2500, this, &QWidget::close);
}

void LogoWindow::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, height());
    sky.setColorAt(0, QColor(0, 0, 96));
    sky.setColorAt(1, QColor(0, 96, 160));
    p.fillRect(rect(), sky);
    // A wave across the logo.
    QPainterPath wave;
    for (int x = 0; x <= width(); ++x) {
        const double y = height() * 0.68 + 22 * std::sin(x * 0.045) * std::exp(-x / 380.0);
        x == 0 ? wave.moveTo(x, y) : wave.lineTo(x, y);
    }
    p.setPen(QPen(QColor(0, 255, 255), 3));
    p.drawPath(wave);
    QFont font = p.font();
    font.setPixelSize(54);
    font.setBold(true);
    p.setFont(font);
    p.setPen(Qt::white);
    p.drawText(QRect(0, 20, width(), 80), Qt::AlignCenter, QStringLiteral("Ondrava"));
    font.setPixelSize(14);
    font.setBold(false);
    p.setFont(font);
    p.drawText(QRect(0, 92, width(), 24), Qt::AlignCenter, tr("digital audio recording and editing"));
}

void LogoWindow::mousePressEvent(QMouseEvent*) { close(); }
