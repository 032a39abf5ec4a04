#pragma once

// The start every in-process benchmark shares: a quiet message host (no
// boxes, no questions) and an empty scratch folder whose "work" folder holds
// the program's working files.

#include "app/app_paths.h"
#include "cli/headless_ui_host.h"

#include "bench_support.h"

#include <string>

class BenchSession {
public:
    explicit BenchSession(const std::string& scratch) : dir(prepare_bench_dir(scratch))
    {
        m_host.setQuiet(true);
        setUiHost(&m_host);
        set_data_directory(dir + "/work");
    }
    ~BenchSession() { setUiHost(nullptr); }
    BenchSession(const BenchSession&) = delete;
    BenchSession& operator=(const BenchSession&) = delete;

    const std::string dir;  // absolute
    HeadlessUiHost& host() { return m_host; }

private:
    HeadlessUiHost m_host;
};
