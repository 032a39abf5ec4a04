#pragma once

#include "support/cli_process.h"
#include "support/temp_dir_test.h"

#include <sstream>

// Runs ondrava-cli as a user or a script would: in the test's folder, with a
// profile and a data folder of its own. ONDRAVA_CLI names the program.
class CliFixture : public TempDirTest {
protected:
    struct Run {
        int exitCode = -1;
        std::string out;
        std::string err;
    };

    // The environment of every run; `extra` adds variables (a helper's
    // stand-in, say).
    std::vector<std::string> environment(const std::vector<std::string>& extra = {}) const
    {
        std::vector<std::string> env = {"HOME=" + path("home"), "XDG_CONFIG_HOME=" + path("config"),
                                        "ONDRAVA_HOME=" + path("ondrava"), "PATH=/usr/bin:/bin"};
        env.insert(env.end(), extra.begin(), extra.end());
        return env;
    }

    // Starts a run without waiting; its output goes to `tag`.out and `tag`.err.
    std::unique_ptr<CliProcess> start(const std::vector<std::string>& args, const std::string& tag = "run",
                                      const std::vector<std::string>& extraEnvironment = {},
                                      rlim_t fileSizeLimit = RLIM_INFINITY) const
    {
        CliProcess::Options options;
        options.directory = path("");
        options.environment = environment(extraEnvironment);
        options.stdoutFile = path(tag + ".out");
        options.stderrFile = path(tag + ".err");
        options.fileSizeLimit = fileSizeLimit;
        return std::make_unique<CliProcess>(ONDRAVA_CLI, args, options);
    }

    // What a finished run printed.
    Run result(CliProcess& process, const std::string& tag = "run") const
    {
        Run run;
        run.exitCode = process.wait();
        const auto out = readFile(path(tag + ".out"));
        const auto err = readFile(path(tag + ".err"));
        run.out.assign(out.begin(), out.end());
        run.err.assign(err.begin(), err.end());
        return run;
    }

    Run cli(const std::vector<std::string>& args, const std::vector<std::string>& extraEnvironment = {},
            rlim_t fileSizeLimit = RLIM_INFINITY)
    {
        auto process = start(args, "run", extraEnvironment, fileSizeLimit);
        return result(*process);
    }

    static std::vector<std::string> lines(const std::string& text)
    {
        std::vector<std::string> result;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            result.push_back(line);
        return result;
    }
};
