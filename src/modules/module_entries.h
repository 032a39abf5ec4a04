#pragma once

#include "app/command_ids.h"
#include "app/window_handle.h"

#include <string>

// The entries of the effect modules, as the program calls them: each takes
// the document's window handle (and the main window's where it needs it),
// shows its own parameter dialog, processes the selection through the undo
// protocol and the functions the program exports, and returns.

// "HVNEFF32": Clear and Amplify; Fade, Pan, Modulate and Reverse.
int amplify_waveform(HWND mainWindow, HWND frame, unsigned short code, int setting, char* workDirectory);
int fade_waveform(HWND frame, unsigned short code);
int pan_waveform(HWND frame, unsigned short code);
int modulate_waveform(HWND frame, unsigned short code);
int reverse_waveform(HWND frame, unsigned short code);

// "HVNSPL32": Echo and Reverb (code 11504 or 11514), Compressor / Expander
// (mode 1) and Envelope (mode 0).
int echo_waveform(HWND frame, int code, int flag);
int amplify_waveform_by_envelope(HWND frame, int mode);
// Spatial localization (HRTF or time and level cues) and the tone, sweep,
// noise and DTMF generators.
void set_spatial_localization(HWND frame);
void make_tones_or_effects(HWND frame);

// "HVNEQL32": Equalize, Flange, Filter; low-pass filtering of the active
// document's selection by a preset name ("LOPASS") at a cut-off.
void get_equalization_selection(HWND frame);
void flange_waveform(HWND frame);
void filter_waveform(HWND frame);
void do_filter_waveform(float cutoff, char* const name, char* const title);
// Tempo without pitch (constant, or Accelerando / Ritardando), and pitch
// without tempo (constant, or Glissando), through Rubber Band.
int stretch_selected_passage(HWND frame, int code, int flag);
int how_to_change_pitch(HWND frame);
// Noise reduction: takes a noise profile from a highlight of noise alone, or
// reduces the noise of the highlight with the profile taken.
void remove_noise(HWND frame);
std::string noise_profile_path();
// Quantize: moves the highlight by a time, or onto the nearest line of a
// beat grid (5053 without a highlight, 5054 when it would leave the file).
void shift_waveform(HWND frame);
// The spectrum display of the selection (a spectrogram).
void show_3D_spectrum(HWND frame);
long quantize_offset(long startFrame, double gridFrames);

// "HVNMAG32": the magnified plot of the selection, redrawn with the mouse
// (command 393).
void display_magnified_plot(HWND mainWindow, HWND frame, int setting);
