#include "TestServices.h"

#include <HostKit/LibWrapper.h>
#include <HostKit/ReadLibrary.h>

#include <CoreKit/Exceptions.h>

#include <QTemporaryDir>

#include <cstring>
#include <filesystem>
#include <fstream>

#include <link.h>
#include <sys/stat.h>

class LibWrapperTest : public CServicesTest
{
protected:
    const std::string probe1 = PROBE_FOLDER "1";
    const std::string probe2 = PROBE_FOLDER "2";
    const QTemporaryDir temporary;
    const std::string empty = temporary.path().toStdString();

    static std::string Copy(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
};

TEST_F(LibWrapperTest, FileNames)
{
    const std::vector<std::pair<const char*, const char*>> names{
        {"probe", "libprobe.so"},       {"probe.so", "probe.so"},       {"libprobe.so.5", "libprobe.so.5"},
        {"probe.dll", "libprobe.so"},   {"probe.dylib", "libprobe.so"}, {"probe.soup", "libprobe.soup.so"},
        {"probe.v2", "libprobe.v2.so"}, {"a.dll.dll", "liba.dll.so"},   {"so", "libso.so"},
    };
    for (const auto& [name, file] : names)
    {
        EXPECT_EQ(MakeLibraryName(name), file);
    }
}

TEST_F(LibWrapperTest, TheFirstFolderThatHasTheLibraryWins)
{
    services.Settings.LibraryPath = {empty, std::filesystem::relative(probe2).string(), probe1};
    CLibWrapper library("probe", true);
    EXPECT_EQ(library.GetFunction("ProbeNumber"), nullptr);
    ASSERT_TRUE(library.OpenLibrary()) << library.GetDiagnostic().c_str();
    ASSERT_TRUE(library.OpenLibrary() && library.IsLoaded());
    EXPECT_EQ(library.GetDiagnostic(), "");
    const auto number = reinterpret_cast<int (*)()>(library.GetFunction("ProbeNumber"));
    ASSERT_NE(number, nullptr);
    EXPECT_EQ(number(), 2);
    EXPECT_EQ(library.GetFunction("NoSuchFunction"), nullptr);
    EXPECT_EQ(library.GetFunction("strlen"), nullptr) << "a library that this one depends on";
    EXPECT_EQ(library.GetFunction("ProbeData"), nullptr) << "no function";
}

TEST_F(LibWrapperTest, DiagnosticNamesEveryFolderAndReason)
{
    std::ofstream(empty + "/libprobe.so") << "no library";
    services.Settings.LibraryPath = {empty, empty + "/missing"};
    CLibWrapper library("probe.dll", false);
    EXPECT_FALSE(library.OpenLibrary());
    EXPECT_EQ(library.GetDiagnostic(),
              (empty + "/libprobe.so: file too short\n" + empty + "/missing/libprobe.so: no such file").c_str());
    services.Settings.LibraryPath.push_back(probe1);
    EXPECT_TRUE(library.OpenLibrary());
    EXPECT_EQ(library.GetDiagnostic(), "");
}

TEST_F(LibWrapperTest, NamesAreNeverLookedForElsewhere)
{
    CLibWrapper system("libc.so.6", true);
    EXPECT_FALSE(system.OpenLibrary());
    EXPECT_EQ(system.GetDiagnostic(), "libc.so.6: no folder is set in which to look for it.");
    services.Settings.LibraryPath = {empty};
    EXPECT_FALSE(system.OpenLibrary());
    const std::string path = probe1 + "/libprobe.so";
    for (const std::string& name : {path, std::string("..\\probe")})
    {
        CLibWrapper library(name.c_str(), true);
        EXPECT_FALSE(library.OpenLibrary());
        EXPECT_NE(std::string_view(library.GetDiagnostic()).find("path separator"), std::string_view::npos) << name;
    }
    CLibWrapper nameless("", true);
    EXPECT_FALSE(nameless.OpenLibrary());
    EXPECT_EQ(nameless.GetDiagnostic(), "The test library has no name.");
}

TEST_F(LibWrapperTest, ALibraryThatIsReadTellsItsFunctionsAndRunsNone)
{
    services.Settings.LibraryPath = {empty, probe1};
    CReadLibrary library("probe");
    EXPECT_FALSE(library.IsLoaded());
    ASSERT_TRUE(library.OpenLibrary()) << library.GetDiagnostic().c_str();
    for (const char* const name : {"ProbeNumber", "ProbeIndirect", "ProbeWeak", "ProbeAssembly"})
    {
        ASSERT_NE(library.GetFunction(name), nullptr) << name;
        EXPECT_THROW(library.GetFunction(name)(), ZKRunTimeException);
    }
    for (const char* const name : {"ProbeData", "ProbeTable", "ProbeHidden", "ProbeNeeded", "strlen", "Probe", ""})
    {
        EXPECT_EQ(library.GetFunction(name), nullptr) << name;
    }
}

TEST_F(LibWrapperTest, WhatTheLoaderWouldNotTakeIsNotReadEither)
{
    const std::string probe = Copy(probe1 + "/libprobe.so");
    std::string foreign = probe;
    foreign[18] = static_cast<char>(foreign[18] ^ 1); // the machine
    std::string object = probe;
    object[16] = 1; // the type of file
    const std::pair<std::string, const char*> rows[] = {
        {"", "not a shared library: it is no ELF file"},
        {"no library at all", "not a shared library: it is no ELF file"},
        {probe.substr(0, 64), "its table of exported functions cannot be read"},
        {foreign, "a library for another kind of machine"},
        {object, "not a shared library: it is a program or an object file"},
        {Copy("/proc/self/exe"), "not a shared library: it is a program or an object file"},
    };
    services.Settings.LibraryPath = {empty};
    for (const auto& [content, reason] : rows)
    {
        std::ofstream(empty + "/libodd.so", std::ios::binary) << content;
        CReadLibrary library("odd");
        EXPECT_FALSE(library.OpenLibrary());
        EXPECT_EQ(library.GetDiagnostic(), (empty + "/libodd.so: " + reason).c_str());
    }
}

TEST_F(LibWrapperTest, OnlyRegularFilesAreOpened)
{
    ASSERT_EQ(mkfifo((empty + "/libpipe.so").c_str(), 0600), 0);
    std::filesystem::create_directory(empty + "/libfolder.so");
    services.Settings.LibraryPath = {empty};
    for (const char* const name : {"pipe", "folder"})
    {
        CReadLibrary read(name);
        CLibWrapper opened(name, true);
        for (CLibWrapper* const library : {static_cast<CLibWrapper*>(&read), &opened})
        {
            EXPECT_FALSE(library->OpenLibrary());
            EXPECT_EQ(library->GetDiagnostic(), (empty + "/lib" + name + ".so: not a regular file").c_str());
        }
    }
}

TEST_F(LibWrapperTest, ALibraryWithoutSectionsIsTakenAsTheLoaderTakesIt)
{
    std::string stripped = Copy(probe1 + "/libprobe.so");
    ElfW(Ehdr) header{};
    std::memcpy(&header, stripped.data(), sizeof header);
    header.e_shoff = 0;
    header.e_shnum = header.e_shstrndx = 0;
    std::memcpy(stripped.data(), &header, sizeof header);
    std::ofstream(empty + "/libstripped.so", std::ios::binary) << stripped;
    services.Settings.LibraryPath = {empty};
    CLibWrapper opened("stripped", true);
    EXPECT_TRUE(opened.OpenLibrary()) << opened.GetDiagnostic().c_str();
    CReadLibrary read("stripped");
    ASSERT_TRUE(read.OpenLibrary()) << read.GetDiagnostic().c_str();
    EXPECT_FALSE(read.HasTable());
    EXPECT_NE(read.GetFunction("ProbeNumber"), nullptr);
    EXPECT_EQ(read.GetFunction(""), nullptr);
}
