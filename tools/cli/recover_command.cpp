#include "cli_args.h"

#include "view/child_frame.h"
#include "view/document_journal.h"
#include "view/document_open.h"
#include "view/document_save.h"

#include <cstdio>
#include <iostream>

// ondrava-cli recover --list | --delete | N OUT.wav: the documents that a
// program which was killed (or crashed) left behind. --list numbers them with
// their original names and sizes, N OUT.wav saves one as a WAVE file, and
// --delete removes them all.
int run_recover_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {}, {"list", "delete"});
    const bool list = args && args->has("list");
    const bool remove = args && args->has("delete");
    const std::size_t positionals = args ? args->positionals().size() : 0;
    if (!args || (list + remove + (positionals == 2) != 1) || (positionals != 0 && positionals != 2)) {
        std::cerr << "usage: ondrava-cli recover --list | --delete | N OUT.wav\n";
        return kExitUsage;
    }
    const std::vector<RecoverableDocument> documents = find_recoverable_documents();
    if (list) {
        if (documents.empty())
            std::cout << "Nothing to recover.\n";
        for (std::size_t i = 0; i < documents.size(); ++i) {
            const RecoverableDocument& d = documents[i];
            char line[96];
            std::snprintf(line, sizeof line, "%zu\t%llu bytes\t%u Hz %u-bit %s\t", i + 1,
                          static_cast<unsigned long long>(d.bytes), d.rate, d.bits,
                          d.channels == 1 ? "mono" : "stereo");
            std::cout << line << recovered_title(d) << "\t" << (d.originalName.empty() ? "-" : d.originalName)
                      << "\n";
        }
        return kExitOk;
    }
    if (remove) {
        delete_recoverable_documents();
        std::cout << "Removed " << documents.size() << (documents.size() == 1 ? " document.\n" : " documents.\n");
        return kExitOk;
    }
    char* end = nullptr;
    const unsigned long n = std::strtoul(args->positionals()[0].c_str(), &end, 10);
    if (!end || *end || n == 0 || n > documents.size()) {
        std::cerr << "ondrava-cli: there is no recoverable document " << args->positionals()[0] << " ("
                  << documents.size() << " found; see recover --list)\n";
        return kExitFailed;
    }
    const RecoverableDocument& d = documents[n - 1];
    CChildFrame frame;
    if (!open_raw_document(frame, d.workingFile, d.bytes, d.channels, d.bits, d.rate, d.originalName,
                           recovered_title(d)))
        return kExitFailed;
    return save_waveform_file(frame, args->positionals()[1], 0, 0) ? kExitOk : kExitFailed;
}
