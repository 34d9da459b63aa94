#include "TestServices.h"

#include <HostKit/AppSettings.h>
#include <HostKit/TestSuiteFilters.h>

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <sstream>

class AppSettingsTest : public testing::Test
{
protected:
    void Write(const std::string& text) const { std::ofstream(path) << text; }

    std::string Read() const
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    static std::string Get(const CAppSettings& settings, const char* key, int scope)
    {
        std::string value = "left over";
        settings.GetAppSetting(key, value, scope);
        return value;
    }

    const QTemporaryDir temporary;
    const std::string path = temporary.path().toStdString() + "/settings.ini";
};

TEST_F(AppSettingsTest, WritingKeepsCommentsAndOrder)
{
    Write("; the bench in room 4\n\n[runtime]\n; where the lock is\nLockFileName = /old\n"
          "[application]\n# the product\nTestScriptLabel = Grün\n; the end\n");
    CAppSettings settings(path);
    EXPECT_EQ(Get(settings, "TestScriptLabel", 0), "Grün");
    EXPECT_EQ(Get(settings, "runtime/LockFileName", 1), "/old");
    EXPECT_EQ(Get(settings, "runtime/Missing", 1), "");
    for (const char* value : {"/new; # =", "/newer", "/new; # ="})
    {
        settings.UpdateAppSetting("runtime/LockFileName", value, 1);
        settings.SyncSettings();
    }
    const std::string written = "; the bench in room 4\n\n\n[runtime]\n\n; where the lock is\n"
                                "LockFileName = /new; # =\n\n\n"
                                "[application]\n\n# the product\nTestScriptLabel = Grün\n; the end\n";
    EXPECT_EQ(Read(), written);
    EXPECT_EQ(Get(CAppSettings(path), "runtime/LockFileName", 1), "/new; # =");
}

TEST_F(AppSettingsTest, TheFileAndItsFolderAreMadeOnTheFirstChange)
{
    const std::string deep = temporary.path().toStdString() + "/a/b/new.ini";
    CAppSettings settings(deep);
    settings.SyncSettings();
    EXPECT_FALSE(std::filesystem::exists(deep));
    settings.UpdateAppSetting("TestScriptLabel", "Label", 0);
    settings.SyncSettings();
    EXPECT_EQ(Get(CAppSettings(deep), "TestScriptLabel", 0), "Label");
}

TEST_F(AppSettingsTest, OverridesBeatTheFileAndAreNeverWritten)
{
    Write("[application]\nTestScriptLabel = file\n");
    CAppSettings settings(path);
    settings.Override("TestScriptLabel", "option", 0);
    settings.Override("filters/current", "Lab", 1);
    settings.UpdateAppSetting("other/key", "changed", 1);
    settings.SyncSettings();
    EXPECT_EQ(Get(settings, "TestScriptLabel", 0), "option");
    EXPECT_EQ(settings.SectionValue("filters", "current"), "Lab");
    EXPECT_EQ(Read(), "[application]\nTestScriptLabel = file\n\n\n[other]\nkey = changed\n");
}

TEST_F(AppSettingsTest, TroubleNamesTheFile)
{
    const std::string folder = temporary.path().toStdString();
    EXPECT_EQ(Outcome([&] { CAppSettings settings(folder); }),
              "error: Cannot read the settings file \"" + folder + "\": it is a folder.");
    Write("[application]\nTestScriptLabel = Gr\xFCn\n");
    EXPECT_EQ(Outcome([&] { CAppSettings settings(path); }),
              "error: Cannot read the settings file \"" + path + "\": it is not UTF-8.");
    Write("a file");
    CAppSettings blocked(path + "/below.ini");
    blocked.UpdateAppSetting("a", "b", 0);
    EXPECT_EQ(Outcome([&] { blocked.SyncSettings(); }),
              "error: Cannot write the settings file \"" + path + "/below.ini\": its folder cannot be made.");
    EXPECT_EQ(Outcome([&] { blocked.UpdateAppSetting("a", "two\nlines", 0); }),
              "error: The setting application/a must be a single line.");
}

TEST_F(AppSettingsTest, Filters)
{
    Write("[filters]\ncurrent = X\n[filter:Lab]\ncategories = Lab , , X\nhideUnfiltered = TRUE\n"
          "[filter:X]\nunrestricted = true\nhideUnfiltered = False\n");
    ZKCustomConfiguration configuration;
    EXPECT_TRUE(configuration.TestSuiteFilters().Empty());
    configuration.ReadFilters(CAppSettings(path));
    const CTestSuiteFilters& filters = configuration.TestSuiteFilters();
    const CFilter* lab = filters.Filter(filters.IndexOf(QStringLiteral("Lab")));
    const CFilter* other = filters.Filter(1);
    ASSERT_TRUE(lab && other && !filters.Filter(2) && filters.IndexOf(QStringLiteral("Y")) == -1);
    EXPECT_EQ(lab->Categories(), (QStringList{QStringLiteral("Lab"), QStringLiteral("X")}));
    EXPECT_TRUE(lab->HideUnfiltered() && !lab->Unrestricted() && !filters.Filter(-1));
    EXPECT_TRUE(other->Name() == QStringLiteral("X") && other->Unrestricted() && !other->HideUnfiltered());

    Write("[filter:Lab]\nunrestricted = yes\n");
    EXPECT_EQ(Outcome([&] { configuration.ReadFilters(CAppSettings(path)); }),
              "error: Settings section [filter:Lab]: unrestricted must be \"true\" or \"false\", not \"yes\".");
}
