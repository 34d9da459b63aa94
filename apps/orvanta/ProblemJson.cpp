#include "ProblemJson.h"

#include <Events/Words.h>

using TJson = nlohmann::ordered_json;

TJson JsonOf(const SProblem& problem)
{
    return {{"line", problem.line == 0 ? TJson() : TJson(problem.line)},
            {"column", problem.line == 0 ? TJson() : TJson(problem.column)},
            {"severity", WordOf(problem.severity)},
            {"rule", problem.rule},
            {"message", problem.message}};
}
