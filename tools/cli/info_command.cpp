#include "cli_args.h"
#include "wavefile/file_content.h"

#include "app/messages.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include <iostream>

// ondrava-cli info FILE: the file's format and INFO items, one "key: value"
// a line. A file that fails the PCM check gets the program's message.
int run_info_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {}, {});
    if (!args || args->positionals().size() != 1) {
        std::cerr << "usage: ondrava-cli info FILE\n";
        return kExitUsage;
    }
    const std::string& file = args->positionals()[0];
    const MessageFileScope about(file, unopenable_content_description(file));
    if (!ReadInputWaveformHeader(file, 1))
        return kExitFailed;

    const WaveFmtRecord& r = wave_fmt_record;
    std::cout << "format_tag: " << r.wFormatTag << "\n"
              << "channels: " << r.nChannels << "\n"
              << "rate: " << r.nSamplesPerSec << "\n"
              << "bits: " << r.wBitsPerSample << "\n"
              << "block_align: " << r.nBlockAlign << "\n"
              << "avg_bytes_per_sec: " << r.nAvgBytesPerSec << "\n"
              << "data_bytes: " << data_chunk_size << "\n"
              << "frames: " << (r.nBlockAlign ? data_chunk_size / r.nBlockAlign : 0) << "\n";

    std::unique_ptr<wave_io_info> io;
    if (wioFileOpen(&io, file.c_str(), 0) == WIOERR_NOERROR && io->pInfo) {
        for (int i = 0; i < kInfoItemCount; ++i) {
            if (const auto value = info_item_value(*io->pInfo, i))
                std::cout << "info." << info_item_definition(i).id << ": " << *value << "\n";
        }
        wioFileClose(&io);
    }
    return kExitOk;
}
