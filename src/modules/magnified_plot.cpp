#include "modules/magnified_plot.h"

#include <algorithm>
#include <cmath>

void MagnifiedPlot::drawLine(int channel, std::size_t fromFrame, float fromValue, std::size_t toFrame, float toValue)
{
    if (channel < 0 || channel >= static_cast<int>(channels.size()) || frames() == 0)
        return;
    std::vector<float>& c = channels[static_cast<std::size_t>(channel)];
    fromFrame = std::min(fromFrame, c.size() - 1);
    toFrame = std::min(toFrame, c.size() - 1);
    if (fromFrame > toFrame) {
        std::swap(fromFrame, toFrame);
        std::swap(fromValue, toValue);
    }
    const std::size_t span = toFrame - fromFrame;
    for (std::size_t i = fromFrame; i <= toFrame; ++i) {
        const float t = span ? static_cast<float>(i - fromFrame) / static_cast<float>(span) : 0.0f;
        c[i] = std::clamp(fromValue + (toValue - fromValue) * t, -1.0f, 1.0f);
    }
}
