#include "modules/plugin_command.h"

#include "app/file_names.h"
#include "app/messages.h"
#include "modules/plugin_host.h"
#include "edit/undo.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "wavefile/helper_programs.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

int plugin_process_command(CChildFrame& f, HWND mainWindow)
{
    // The exchange files live in this program's own folder.
    const std::string in = exchange_file_path("DRXIN.WAV");
    const std::string out = exchange_file_path("DRXOUT.WAV");
    ::unlink(in.c_str());
    ::unlink(out.c_str());
    if (!save_waveform_file(f, in, 1, 0))
        return 0;
    if (!PlugInProcessFile(in.c_str(), out.c_str(), mainWindow))
        return 0;

    const int highlight = f.bHighlight;
    UndoTransaction version(f, highlight);
    if (!version.begun())
        return 0;
    const auto bytesPerSample = static_cast<std::uint64_t>(f.bytesPerSample());
    const std::uint64_t length = get_named_file_length(out);
    // The header is what is left when the processed samples are taken from
    // the end: a plug-in that changed the length shifts the splice.
    const std::uint64_t selectedBytes = static_cast<std::uint64_t>(f.nSelEnd - f.nSelStart) * bytesPerSample;
    const std::uint64_t header = length > selectedBytes ? length - selectedBytes : 0;
    const std::int32_t at = highlight ? static_cast<std::int32_t>(f.nSelStart * bytesPerSample) : -1;
    if (!f.copy_file_to_file(f.szRedoFileName, out, static_cast<std::uint32_t>(length - header),
                             static_cast<std::uint32_t>(header), at, 1, "Copying file...")) {
        ErrMsg("Z32 line 1545: Failed to copy converted file to szRedoFileName");
        return 0;
    }
    // The rest of the document after the highlight, from a whole frame.
    const std::uint64_t frameBytes = bytesPerSample * static_cast<std::uint64_t>(std::max<int>(1, f.wfx.nChannels));
    const std::uint64_t end = f.nSelEnd * bytesPerSample / frameBytes * frameBytes;
    const std::uint64_t total = static_cast<std::uint64_t>(f.nTotalSamples) * bytesPerSample;
    if (end < total &&
        !f.copy_file_to_file(f.szRedoFileName, f.szFileName, static_cast<std::uint32_t>(total - end),
                             static_cast<std::uint32_t>(end), -1, 1, "Copying file...")) {
        ErrMsg("Z32 line 1565: failed to copy szFileName = %s to szRedoFileName = %s", f.szFileName.c_str(),
               f.szRedoFileName.c_str());
        return 0;
    }
    f.versions.newLength = static_cast<std::uint32_t>(get_named_file_length(f.szRedoFileName) / bytesPerSample);
    f.layout.redrawAll = true;
    return version.commit(181);
}

std::string user_lv2_directory()
{
    if (const char* path = std::getenv("LV2_PATH"); path && *path) {
        const std::string first = std::string(path).substr(0, std::string(path).find(':'));
        if (!first.empty())
            return first;
    }
    const char* home = std::getenv("HOME");
    return std::string(home ? home : ".") + "/.lv2";
}

namespace {

constexpr const char* kCaption = "Register DirectX Plugin";
constexpr unsigned long kCannotLoad = 0x80004005UL;
constexpr unsigned long kNoEntry = 0x80004001UL;

// A bundle's manifest, where an LV2 bundle declares what it holds.
std::string manifestOf(const fs::path& bundle)
{
    std::ifstream in(bundle / "manifest.ttl");
    if (!in)
        return {};
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

int offer_plugin_registration(const std::string& path)
{
    std::error_code ec;
    fs::path bundle = fs::is_directory(path, ec) ? fs::path(path) : fs::path(path).parent_path();
    const std::string manifest = manifestOf(bundle);
    // No manifest: nothing to tell, as for a library without version information.
    if (manifest.empty())
        return 0;
    char text[1024];
    const bool declaresPlugins = bundle_declares_plugins(fs::absolute(bundle).string());
    if (!declaresPlugins) {
        std::snprintf(text, sizeof text,
                      "The file %s is a binary file that does not supportself registration and is most likely not a "
                      "DirectX Plug-In.",
                      path.c_str());
        message_box(nullptr, text, kCaption, MB_OK | MB_ICONINFORMATION);
        return 0;
    }
    std::snprintf(text, sizeof text,
                  "This file (%s) is a DirectX Plug-In that supports self registration.\n\nClick Yes to register it "
                  "now (or click No to un-register it)",
                  path.c_str());
    const int answer = message_box(nullptr, text, kCaption, MB_YESNOCANCEL | MB_ICONQUESTION);
    if (answer != IDYES && answer != IDNO)
        return 0;
    const bool registering = answer == IDYES;
    const fs::path installed = fs::path(user_lv2_directory()) / bundle.filename();
    unsigned long error = 0;
    if (registering) {
        // Installing copies the bundle into the user's LV2 folder.
        fs::create_directories(installed.parent_path(), ec);
        if (fs::equivalent(bundle, installed, ec)) {
            error = 0;
        } else {
            fs::remove_all(installed, ec);
            fs::copy(bundle, installed, fs::copy_options::recursive | fs::copy_options::overwrite_existing, ec);
            if (ec)
                error = kCannotLoad;
        }
    } else if (!fs::exists(installed, ec)) {
        error = kNoEntry;  // nothing of it is registered
    } else if (fs::remove_all(installed, ec) == static_cast<std::uintmax_t>(-1) || ec) {
        error = kCannotLoad;
    }
    if (error == 0)
        std::snprintf(text, sizeof text, "The DirectX Plug-In %s was successfully %s.", path.c_str(),
                      registering ? "registered" : "un-registered");
    else
        std::snprintf(text, sizeof text, "The DirectX Plug-In %s failed to %s properly. (%.08lXh)", path.c_str(),
                      registering ? "register" : "un-register", error);
    message_box(nullptr, text, kCaption, MB_OK | MB_ICONINFORMATION);
    return error == 0 ? 1 : 0;
}
