#include "view/spectrogram_image.h"

#include <algorithm>
#include <cmath>

namespace {

// -100..0 dB to black, blue, red, yellow, white.
QRgb colourOf(float db)
{
    const double x = std::clamp((db + 100.0) / 100.0, 0.0, 1.0);
    static const int stops[5][3] = {{0, 0, 0}, {0, 0, 200}, {220, 0, 0}, {255, 220, 0}, {255, 255, 255}};
    const double scaled = x * 4;
    const int i = std::min(3, static_cast<int>(scaled));
    const double t = scaled - i;
    int c[3];
    for (int k = 0; k < 3; ++k)
        c[k] = static_cast<int>(stops[i][k] + (stops[i + 1][k] - stops[i][k]) * t);
    return qRgb(c[0], c[1], c[2]);
}

}  // namespace

QImage render_spectrogram(const Spectrogram& s, int width, int height)
{
    QImage image(std::max(1, width), std::max(1, height), QImage::Format_RGB32);
    image.fill(Qt::black);
    if (s.columns <= 0 || s.bins <= 0)
        return image;
    for (int x = 0; x < image.width(); ++x) {
        const int column = std::min(s.columns - 1, x * s.columns / image.width());
        for (int y = 0; y < image.height(); ++y) {
            // The top row is the highest frequency.
            const int bin = std::min(s.bins - 1, (image.height() - 1 - y) * s.bins / image.height());
            image.setPixel(x, y, colourOf(s.at(column, bin)));
        }
    }
    return image;
}
