#include "SchemaCommand.h"

#include "Terminal.h"

#include <HostKit/DOMParser.h>
#include <Orvanta/DOMDocTestSuite.h>

#include <cstdio>

EExitCode PrintSchema()
{
    const QByteArray schema = CDOMParser::SchemaText(CDOMDocTestSuite::GetSchemaName());
    const auto size = static_cast<std::size_t>(schema.size());
    if (size == 0 || std::fwrite(schema.constData(), 1, size, stdout) != size || std::fflush(stdout) != 0)
    {
        ReportError("cannot print the schema");
        return EExitCode::Unexpected;
    }
    return EExitCode::Passed;
}
