#include "Terminal.h"

#include <CoreKit/PrintableText.h>
#include <Events/Problem.h>
#include <Events/Words.h>
#include <HostKit/FormatInfo.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

void PrepareStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        // The lowest free number is the one that was closed.
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0)
        {
            std::abort();
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
}

bool InForce(EWhen when, std::FILE* stream)
{
    if (when != EWhen::Auto)
    {
        return when == EWhen::Always;
    }
    const char* terminal = std::getenv("TERM");
    return isatty(fileno(stream)) == 1 && terminal && std::string_view(terminal) != "dumb" && !std::getenv("NO_COLOR");
}

std::size_t TerminalWidth(std::FILE* stream)
{
    winsize size{};
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string EscapeSequence(const CFormatInfo& format)
{
    std::string sequence;
    const auto add = [&](const std::string& code) { sequence += (sequence.empty() ? "" : ";") + code; };
    if (format.Bold())
    {
        add("1");
    }
    if (format.Italics())
    {
        add("3");
    }
    if (format.Underline())
    {
        add("4");
    }
    if (const auto& color = format.Color())
    {
        const auto [least, most] = std::minmax({color->red, color->green, color->blue});
        // Greys stay what the terminal shows text in: black on black helps nobody.
        if (most - least >= 64)
        {
            const auto bit = [middle = (least + most) / 2](std::uint32_t part, int value)
            { return part > middle ? value : 0; };
            add(std::to_string(30 + bit(color->red, 1) + bit(color->green, 2) + bit(color->blue, 4)));
        }
    }
    return sequence.empty() ? sequence : "\033[" + sequence + 'm';
}

std::string ProblemLine(std::string_view file, const SProblem& problem)
{
    std::string line(file);
    if (problem.line > 0)
    {
        line += ':' + std::to_string(problem.line) + ':' + std::to_string(problem.column);
    }
    line.append(": ").append(WordOf(problem.severity)).append(": ").append(problem.message);
    return PrintableLine(problem.rule.empty() ? line : line + " [" + problem.rule + ']');
}

void WriteErrorLine(std::string_view line)
{
    std::fprintf(stderr, "%s\n", PrintableLine(line).c_str());
}

void ReportError(std::string_view message)
{
    WriteErrorLine("orvanta: " + std::string(message));
}
