#include <Reports/EventText.h>

#include <CoreKit/Format.h>
#include <CoreKit/Measurement.h>
#include <CoreKit/Time.h>
#include <Events/Words.h>

#include <limits>

std::string ProblemText(const std::string& file, const SProblem& problem)
{
    const std::string place =
        problem.line == 0 ? "" : std::to_string(problem.line) + ':' + std::to_string(problem.column) + ':';
    return file + ':' + place + ' ' + std::string(WordOf(problem.severity)) + ": " + problem.message + " [" +
        problem.rule + ']';
}

std::string SecondsText(std::chrono::microseconds duration)
{
    return std::string(FormatText("%.3f", std::chrono::duration<double>(duration).count()));
}

std::string LockText(const SLockEvent& lock)
{
    const std::string process = lock.process ? " by process " + std::to_string(*lock.process) : "";
    const std::string host = lock.host.empty() ? "" : " on " + lock.host;
    const std::string since = lock.since ? std::string(" since ") + MakeUtcTimeString(*lock.since).c_str() : "";
    return "The execution lock " + lock.file + " is held" + process + host + since + ": " +
        std::string(WordOf(lock.state));
}

std::string VanishedText(const SVanishedEvent& vanished)
{
    const std::string signal = vanished.signal ? ", signal " + std::to_string(*vanished.signal) : "";
    const std::string status = vanished.status ? ", exit status " + std::to_string(*vanished.status) : "";
    return "The process that ran the suite ended without a word" + signal + status;
}

std::string MeasurementText(const SMeasurementEvent& measurement)
{
    constexpr double NONE = std::numeric_limits<double>::quiet_NaN();
    return SMeasurement{measurement.name, measurement.value, measurement.unit, measurement.lower.value_or(NONE),
                        measurement.upper.value_or(NONE)}
        .Text(measurement.passed);
}
