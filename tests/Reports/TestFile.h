#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

/// The name of a file that a test may write; there is none when the test begins, and it is gone when the test ends.
class CTestFile
{
public:
    CTestFile()
        : m_Path(testing::TempDir() + "orvanta-reports-" + std::to_string(getpid()))
    {
        std::filesystem::remove(m_Path);
    }
    ~CTestFile() { std::filesystem::remove(m_Path); }
    CTestFile(const CTestFile&) = delete;
    CTestFile& operator=(const CTestFile&) = delete;

    const std::string& Path() const { return m_Path; }

    std::string Text() const
    {
        std::ifstream file(m_Path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Write(const std::string& text) const { std::ofstream(m_Path, std::ios::binary) << text; }

private:
    std::string m_Path;
};
