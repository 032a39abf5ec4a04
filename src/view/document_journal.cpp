#include "view/document_journal.h"
#include "wavefile/sample_format.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/instance_files.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <unistd.h>

namespace {

std::string idOf(const CChildFrame& f)
{
    char text[32];
    std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(f.hWaveWnd)));
    return text;
}

std::uint64_t number(const JournalRecord& record, const char* key)
{
    const auto it = record.find(key);
    return it == record.end() ? 0 : std::strtoull(it->second.c_str(), nullptr, 10);
}

std::string text(const JournalRecord& record, const char* key)
{
    const auto it = record.find(key);
    return it == record.end() ? std::string() : it->second;
}

std::vector<std::string> ownedFilesOf(const JournalRecord& record)
{
    std::vector<std::string> files;
    for (const auto& [key, value] : record)
        if (key.rfind("owned.", 0) == 0 && !value.empty())
            files.push_back(value);
    return files;
}

// Only files of the data directory are ever removed on a journal's word.
bool inDataDirectory(const std::string& file)
{
    const auto slash = file.find_last_of('/');
    return slash != std::string::npos && join_path(file.substr(0, slash), "") == join_path(data_directory(), "");
}

}  // namespace

void journal_document(const CChildFrame& f)
{
    if (f.szFileName.empty())
        return;
    JournalRecord record;
    record["working"] = f.szFileName;
    // Where the document came from, wherever the program was started.
    std::error_code error;
    record["original"] = f.files.path.empty() ? std::string()
                                              : std::filesystem::absolute(f.files.path, error).lexically_normal().string();
    record["display"] = f.szDisplayName;
    record["channels"] = std::to_string(f.wfx.nChannels);
    record["bits"] = std::to_string(f.wfx.wBitsPerSample);
    record["rate"] = std::to_string(f.wfx.nSamplesPerSec);
    record["samples"] = std::to_string(f.nTotalSamples);
    record["time"] = std::to_string(static_cast<long long>(std::time(nullptr)));
    int n = 0;
    for (const std::string* name : {&f.szFileName, &f.files.overview, &f.szUndoFileName, &f.szRedoFileName,
                                    &f.files.selectionCopy, &f.versions.other.overviewFileName})
        if (!name->empty())
            record["owned." + std::to_string(n++)] = *name;
    write_journal_record(idOf(f), record);
}

void forget_document(const CChildFrame& f) { remove_journal_record(idOf(f)); }

std::vector<RecoverableDocument> find_recoverable_documents()
{
    std::vector<RecoverableDocument> found;
    for (const LeftoverInstance& leftover : find_leftover_instances()) {
        for (const JournalRecord& record : leftover.documents) {
            RecoverableDocument d;
            d.directory = leftover.directory;
            d.workingFile = text(record, "working");
            d.originalName = text(record, "original");
            d.displayName = text(record, "display");
            d.channels = static_cast<std::uint16_t>(number(record, "channels"));
            d.bits = static_cast<std::uint16_t>(number(record, "bits"));
            d.rate = static_cast<std::uint32_t>(number(record, "rate"));
            d.time = static_cast<long long>(number(record, "time"));
            d.ownedFiles = ownedFilesOf(record);
            const std::uint64_t frame = static_cast<std::uint64_t>(d.channels) * (d.bits / 8);
            const bool usable = is_document_format(d.bits == 32 ? 3 : 1, d.channels, d.bits) && d.rate > 0 &&
                                !d.workingFile.empty() && file_exists(d.workingFile);
            if (!usable)
                continue;
            // What the journal says, or what survived of it.
            const std::uint64_t recorded = number(record, "samples") * (d.bits / 8);
            d.bytes = std::min<std::uint64_t>(recorded, get_named_file_length(d.workingFile)) / frame * frame;
            found.push_back(std::move(d));
        }
    }
    return found;
}

std::string recovered_title(const RecoverableDocument& d)
{
    const std::string name = !d.originalName.empty() ? file_name_part(d.originalName)
                             : !d.displayName.empty() ? d.displayName
                                                      : std::string("Untitled");
    char when[64] = "";
    const std::time_t t = static_cast<std::time_t>(d.time);
    std::tm local{};
    if (localtime_r(&t, &local))
        std::strftime(when, sizeof when, "%Y-%m-%d %H:%M", &local);
    return name + " (recovered, " + when + ")";
}

void delete_recoverable_documents()
{
    for (const LeftoverInstance& leftover : find_leftover_instances()) {
        for (const JournalRecord& record : leftover.documents)
            for (const std::string& file : ownedFilesOf(record))
                if (inDataDirectory(file))
                    ::unlink(file.c_str());
        remove_leftover_instance(leftover.directory);
    }
}
