#include "OutputNames.h"

#include <CoreKit/Exceptions.h>
#include <Reports/ReportFile.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <map>

#include <sys/stat.h>

namespace
{
constexpr int MOST_LINKS = 40; ///< as many as the system follows

std::string Id(const struct stat& file)
{
    return std::to_string(file.st_dev) + ':' + std::to_string(file.st_ino);
}

/// What two names of one file have in common, also of one that is yet to be made; empty for what is no regular file,
/// such as a terminal, where nothing is lost.
std::string Identity(const std::string& name)
{
    struct stat file
    {
    };
    if (stat(name.c_str(), &file) == 0)
    {
        return S_ISREG(file.st_mode) ? Id(file) : std::string();
    }
    std::filesystem::path path(name);
    std::error_code error;
    for (int links = 0; links < MOST_LINKS && std::filesystem::is_symlink(path, error); ++links)
    {
        path = path.parent_path() / std::filesystem::read_symlink(path, error);
    }
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    return stat(folder.c_str(), &file) == 0 ? Id(file) + '/' + path.filename().string() : name;
}

bool IsProgramOrLibrary(const std::string& name)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(name, error))
    {
        return false;
    }
    std::array<char, 4> begin{};
    std::ifstream(name, std::ios::binary).read(begin.data(), begin.size());
    return begin == std::array{'\x7F', 'E', 'L', 'F'};
}

/// What each file is used for, by its identity.
class CUses
{
public:
    void AddInput(const std::optional<std::string>& name, const char* what)
    {
        if (name)
        {
            m_Uses.emplace(Identity(*name), what);
        }
    }

    void AddOutput(const std::optional<std::string>& name, const char* what)
    {
        if (!name)
        {
            return;
        }
        const std::string identity = Identity(*name);
        const auto [used, isNew] = m_Uses.emplace(identity, what);
        if (!isNew && !identity.empty())
        {
            throw ZKRunTimeException(*name + ": named as " + used->second + " and as " + what);
        }
        if (IsProgramOrLibrary(*name))
        {
            throw ZKRunTimeException(*name + ": " + what + " would replace a program or a library");
        }
    }

private:
    std::map<std::string, const char*> m_Uses;
};

void AddStandardStreams(CUses& uses)
{
    uses.AddInput("/dev/stdout", "the standard output");
    uses.AddInput("/dev/stderr", "the standard error output");
}

void AddReports(CUses& uses, const SReportNames& names)
{
    uses.AddOutput(names.junit, "the JUnit report");
    uses.AddOutput(names.html, "the HTML report");
    uses.AddOutput(names.log, "the log");
    for (const std::optional<std::string>& name : {names.junit, names.html})
    {
        if (name)
        {
            CReportFile::Check(*name);
        }
    }
}

bool IsSpecial(const std::string& name)
{
    struct stat file
    {
    };
    return stat(name.c_str(), &file) == 0 && !S_ISREG(file.st_mode);
}
} // namespace

void CheckOutputNames(const SOptions& options, const std::string& lockFile)
{
    CUses uses;
    for (const std::string& suite : options.suites)
    {
        uses.AddInput(suite, "a suite");
    }
    uses.AddInput(lockFile, "the execution lock");
    uses.AddInput(options.settings, "the settings");
    const bool isSavedAgain =
        options.answers && options.saveAnswers && Identity(*options.answers) == Identity(*options.saveAnswers);
    uses.AddInput(isSavedAgain ? std::nullopt : options.answers, "the answers");
    AddStandardStreams(uses);
    uses.AddInput(options.rerun, "the record to run again");
    uses.AddOutput(options.record, "the record");
    AddReports(uses, options.reports);
    uses.AddOutput(options.saveAnswers, "the file for the answers");
    if (options.record && options.reports.NeedRecord() && IsSpecial(*options.record))
    {
        throw ZKRunTimeException(*options.record +
                                 ": reports are made from the record, which then has to be a file; "
                                 "name a file, or leave --record out");
    }
}

void CheckReportNames(const SOptions& options)
{
    CUses uses;
    for (const std::string& record : options.records)
    {
        uses.AddInput(record, "a record");
    }
    AddStandardStreams(uses);
    AddReports(uses, options.reports);
}
