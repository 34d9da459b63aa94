#include "TestFile.h"

#include <Reports/RecordFile.h>
#include <Reports/RecordReader.h>

#include <CoreKit/Exceptions.h>
#include <CoreKit/Version.h>
#include <Events/EventJson.h>

#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <sys/wait.h>

namespace
{
const std::string TIME = R"("time":"2024-02-29T12:34:56.007Z")";
const std::string RECORD = R"({"event":"record",)" + TIME + R"(,"version":2,"engine":"5.0.0","host":"h"})" + '\n';

SEvent Skip(std::string path)
{
    return {std::chrono::system_clock::now(), SSkipEvent{std::move(path)}};
}

/// The paths of a record's "skip" events, and how it ends; or the error.
std::string Read(const CTestFile& file)
{
    std::string read;
    try
    {
        const SRecordEnd end = ReadRecord(file.Path(),
                                          [&](const SEvent& event)
                                          {
                                              const auto* const skip = std::get_if<SSkipEvent>(&event.what);
                                              read += skip ? skip->path + ' ' : "";
                                          });
        return read + std::to_string(end.lines) + (end.isCutOff ? " cut off" : " whole");
    }
    catch (const ZKRunTimeException& exception)
    {
        return read + exception.what();
    }
}

/// Writes events that count upwards, and tells how many of them have been handed over.
[[noreturn]] void WriteUntilKilled(const std::string& path, int told)
{
    CRecordFile record(path, "host");
    for (std::uint32_t count = 1;; ++count)
    {
        record.Take(Skip(std::to_string(count)));
        if (count % 7 == 0)
        {
            record.HandOver();
            static_cast<void>(write(told, &count, sizeof count));
        }
    }
}
} // namespace

TEST(Record, WhatWasHandedOverSurvivesAKill)
{
    const CTestFile file;
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < 10; ++round)
    {
        int ends[2] = {-1, -1};
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0)
        {
            close(ends[0]);
            WriteUntilKilled(file.Path(), ends[1]);
        }
        close(ends[1]);
        std::uint32_t told = 0;
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 20000);
        while (read(ends[0], &told, sizeof told) > 0 && std::chrono::steady_clock::now() < end)
        {
        }
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        while (read(ends[0], &told, sizeof told) > 0)
        {
        }
        close(ends[0]);

        std::uint32_t seen = 0;
        ReadRecord(file.Path(),
                   [&](const SEvent& event)
                   {
                       const auto* const skip = std::get_if<SSkipEvent>(&event.what);
                       ASSERT_TRUE(!skip || skip->path == std::to_string(++seen)) << skip->path;
                   });
        EXPECT_GE(told, 7U);
        EXPECT_GE(seen, told);
    }
}

TEST(Record, ItsFirstLineAndARunsEndAreHandedOverAtOnce)
{
    const CTestFile file;
    CRecordFile record(file.Path(), "bench");
    const SEventLine first = FromJson(file.Text());
    ASSERT_TRUE(first.event) << first.error;
    EXPECT_EQ(std::get<SRecordEvent>(first.event->what).engine, ORVANTA_VERSION);
    EXPECT_EQ(std::get<SRecordEvent>(first.event->what).host, "bench");
    record.Take(Skip("/1"));
    EXPECT_EQ(Read(file), "1 whole");
    record.Take({{}, SRunEndEvent{}});
    EXPECT_EQ(Read(file), "/1 3 whole");
}

TEST(Record, TheReaderTakesWhatACrashLeftAndNamesThePlaceOfWhatIsNoRecord)
{
    const CTestFile file;
    const std::string skip = R"({"event":"skip",)" + TIME + R"(,"path":"/1"})";
    const std::string large = R"({"event":"skip",)" + TIME + R"(,"path":")" + std::string(200000, 'x') + "\"}\n";
    const std::string at = file.Path() + ':';
    const std::string no = ": cannot be read as the record of a run: ";
    const std::pair<std::string, std::string> rows[] = {
        // clang-format off
        {RECORD, "1 whole"},
        {RECORD + skip + '\n' + skip + '\n', "/1 /1 3 whole"},
        {RECORD + R"({"event":"sandwich"})" "\n" + skip + '\n', "/1 3 whole"},
        {RECORD + large + skip + '\n', std::string(200000, 'x') + " /1 3 whole"},
        {RECORD + skip + '\n' + skip, "/1 /1 3 whole"},
        {RECORD + skip + '\n' + skip.substr(0, 60), "/1 2 cut off"},
        {RECORD + skip + '\n' + std::string(4096, '\0'), "/1 2 cut off"},
        {RECORD + skip + '\n' + skip.substr(0, 60) + '\n',
         "/1 " + at + '3' + no + "not valid JSON at byte 61: Invalid escape character in string."},
        {RECORD + skip + "\n\n" + skip + '\n', "/1 " + at + '3' + no + "not valid JSON at byte 2: The document is empty."},
        {R"({"event":"record",)" + TIME + R"(,"version":1,"engine":"5.0.0"})" "\n" + skip + '\n',
         at + '1' + no + "this is a record of version 1, and only version 2 can be read: run the suite again for a new record"},
        {skip + '\n', at + '1' + no + "it does not begin with a \"record\" event"},
        {R"({"event":"sandwich"})" "\n", at + '1' + no + "it does not begin with a \"record\" event"},
        {RECORD.substr(0, 20), at + '1' + no + "not valid JSON at byte 21: Missing a closing quotation mark in string."},
        {"\x7F" "ELF\n", at + '1' + no + "not valid JSON at byte 1: Invalid value."},
        {"", at + '1' + no + "not valid JSON at byte 1: The document is empty."},
        // clang-format on
    };
    for (const auto& [text, expected] : rows)
    {
        file.Write(text);
        EXPECT_EQ(Read(file), expected) << text.substr(0, 500);
    }
    std::filesystem::resize_file(file.Path(), (256U << 20) + 1);
    EXPECT_EQ(Read(file), at + '1' + no + "the line is longer than 256 MiB");
    std::filesystem::remove(file.Path());
    EXPECT_EQ(Read(file), "cannot read " + file.Path() + ": No such file or directory");
}
