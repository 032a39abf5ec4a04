#pragma once

#include "app/window_handle.h"

#include <string>

class CChildFrame;

// Operation 181: the highlight (or the whole document) goes to the plug-in
// host as "DRXIN.WAV" in the current folder, comes back as "DRXOUT.WAV", and
// is spliced into a new version of the document ("&Undo DirectX
// Plugin...\tCtrl+Z"). A failure leaves the shown document as it was. 1 when
// the document changed.
int plugin_process_command(CChildFrame& frame, HWND mainWindow);

// Offers to register (install into the user's LV2 folder) or unregister
// (remove from it) the plug-in bundle at `path` (its folder, or a file in
// it), with the program's questions and reports. 1 when something was done.
int offer_plugin_registration(const std::string& path);
// The user's LV2 folder, where registered bundles go: the first entry of
// LV2_PATH, or ~/.lv2.
std::string user_lv2_directory();
