#include <Reports/HtmlReport.h>

#include <Events/Words.h>

#include "JsonRow.h"
#include "SuiteOutcomes.h"

#include <QCryptographicHash>
#include <QFile>

#include <utility>
#include <variant>

namespace
{
std::int64_t Milliseconds(std::chrono::system_clock::duration duration)
{
    return std::chrono::floor<std::chrono::milliseconds>(duration).count();
}

std::int64_t Milliseconds(std::chrono::system_clock::time_point time)
{
    return Milliseconds(time.time_since_epoch());
}

void Replace(std::string& text, std::string_view mark, std::string_view by)
{
    text.replace(text.find(mark), mark.size(), by);
}

/// The template, allowing its own script and no other.
std::string ReadTemplate()
{
    QFile file(QStringLiteral(":/orvanta/HtmlReport.html"));
    file.open(QIODevice::ReadOnly);
    std::string page = file.readAll().toStdString();
    constexpr std::string_view BEGIN = "<script>";
    const std::size_t begin = page.find(BEGIN) + BEGIN.size();
    const std::string script = page.substr(begin, page.find("</script>", begin) - begin);
    const QByteArray hash = QCryptographicHash::hash(QByteArray::fromStdString(script), QCryptographicHash::Sha256);
    Replace(page, "@SCRIPT_HASH@", hash.toBase64().toStdString());
    return page;
}

/// Numbers as texts: a script has no integers beyond 53 bits.
std::string AnswerText(const TPromptAnswer& answer)
{
    if (const bool* const choice = std::get_if<bool>(&answer))
    {
        return *choice ? "yes" : "no";
    }
    const std::uint64_t* const number = std::get_if<std::uint64_t>(&answer);
    return number ? std::to_string(*number) : std::string(WordOf(std::get<EPromptEnd>(answer)));
}

/// The columns that a prompt's opening and its end share.
CJsonRow PromptRow(const char* kind, std::int64_t time, std::uint64_t id, const SPrompt& prompt,
                   const std::optional<std::string>& answer)
{
    const bool hasInitial = prompt.kind == EPromptKind::Integer && prompt.initialize;
    const std::optional<std::string> initial =
        hasInitial ? std::optional(std::to_string(prompt.initial)) : std::nullopt;
    return CJsonRow(kind, time, id, WordOf(prompt.kind), prompt.text, prompt.yes, prompt.no, prompt.button,
                    prompt.label, std::to_string(prompt.min), std::to_string(prompt.max), prompt.timeout, answer,
                    prompt.hexadecimal, initial);
}
} // namespace

CHtmlReport::CHtmlReport(const std::string& path)
    : m_File(path)
    , m_Rest(ReadTemplate())
    , m_Outcomes(std::make_unique<CSuiteOutcomes>())
{
    constexpr std::string_view DATA = "@DATA@";
    const std::size_t data = m_Rest.find(DATA);
    m_File.Write(std::string_view(m_Rest).substr(0, data));
    m_Rest.erase(0, data + DATA.size());
}

CHtmlReport::~CHtmlReport() = default;

void CHtmlReport::Take(const SEvent& event)
{
    m_Begin = m_Begin.value_or(event.time);
    m_Time = Milliseconds(event.time - *m_Begin);
    m_Outcomes->Take(event);
    std::visit([this](const auto& what) { Tell(what); }, event.what);
}

void CHtmlReport::Finish()
{
    const std::string_view overall = WordOf(m_Outcomes->Overall());
    const std::optional<std::int64_t> begin = m_Begin ? std::optional(Milliseconds(*m_Begin)) : std::nullopt;
    m_File.Write(CJsonRow("outcome", begin, overall, m_Outcomes->Words()).Text());
    Replace(m_Rest, "@OUTCOME@", overall);
    m_File.Write(m_Rest);
    m_File.Commit();
}

template <class... T>
void CHtmlReport::Row(const char* kind, const T&... values)
{
    m_File.Write(CJsonRow(kind, m_Time, values...).Text());
    m_File.Write(",\n");
}

void CHtmlReport::Tell(const SRecordEvent& event)
{
    Row("record", event.engine, event.host);
}

void CHtmlReport::Tell(const SSuiteLoadEvent& event)
{
    Row("load", std::uint64_t{m_Outcomes->Current()}, event.file, event.loaded);
    for (const SProblem& problem : event.problems)
    {
        Row("problem", problem.line, problem.column, WordOf(problem.severity), problem.rule, problem.message);
    }
}

void CHtmlReport::Tell(const SRunStartEvent& event)
{
    m_Nodes.clear();
    Row("run", std::uint64_t{m_Outcomes->Current()}, event.suite, event.file, event.library, event.executionType,
        event.mode, event.meta);
}

void CHtmlReport::Tell(const SNodeEvent& event)
{
    const std::uint64_t number = m_Nodes.size();
    if (m_Nodes.try_emplace(event.path, number).second)
    {
        Row("node", event.path, event.element, event.name, event.label, event.line, event.selected, event.test);
    }
}

std::uint64_t CHtmlReport::Node(const std::string& path)
{
    if (!m_Nodes.contains(path))
    {
        SNodeEvent node;
        node.path = path;
        Tell(node);
    }
    return m_Nodes.at(path);
}

std::optional<std::uint64_t> CHtmlReport::NodeOrNone(const std::string& path)
{
    return path.empty() ? std::nullopt : std::optional(Node(path));
}

void CHtmlReport::Tell(const SLogEvent& event)
{
    if (!event.format)
    {
        Row("log", event.text, event.level, event.status, event.second);
        return;
    }
    const SLogFormat& format = *event.format;
    Row("log", event.text, event.level, event.status, event.second, format.color, format.background, format.strength,
        format.italic, format.underline);
}

void CHtmlReport::Tell(const SPrintEvent& event)
{
    Row("print", event.text, event.level, event.line);
}

void CHtmlReport::Tell(const STestLogEvent& event)
{
    Row("test-log", event.text, event.test, event.separator);
}

void CHtmlReport::Tell(const SStateEvent& event)
{
    Row("state", Node(event.path), WordOf(event.state));
}

void CHtmlReport::Tell(const SPassEvent& event)
{
    Row("pass", Node(event.path), event.number, std::to_string(event.iterator), event.variable);
}

void CHtmlReport::Tell(const SSkipEvent& event)
{
    Row("skip", Node(event.path));
}

void CHtmlReport::Tell(const SMeasurementEvent& event)
{
    Row("measurement", Node(event.path), event.name, event.value, event.unit, event.lower, event.upper, event.passed);
}

void CHtmlReport::Tell(const SVerdictEvent& event)
{
    Row("verdict", Node(event.path), event.test, WordOf(event.verdict), event.warnings, event.passes,
        std::int64_t{event.duration.count()}, event.reason);
}

void CHtmlReport::Tell(const SPromptOpenEvent& event)
{
    m_File.Write(PromptRow("prompt", m_Time, event.id, event.prompt, std::nullopt).Text() + ",\n");
}

void CHtmlReport::Tell(const SPromptEvent& event)
{
    m_File.Write(PromptRow("prompt", m_Time, event.id, event.prompt, AnswerText(event.answer)).Text() + ",\n");
}

void CHtmlReport::Tell(const SAbortEvent& event)
{
    Row("abort", event.text, WordOf(event.by));
}

void CHtmlReport::Tell(const SOutputEvent& event)
{
    Row("output", NodeOrNone(event.path), WordOf(event.stream), event.text);
}

void CHtmlReport::Tell(const SLockEvent& event)
{
    const std::optional<std::int64_t> since = event.since ? std::optional(Milliseconds(*event.since)) : std::nullopt;
    Row("lock", WordOf(event.state), event.file, event.process, event.host, since);
}

void CHtmlReport::Tell(const SVanishedEvent& event)
{
    Row("vanished", event.signal, event.status, NodeOrNone(event.path));
}

void CHtmlReport::Tell(const SHeadlineEvent& event)
{
    Row("headline", event.text);
}

void CHtmlReport::Tell(const SNotRunEvent& event)
{
    Row("not-run", Node(event.path), WordOf(event.reason));
}

void CHtmlReport::Tell(const SRunEndEvent& event)
{
    const SVerdictCounts& verdicts = event.verdicts;
    Row("end", event.result, std::int64_t{event.duration.count()},
        std::array{verdicts.passed, verdicts.failed, verdicts.errors, verdicts.aborted, verdicts.notRun,
                   verdicts.warned});
}
