#include "app/atomic_file.h"
#include "app/clock.h"
#include "app/instance_files.h"

#include "support/child_program.h"
#include "support/temp_dir_test.h"

#include <csignal>
#include <set>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<std::uint8_t> bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace

class SafeFilesTest : public TempDirTest {};

TEST_F(SafeFilesTest, AnAtomicFileReplacesItsTargetOnlyWhenCommitted)
{
    const std::string target = path("song.take.wav");
    writeFile(target, bytesOf("old"));
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    {
        AtomicFile file;
        ASSERT_TRUE(file.begin(target));
        // Beside the target, with the name's whole extension kept.
        const std::string leaf = file_name_part(file.temporaryPath());
        EXPECT_EQ(leaf.rfind("song~ondrava-", 0), 0u) << leaf;
        EXPECT_EQ(leaf.substr(leaf.size() - 9), ".take.wav");
        EXPECT_TRUE(is_atomic_temporary_name(leaf));
        writeFile(file.temporaryPath(), bytesOf("new, not finished"));
        // Given up: the target is as it was and the temporary file is gone.
    }
    EXPECT_EQ(readFile(target), bytesOf("old"));
    EXPECT_EQ(filesIn(path("")).size(), 2u);  // song.take.wav and work/

    AtomicFile file;
    ASSERT_TRUE(file.begin(target));
    writeFile(file.temporaryPath(), bytesOf("new"));
    ASSERT_TRUE(file.commit());
    EXPECT_EQ(readFile(target), bytesOf("new"));
    struct stat st {};
    ASSERT_EQ(stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u) << "the target keeps its permissions";
    EXPECT_EQ(filesIn(path("")).size(), 2u);

    // Over a symbolic link, the file it points to is replaced; the link stays.
    ASSERT_EQ(symlink(target.c_str(), path("link.wav").c_str()), 0);
    AtomicFile linked;
    ASSERT_TRUE(linked.begin(path("link.wav")));
    writeFile(linked.temporaryPath(), bytesOf("through the link"));
    ASSERT_TRUE(linked.commit());
    EXPECT_EQ(readFile(target), bytesOf("through the link"));
    struct stat link {};
    ASSERT_EQ(lstat(path("link.wav").c_str(), &link), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));

    // A folder that is not there: nothing to begin.
    AtomicFile nowhere;
    EXPECT_FALSE(nowhere.begin(path("missing/x.wav")));
}

TEST_F(SafeFilesTest, InstallingAFileWorksAcrossFileSystems)
{
    // /dev/shm is a memory file system: a rename from it to here fails with
    // EXDEV, and the file is copied in beside the target instead.
    const std::string shm = "/dev/shm/ondrava-install-" + std::to_string(getpid());
    for (const std::string& source : {path("same.tmp"), shm}) {
        const std::string target = path("out.wav");
        writeFile(target, bytesOf("before"));
        writeFile(source, bytesOf("after " + source));
        ASSERT_TRUE(install_file_atomically(target, source)) << source;
        EXPECT_EQ(readFile(target), bytesOf("after " + source));
        EXPECT_FALSE(file_exists(source));
    }
    // A source that is not there leaves the target alone.
    EXPECT_FALSE(install_file_atomically(path("out.wav"), path("none.tmp")));
    EXPECT_EQ(readFile(path("out.wav")), bytesOf("after " + shm));
}

TEST_F(SafeFilesTest, WorkingFilesAreMadeExclusivelyUnderNewNames)
{
    // Whatever holds the clock's name already, the new file takes another.
    std::string first;
    UniqueFd a = create_work_file(first, ".tmp");
    ASSERT_TRUE(a.valid());
    EXPECT_EQ(first.rfind(workDir() + "/", 0), 0u);
    std::set<std::string> names{first};
    for (int i = 0; i < 20; ++i) {
        std::string next;
        ASSERT_TRUE(create_work_file(next, ".tmp").valid());
        EXPECT_TRUE(names.insert(next).second) << next;
    }
    // Another program's file under the next name is never opened.
    set_millisecond_clock([] { return 4242u; });
    writeFile(workDir() + "/4242    .ovr", bytesOf("someone else's"));
    std::string mine;
    ASSERT_TRUE(create_work_file(mine, ".ovr").valid());
    EXPECT_EQ(mine, workDir() + "/4243    .ovr");
    EXPECT_EQ(readFile(workDir() + "/4242    .ovr"), bytesOf("someone else's"));
    set_millisecond_clock({});
}

// A second program (a child process here) holds its folder while it runs;
// only once it has gone does its journal show up as left behind.
TEST_F(SafeFilesTest, OnlyFoldersOfProgramsThatHaveEndedAreLeftovers)
{
    ChildProgram other([this] {
        write_journal_record("1010", {{"working", workDir() + "/1       .tmp"}, {"original", "/music/song.wav"}});
        return true;
    });
    ASSERT_TRUE(other.ready());

    EXPECT_TRUE(find_leftover_instances().empty()) << "the other program still runs";
    // This program's own folder is never a leftover either.
    write_journal_record("2020", {{"working", "x"}});
    EXPECT_TRUE(find_leftover_instances().empty());

    other.kill();
    const std::vector<LeftoverInstance> left = find_leftover_instances();
    ASSERT_EQ(left.size(), 1u);
    ASSERT_EQ(left[0].documents.size(), 1u);
    EXPECT_EQ(left[0].documents[0].at("original"), "/music/song.wav");
    EXPECT_TRUE(remove_leftover_instance(left[0].directory));
    EXPECT_TRUE(find_leftover_instances().empty());
    remove_instance_directory();
}
