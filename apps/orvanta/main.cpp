#include "EarlyExit.h"
#include "ListCommand.h"
#include "Options.h"
#include "RunCommand.h"
#include "SchemaCommand.h"
#include "Terminal.h"

#include <CoreKit/CatchLadder.h>

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
EExitCode Execute(const SOptions& options)
{
    const CEarlyExitGuard guard("a test library ended the process while it was being loaded");
    switch (options.command)
    {
    case ECommand::Run:
        return RunSuites(options);
    case ECommand::List:
        return ListSuites(options);
    case ECommand::Schema:
        return PrintSchema();
    case ECommand::None:
        break;
    }
    return EExitCode::Usage;
}

EExitCode Unexpected(const char* what)
{
    ReportError(what);
    return EExitCode::Unexpected;
}
/// Output that was lost is no success, unless its reader went away by choice.
EExitCode CheckOutput(EExitCode code)
{
    struct stat output
    {
    };
    const bool isPipe = fstat(STDOUT_FILENO, &output) == 0 && S_ISFIFO(output.st_mode);
    const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (isPipe || isWritten)
    {
        return code;
    }
    ReportError("the output cannot be written");
    return code == EExitCode::Passed ? EExitCode::Usage : code;
}
} // namespace

int main(int argc, char** argv)
{
    PrepareStandardStreams();
    const EExitCode code = Guarded(
        [&]
        {
            SOptions options;
            const std::optional<EExitCode> done = ParseOptions(argc, argv, options);
            return done ? *done : Execute(options);
        },
        [](OutOfMemory) { return Unexpected("out of memory"); },
        [](const std::exception& exception) { return Unexpected(exception.what()); },
        [](UnknownFailure) { return Unexpected("an unknown failure"); });
    return static_cast<int>(CheckOutput(code));
}
