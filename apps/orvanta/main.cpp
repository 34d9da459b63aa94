#include "ListCommand.h"
#include "Options.h"
#include "RunCommand.h"
#include "SchemaCommand.h"
#include "Terminal.h"

#include <CoreKit/CatchLadder.h>

namespace
{
EExitCode Execute(const SOptions& options)
{
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
    return static_cast<int>(code);
}
