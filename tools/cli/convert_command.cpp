#include "cli_args.h"

#include "document_session.h"
#include "app/file_names.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "wavefile/mp3_export.h"
#include "view/save_by_type.h"
#include "wavefile/file_types.h"
#include "wavefile/wave_state.h"

#include <iostream>

// ondrava-cli convert IN OUT [--channels N] [--bits 8|16|24|32f] [--rate HZ] [--adpcm]
//                    [--flac-level 0-8] [--vorbis-quality -1..10] [--opus-bitrate KBPS]
//                    [--mp3-bitrate KBPS | --mp3-vbr 0-9]
// Opens IN (of whatever type its content shows) and saves it as OUT through
// the program's open and save paths, OUT's type taken from its extension:
// the options are the save dialog's format buttons, --adpcm its compression
// button, and the settings of the compressed types. Fewer bits than a 24-bit
// or float document has are TPDF-dithered.
int run_convert_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv,
                                     {"channels", "bits", "rate", "flac-level", "vorbis-quality", "opus-bitrate",
                                      "mp3-bitrate", "mp3-vbr"},
                                     {"adpcm"});
    if (!args || args->positionals().size() != 2) {
        std::cerr << "usage: ondrava-cli convert IN OUT [--channels 1|2] [--bits 8|16|24|32f] [--rate HZ] [--adpcm]\n"
                     "       [--flac-level 0-8] [--vorbis-quality -1..10] [--opus-bitrate KBPS]\n"
                     "       [--mp3-bitrate KBPS | --mp3-vbr 0-9]\n";
        return kExitUsage;
    }
    const auto channels = args->integer("channels", 1, 2, 0);
    const auto rate = args->integer("rate", 1000, 384000, 0);
    SaveOptions options;
    const auto flacLevel = args->integer("flac-level", 0, 8, options.flacCompression);
    const auto vorbisQuality = args->integer("vorbis-quality", -1, 10, options.vorbisQuality);
    const auto opusBitrate = args->integer("opus-bitrate", 6, 510, options.opusBitrate);
    const auto mp3Bitrate = args->integer("mp3-bitrate", 8, 320, options.mp3Bitrate);
    const auto mp3Vbr = args->integer("mp3-vbr", 0, 9, -1);
    if (!channels || !rate || !flacLevel || !vorbisQuality || !opusBitrate || !mp3Bitrate || !mp3Vbr)
        return kExitUsage;
    const auto bitsGiven = args->bits(0);
    if (!bitsGiven)
        return kExitUsage;
    const int bits = *bitsGiven;
    options.flacCompression = static_cast<int>(*flacLevel);
    options.vorbisQuality = static_cast<int>(*vorbisQuality);
    options.opusBitrate = static_cast<int>(*opusBitrate);
    options.mp3Bitrate = static_cast<int>(*mp3Bitrate);
    options.mp3Vbr = *mp3Vbr >= 0 ? 1 : 0;
    options.mp3VbrQuality = *mp3Vbr >= 0 ? static_cast<int>(*mp3Vbr) : options.mp3VbrQuality;
    // An extension that names no type we write is refused before anything
    // is read or written: its bytes would otherwise be a WAVE file under a
    // name that says something else.
    const std::string& target = args->positionals()[1];
    if (written_type_of(target, kTypeWav) < 0) {
        std::cerr << "ondrava-cli: " << target << ": " << last_extension(target)
                  << " is not a file type this program writes\n";
        return kExitUsage;
    }
    DocumentSession session;
    if (!session.open(args->positionals()[0]))
        return kExitFailed;
    CChildFrame& f = *session.active();
    // The save dialog starts from the document's format.
    current_wave_format.nChannels = *channels ? static_cast<std::uint16_t>(*channels) : f.wfx.nChannels;
    current_wave_format.wBitsPerSample = bits ? static_cast<std::uint16_t>(bits) : f.wfx.wBitsPerSample;
    current_wave_format.wFormatTag = current_wave_format.wBitsPerSample == 32 ? 3 : 1;
    current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(current_wave_format.wBitsPerSample / 8);
    current_wave_format.nSamplesPerSec = *rate ? static_cast<std::uint32_t>(*rate) : f.wfx.nSamplesPerSec;
    options.bSaveConverts = current_wave_format.nChannels != f.wfx.nChannels ||
                            current_wave_format.wBitsPerSample != f.wfx.wBitsPerSample ||
                            current_wave_format.nSamplesPerSec != f.wfx.nSamplesPerSec;
    options.bSaveCompressed = args->has("adpcm");
    // The type by OUT's last extension; a name without one keeps the type
    // of the file opened, as the save dialog would.
    const int type = written_type_of(target, file_type_of(target, last_file_type));
    const int saved = save_by_type(f, target, type, 0, options);
    // An MP3 encoder runs on its own: the command waits for it.
    if (saved && !wait_for_mp3_encoders(10 * 60 * 1000))
        return kExitFailed;
    return saved ? kExitOk : kExitFailed;
}
