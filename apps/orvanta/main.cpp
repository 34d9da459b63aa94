#include "CheckCommand.h"
#include "DiffCommand.h"
#include "EarlyExit.h"
#include "ListCommand.h"
#include "Options.h"
#include "ReportCommand.h"
#include "RunCommand.h"
#include "SchemaCommand.h"
#include "StartFolder.h"
#include "Terminal.h"

#include <CoreKit/CatchLadder.h>

#include <cstdio>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
EExitCode Execute(const SOptions& options)
{
    const CEarlyExitGuard guard([] { return "a test library ended the process while it was being loaded"; });
    switch (options.command)
    {
    case ECommand::Run:
        return RunSuites(options);
    case ECommand::List:
        return ListSuites(options);
    case ECommand::Check:
        return CheckSuites(options);
    case ECommand::Report:
        return ReportRecords(options);
    case ECommand::Diff:
        return CompareRecords(options);
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

mode_t TypeOf(int stream)
{
    struct stat state
    {
    };
    return fstat(stream, &state) == 0 ? state.st_mode & S_IFMT : 0;
}

/// Lets a standard stream wait for a slow reader: the standard library drops what does not fit at once. The pipe or
/// terminal is opened anew, since whoever handed it over may need it as it is. A socket cannot be.
void WaitForReaderOf(int stream)
{
    const int flags = fcntl(stream, F_GETFL);
    const mode_t type = TypeOf(stream);
    if (flags < 0 || (flags & O_NONBLOCK) == 0 || (type != S_IFIFO && type != S_IFCHR))
    {
        return;
    }
    const std::string path = "/proc/self/fd/" + std::to_string(stream);
    const int blocking = open(path.c_str(), (flags & O_ACCMODE) | O_CLOEXEC | O_NOCTTY);
    if (blocking >= 0)
    {
        dup2(blocking, stream);
        close(blocking);
    }
}

/// Whether the reader of a pipe went away by choice: it has seen enough.
bool HasReaderLeft(int stream)
{
    const mode_t type = TypeOf(stream);
    pollfd state{stream, POLLOUT, 0};
    return (type == S_IFIFO || type == S_IFSOCK) && poll(&state, 1, 0) == 1 &&
        (state.revents & (POLLERR | POLLHUP)) != 0;
}

/// Output that was lost is no success, unless nobody wanted it.
EExitCode CheckOutput(EExitCode code)
{
    const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (isWritten || HasReaderLeft(STDOUT_FILENO))
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
    RememberStartFolder();
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    {
        WaitForReaderOf(stream);
    }
    const EExitCode code = Guarded(
        [&]
        {
            SOptions options;
            const std::optional<EExitCode> done = ParseOptions(argc, argv, options);
            return done ? *done : Execute(options);
        },
        [](SOutOfMemory) { return Unexpected("out of memory"); },
        [](const ZKUserAbort& abort) { return Unexpected(abort.what()); },
        [](const std::exception& exception) { return Unexpected(exception.what()); },
        [](SUnknownFailure) { return Unexpected("an unknown failure"); });
    return static_cast<int>(CheckOutput(code));
}
