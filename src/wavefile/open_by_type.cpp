#include "wavefile/open_by_type.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "wavefile/adpcm_open.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_content.h"
#include "wavefile/file_types.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include <memory>

int open_by_type(const std::string& name, int type)
{
    szOpenedAviFileName.clear();
    if (type < 0 || type >= static_cast<int>(file_types().size()))
        type = kTypeWav;
    const FileType& t = file_types()[static_cast<std::size_t>(type)];
    if (!t.canRead || !t.open) {
        // Types the program writes but does not read: say so, and what the
        // file holds when its bytes tell.
        std::string text = unopenable_content_description(name);
        if (text.empty())
            text = file_name_part(name) + " is of a type this version writes but cannot open.";
        message_box(nullptr, text, kProductName, MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    return t.open(name);
}

int open_wave_file(const std::string& name)
{
    if (ReadInputWaveformHeader(name, 0)) {
        szOpenedFileName = name;
        return 1;
    }
    std::unique_ptr<wave_io_info> info;
    const int walked = wioFileOpen(&info, name.c_str(), 0);
    if (walked == WIOERR_REFUSED)
        return 0;  // the user declined to load it
    const std::uint16_t tag = walked == WIOERR_NOERROR ? current_wave_format.wFormatTag : 1;
    info.reset();
    if (tag == 1) {
        // A RIFF WAVE file that fails the PCM check: say why (the check
        // fails again, now with its message).
        static_cast<void>(ReadInputWaveformHeader(name, 1));
        return 0;
    }
    if (tag == 2)
        return convert_adpcm_file_on_open(name);
    message_box(nullptr, name + " has an unknown (non-PCM) format.", "Unknown File Format", MB_OK | MB_ICONEXCLAMATION);
    return 0;
}
