#include "cli_args.h"

#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <iostream>

// ondrava-cli new [--channels 1|2] [--bits 8|16|24|32f] [--rate HZ]: makes the next
// "SAMPLE%d.WAV" in the current folder. Each option does what the matching
// button of the new-file dialog does; a format not given keeps its start value.
int run_new_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"channels", "bits", "rate"}, {});
    if (!args || !args->positionals().empty()) {
        std::cerr << "usage: ondrava-cli new [--channels 1|2] [--bits 8|16|24|32f] [--rate HZ]\n";
        return kExitUsage;
    }
    const auto channels = args->integer("channels", 1, 2, current_wave_format.nChannels);
    const auto bits = args->bits(current_wave_format.wBitsPerSample);
    const auto rate = args->integer("rate", 1000, 384000, current_wave_format.nSamplesPerSec);
    if (!channels || !bits || !rate)
        return kExitUsage;
    current_wave_format.nChannels = static_cast<std::uint16_t>(*channels);
    current_wave_format.nSamplesPerSec = static_cast<std::uint32_t>(*rate);
    if (args->has("bits")) {
        current_wave_format.wFormatTag = *bits == 32 ? 3 : 1;
        current_wave_format.wBitsPerSample = static_cast<std::uint16_t>(*bits);
        current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(*bits / 8);
    }
    if (!create_new_empty_waveform_file(0))
        return kExitFailed;
    std::cout << szOpenedFileName << "\n";
    return kExitOk;
}
