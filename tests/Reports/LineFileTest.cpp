#include "TestFile.h"

#include <Reports/LineFile.h>

#include <CoreKit/Exceptions.h>

#include <csignal>
#include <optional>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>

TEST(LineFile, LinesAreGatheredUntilTheyAreHandedOverOrMany)
{
    const CTestFile file;
    file.Write("an older run's\n");
    std::optional<CLineFile> lines(file.Path());
    EXPECT_EQ(file.Text(), "");
    lines->Append("1\n");
    lines->Append("2\n3\n");
    EXPECT_EQ(file.Text(), "");
    lines->HandOver();
    EXPECT_EQ(file.Text(), "1\n2\n3\n");
    const std::string large = std::string(1023, 'x') + '\n';
    std::string expected = file.Text();
    for (int i = 0; i < 64; ++i)
    {
        EXPECT_EQ(file.Text().size(), 6);
        lines->Append(large);
        expected += large;
    }
    EXPECT_EQ(file.Text(), expected);
    lines->Append("last\n");
    lines.reset();
    EXPECT_EQ(file.Text(), expected + "last\n");
}

TEST(LineFile, AFullDiskLeavesWholeLinesAndIsTold)
{
    const CTestFile file;
    CLineFile lines(file.Path());
    lines.Append("handed over before\n");
    lines.HandOver();
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{30, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    lines.Append("one\n");
    lines.Append("two\n");
    lines.Append("does not fit\n");
    lines.HandOver();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(file.Text(), "handed over before\none\ntwo\n");
    EXPECT_EQ(lines.WriteError(), "cannot write " + file.Path() + ": File too large");
    lines.Append("after a gap\n");
    lines.HandOver();
    EXPECT_EQ(file.Text(), "handed over before\none\ntwo\n");
}

TEST(LineFile, AForkedProcessNeitherWritesNorUnlocks)
{
    const CTestFile file;
    std::optional<CLineFile> lines(file.Path());
    lines->Append("gathered\n");
    const pid_t child = fork();
    if (child == 0)
    {
        lines->Append("written by the child\n");
        lines->HandOver();
        lines->Append(std::string(100000, 'x') + '\n');
        lines.reset();
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(file.Text(), "");
    try
    {
        const CLineFile other(file.Path());
        ADD_FAILURE() << "the lock is gone";
    }
    catch (const ZKRunTimeException& exception)
    {
        EXPECT_EQ(exception.what(), "cannot write " + file.Path() + ": another run is writing it");
    }
    lines->HandOver();
    EXPECT_EQ(file.Text(), "gathered\n");
}
