// The program's named values live in a few state objects: the names refer
// into them, and one reset puts a whole object back to a fresh run's values.

#include "support/program_state.h"

#include "edit/pseudo_clipboard.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_types.h"
#include "wavefile/jaf_blocks.h"
#include "wavefile/wave_converter.h"

#include <gtest/gtest.h>

TEST(ProgramState, TheNamesReferIntoTheStateObjectsAndOneResetPutsThemBack)
{
    // Written through the names, read through the objects.
    current_wave_format.nChannels = 1;
    data_chunk_offset = 4096;
    szOpenedFileName = "opened.wav";
    szOpenedAviFileName = "movie.avi";
    last_file_type = kTypeAvi;
    jaf_button = 2003;
    jaf_ratio = 2.205f;
    cue_points_to_write.push_back(CuePoint{});
    conversion_parameters.destinationRate = 8000;
    EXPECT_EQ(wave_state().current_wave_format.nChannels, 1);
    EXPECT_EQ(wave_state().data_chunk_offset, 4096u);
    EXPECT_EQ(wave_state().szOpenedFileName, "opened.wav");
    EXPECT_EQ(wave_state().szOpenedAviFileName, "movie.avi");
    EXPECT_EQ(wave_state().last_file_type, 16);
    EXPECT_EQ(wave_state().jaf_button, 2003);
    EXPECT_EQ(wave_state().cue_points_to_write.size(), 1u);
    EXPECT_EQ(wave_state().conversion_parameters.destinationRate, 8000u);

    clipboard_source_frame = reinterpret_cast<HWND>(0x1234);
    mix_settings.crossfadeCurve = 0;
    silence_length.seconds = 3;
    EXPECT_EQ(edit_state().clipboard_source_frame, reinterpret_cast<HWND>(0x1234));
    EXPECT_EQ(edit_state().mix_settings.crossfadeCurve, 0);
    EXPECT_EQ(edit_state().silence_length.seconds, 3);

    progress_text = "Working...";
    output_level = 12;
    smpte_frame_rate = 30;
    effect_context().variant = 2;
    preset_context().file = "/presets/HVNECHO.INI";
    EXPECT_EQ(progress_state().progress_text, "Working...");
    EXPECT_EQ(volume_state().output_level, 12u);
    EXPECT_EQ(chase_settings().smpte_frame_rate, 30);
    EXPECT_FALSE(preset_context().file.empty());

    reset_program_state();
    // A fresh run's values, every one of them.
    EXPECT_EQ(current_wave_format.nChannels, 2);
    EXPECT_EQ(current_wave_format.wBitsPerSample, 8);
    EXPECT_EQ(data_chunk_offset, 0u);
    EXPECT_TRUE(szOpenedFileName.empty());
    EXPECT_TRUE(szOpenedAviFileName.empty());
    EXPECT_EQ(last_file_type, kTypeWav);
    EXPECT_EQ(jaf_button, 2000);
    EXPECT_FLOAT_EQ(jaf_ratio, 1.0f);
    EXPECT_TRUE(cue_points_to_write.empty());
    EXPECT_EQ(conversion_parameters.destinationRate, 22050u);
    EXPECT_EQ(clipboard_source_frame, nullptr);
    EXPECT_EQ(mix_settings.crossfadeCurve, 1);
    EXPECT_EQ(silence_length.seconds, 10);
    EXPECT_TRUE(progress_text.empty());
    EXPECT_EQ(output_level, 255u);
    EXPECT_EQ(software_volume_word, 0xFFFFFFFFu);
    EXPECT_EQ(smpte_frame_rate, 24);
    EXPECT_EQ(effect_context().variant, 0);
    EXPECT_EQ(effect_context().setting, 24);
    EXPECT_TRUE(preset_context().file.empty());
}
