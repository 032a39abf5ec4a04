#include "cli_args.h"

#include "document_session.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "wavefile/mp3_export.h"
#include "view/save_by_type.h"
#include "wavefile/file_types.h"
#include "wavefile/wave_state.h"

#include <iostream>

// ondrava-cli convert IN OUT [--channels N] [--bits 8|16] [--rate HZ] [--adpcm]
// Opens IN and saves it as OUT through the program's open and save paths,
// each file's type taken from its extension: the options are the save
// dialog's format buttons, --adpcm its compression button.
int run_convert_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"channels", "bits", "rate"}, {"adpcm"});
    if (!args || args->positionals().size() != 2) {
        std::cerr << "usage: ondrava-cli convert IN OUT [--channels 1|2] [--bits 8|16] [--rate HZ] [--adpcm]\n";
        return kExitUsage;
    }
    const auto channels = args->integer("channels", 1, 2, 0);
    const auto bits = args->integer("bits", 8, 16, 0);
    const auto rate = args->integer("rate", 1000, 384000, 0);
    if (!channels || !bits || !rate)
        return kExitUsage;
    if (*bits != 0 && *bits != 8 && *bits != 16) {
        std::cerr << "ondrava-cli: --bits must be 8 or 16\n";
        return kExitUsage;
    }
    // An extension that names no type we write is refused before anything
    // is read or written: its bytes would otherwise be a WAVE file under a
    // name that says something else.
    const std::string& target = args->positionals()[1];
    const std::string leaf = target.substr(target.find_last_of('/') + 1);
    const std::string last = leaf.find('.') == std::string::npos ? std::string() : leaf.substr(leaf.rfind('.') + 1);
    if (!last.empty() && file_type_of("x." + last, -1) < 0) {
        std::cerr << "ondrava-cli: " << target << ": ." << last << " is not a file type this program writes\n";
        return kExitUsage;
    }
    DocumentSession session;
    if (!session.open(args->positionals()[0]))
        return kExitFailed;
    CChildFrame& f = *session.active();
    // The save dialog starts from the document's format.
    current_wave_format.nChannels = *channels ? static_cast<std::uint16_t>(*channels) : f.wfx.nChannels;
    current_wave_format.wBitsPerSample = *bits ? static_cast<std::uint16_t>(*bits) : f.wfx.wBitsPerSample;
    current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(current_wave_format.wBitsPerSample / 8);
    current_wave_format.nSamplesPerSec = *rate ? static_cast<std::uint32_t>(*rate) : f.wfx.nSamplesPerSec;
    SaveOptions options;
    options.bSaveConverts = current_wave_format.nChannels != f.wfx.nChannels ||
                            current_wave_format.wBitsPerSample != f.wfx.wBitsPerSample ||
                            current_wave_format.nSamplesPerSec != f.wfx.nSamplesPerSec;
    options.bSaveCompressed = args->has("adpcm");
    // The type by OUT's extension, as the save dialog would choose it (an
    // extension of no type keeps the type of the file opened).
    const std::string& out = args->positionals()[1];
    const int saved = save_by_type(f, out, file_type_of(out, last_file_type), 0, options);
    // An MP3 encoder runs on its own: the command waits for it.
    if (saved && !wait_for_mp3_encoders(10 * 60 * 1000))
        return kExitFailed;
    return saved ? kExitOk : kExitFailed;
}
