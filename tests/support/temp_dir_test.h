#pragma once

#include "app/app_paths.h"
#include "support/test_ui_host.h"
#include "app/preferences.h"
#include "app/file_names.h"
#include "app/progress.h"
#include "support/program_state.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// Base fixture: a fresh temporary folder that is also the data directory, a
// quiet headless user interface that records what it shows, and the wave
// state and preferences back at their start values.
class TempDirTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/ondrava-test-XXXXXX";
        m_dir = mkdtemp(pattern);
        m_work = m_dir + "/work";
        set_data_directory(m_work);
        // Whatever the program writes for the user stays in the test's folder.
        setenv("ONDRAVA_HOME", (m_dir + "/ondrava").c_str(), 1);
        host.setQuiet(true);
        setUiHost(&host);
        reset_program_state();
        preferences() = Preferences{};
    }

    void TearDown() override
    {
        setUiHost(nullptr);
        unsetenv("ONDRAVA_HOME");
        std::filesystem::remove_all(m_dir);
    }

    std::string path(const std::string& name) const { return m_dir + "/" + name; }
    const std::string& workDir() const { return m_work; }

    // The files in a folder, leaving out the running program's own folder
    // (".ondrava"), which lives as long as the program.
    std::vector<std::string> filesIn(const std::string& dir) const
    {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(dir))
            if (e.path().filename() != ".ondrava")
                names.push_back(e.path().filename().string());
        return names;
    }

    static void writeFile(const std::string& name, const std::vector<std::uint8_t>& bytes)
    {
        std::ofstream out(name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
    }

    // An executable shell script in the test's folder (a stand-in for a
    // helper program); its full name.
    std::string writeScript(const std::string& name, const std::string& body) const
    {
        const std::string file = path(name);
        std::ofstream(file) << "#!/bin/sh\n" << body;
        std::filesystem::permissions(file, std::filesystem::perms::owner_all | std::filesystem::perms::group_read |
                                               std::filesystem::perms::group_exec);
        return file;
    }

    static std::vector<std::uint8_t> readFile(const std::string& name)
    {
        std::ifstream in(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    // The string-table ids of the messages shown so far, in order.
    std::vector<std::string> shownTexts() const
    {
        std::vector<std::string> texts;
        for (const auto& s : host.shown())
            texts.push_back(s.text);
        return texts;
    }

    // Runs `body` with writes past `bytes` failing as on a full disk.
    template <typename Body>
    static void withFileSizeLimit(rlim_t bytes, Body body)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit old{};
        getrlimit(RLIMIT_FSIZE, &old);
        rlimit limited = old;
        limited.rlim_cur = bytes;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
        body();
        setrlimit(RLIMIT_FSIZE, &old);
    }

    // Runs `body` with the temp folder as the current directory.
    template <typename Body>
    void inTempDir(Body body)
    {
        char cwd[4096];
        ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
        ASSERT_EQ(chdir(m_dir.c_str()), 0);
        body();
        ASSERT_EQ(chdir(cwd), 0);
    }

    TestUiHost host;

private:
    std::string m_dir;
    std::string m_work;
};
