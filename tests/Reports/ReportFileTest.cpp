#include "TestFile.h"

#include <Reports/ReportFile.h>

#include <CoreKit/Exceptions.h>

#include <filesystem>
#include <string>

namespace
{
std::string Large()
{
    return std::string(300'000, 'x');
}

std::string Write(const std::string& path)
{
    try
    {
        CReportFile file(path);
        file.Write("first ");
        file.Write(Large());
        file.Commit();
        return "written";
    }
    catch (const ZKRunTimeException& exception)
    {
        return exception.what();
    }
}
} // namespace

TEST(ReportFile, AppearsWholeOrNotAtAll)
{
    const CTestFile file;
    file.Write("old");
    std::filesystem::permissions(file.Path(), std::filesystem::perms(0640));
    {
        CReportFile unfinished(file.Path());
        unfinished.Write(Large());
    }
    EXPECT_EQ(file.Text(), "old");
    const std::string link = file.Path() + ".link";
    std::filesystem::create_symlink(file.Path(), link);
    EXPECT_EQ(Write(link), "written");
    EXPECT_EQ(file.Text(), "first " + Large());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(std::filesystem::status(file.Path()).permissions(), std::filesystem::perms(0640));
    std::filesystem::remove(link);
}

TEST(ReportFile, SaysWhatCannotBeWrittenAndWhy)
{
    const CTestFile file;
    EXPECT_EQ(Write("/dev/full"), "cannot write /dev/full: No space left on device");
    EXPECT_EQ(Write("/"), "cannot write /: Is a directory");
    const std::string nowhere = file.Path() + "/no/report.xml";
    EXPECT_EQ(Write(nowhere), "cannot write " + nowhere + ": No such file or directory");
    CReportFile::Check(file.Path());
    EXPECT_FALSE(std::filesystem::exists(file.Path()));
}
