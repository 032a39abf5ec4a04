#pragma once

#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"
#include "wavefile/wave_state.h"

#include "support/temp_dir_test.h"
#include "support/wav_builder.h"

#include <cmath>

// A fixture with documents opened from generated WAV files.
class DocumentTest : public TempDirTest {
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        set_screen_width_pixels(1920);
    }

    // The format the save dialog's buttons choose; 32 bits is float.
    static void chooseFormat(std::uint16_t channels, std::uint16_t bits, std::uint32_t rate)
    {
        current_wave_format.wFormatTag = bits == 32 ? 3 : 1;
        current_wave_format.nChannels = channels;
        current_wave_format.wBitsPerSample = bits;
        current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(bits / 8);
        current_wave_format.nSamplesPerSec = rate;
    }

    // A sine tone of `frames` frames, the right channel at half the left's level.
    std::unique_ptr<CChildFrame> openTone(int channels, int bits, std::uint32_t rate, std::size_t frames,
                                          int clientWidth = 1000, int clientHeight = 400)
    {
        WavBuilder::Bytes data;
        for (std::size_t i = 0; i < frames; ++i) {
            const double s = std::sin(static_cast<double>(i) * 0.05);
            for (int ch = 0; ch < channels; ++ch) {
                const double v = ch == 0 ? s : s / 2;
                if (bits == 8)
                    data.push_back(static_cast<std::uint8_t>(128 + std::lround(v * 100)));
                else
                    WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 20000))));
            }
        }
        writeFile(path("tone.wav"), WavBuilder::pcm(static_cast<std::uint16_t>(channels), rate,
                                                    static_cast<std::uint16_t>(bits), data));
        auto f = open_document_file(path("tone.wav"));
        if (f) {
            f->layout.clientWidth = clientWidth;
            f->layout.clientHeight = clientHeight;
        }
        return f;
    }
};
