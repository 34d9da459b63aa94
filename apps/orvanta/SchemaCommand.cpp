#include "SchemaCommand.h"

#include "Terminal.h"

#include <Session/Session.h>

#include <cstdio>

EExitCode PrintSchema()
{
    const std::string schema = CSession::SuiteSchema();
    if (schema.empty() || std::fwrite(schema.data(), 1, schema.size(), stdout) != schema.size() ||
        std::fflush(stdout) != 0)
    {
        ReportError("cannot print the schema");
        return EExitCode::Unexpected;
    }
    return EExitCode::Passed;
}
