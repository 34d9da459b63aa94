#include "Options.h"

#include "Terminal.h"

#include <CoreKit/Version.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>

namespace
{
struct SCommand
{
    ECommand command;
    const char* name;
    const char* usage;
    const char* description;
};

constexpr std::array COMMANDS{
    SCommand{ECommand::Run, "run", "orvanta run [options] SUITE...", "Run suites, one after the other"},
    SCommand{ECommand::List, "list", "orvanta list [options] SUITE...", "List the nodes of suites"},
    SCommand{ECommand::Check, "check", "orvanta check [options] SUITE...", "Find what is wrong with suites unrun"},
    SCommand{ECommand::Report, "report", "orvanta report [options] RECORD...", "Make reports from run records"},
    SCommand{ECommand::Diff, "diff", "orvanta diff OLD NEW", "Tell what changed between two run records"},
    SCommand{ECommand::Schema, "schema", "orvanta schema", "Print the XML schema of suites, for editors"},
    SCommand{ECommand::None, "help", "orvanta help [COMMAND]", "Explain a command"},
};

constexpr const char* WAIT_FOR_EVER = "for ever";
constexpr const char* GENERAL_USAGE = "orvanta COMMAND [options] [FILE...]";

constexpr const char* CHECK_EXIT_CODES = R"(Exit codes:
  0  no errors were found; with --strict, no warnings either
  1  there are some
  4  wrong usage: unknown command or option, no node matches a pattern,
     unreadable settings or answers file)";

constexpr const char* EXIT_CODES = R"(Exit codes:
  0  every suite passed or completed
  1  a test failed, a node ended failed, or the run reported a failure
  2  aborted: by the operator, a signal or the test library, or because nobody
     could answer a prompt
  3  an unexpected error ended a run
  4  wrong usage: unknown command or option, unreadable settings or answers
     file, unwritable output or lock file
  5  nothing ran: no pattern matched, or a suite had selected tests and none ran
  6  a suite was not loaded: unreadable, invalid, not for this product or
     filter, or its test library cannot be opened
  7  another run holds the execution lock
Of several suites' codes the first of 3, 2, 7, 6, 1, 5 that occurred counts.)";

constexpr const char* DIFF_FOOTER = R"(A line for each test that changed: broken, fixed, new, gone, slower (at least
twice the time and 100 ms more), and for each measurement that moved by a tenth.
Exit codes:
  0  nothing is worse
  1  a test is broken or gone
  4  wrong usage: not two records that can be read)";

const SCommand* FindCommand(std::string_view name)
{
    const auto found =
        std::find_if(COMMANDS.begin(), COMMANDS.end(), [&](const SCommand& command) { return command.name == name; });
    return found == COMMANDS.end() ? nullptr : &*found;
}

const char* UsageOf(ECommand command)
{
    const auto found = std::find_if(COMMANDS.begin(), COMMANDS.end(),
                                    [&](const SCommand& candidate)
                                    { return candidate.command == command && command != ECommand::None; });
    return found == COMMANDS.end() ? GENERAL_USAGE : found->usage;
}

/// A number of seconds from 0 on, with decimals; none for any other text.
std::optional<std::chrono::milliseconds> ReadSeconds(const std::string& text)
{
    constexpr double most = 1e9;
    double seconds = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, seconds);
    if (error != std::errc() || end != last || !(seconds >= 0) || seconds > most)
    {
        return std::nullopt;
    }
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

/// Help in the house's words: the usage line of the commands' table in place of a generated one.
class CHelpFormatter : public CLI::Formatter
{
public:
    CHelpFormatter()
    {
        column_width(27);
        label("Positionals", "Arguments");
    }

    std::string make_usage(const CLI::App* app, std::string) const override
    {
        const SCommand* command = FindCommand(app->get_name());
        return std::string("Usage: ") + (command ? command->usage : GENERAL_USAGE) + '\n';
    }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        return option->get_type_size() == 0 || option->get_type_name().empty() ? "" : ' ' + option->get_type_name();
    }
};

/// The command line as the parser knows it; fills the options it was made with. Lives as long as the parsing.
class CCommandLine
{
public:
    explicit CCommandLine(SOptions& options);

    /// Throws `CLI::ParseError`, also when only help or the version was asked for.
    void Parse(int argc, const char* const* argv);

    CLI::App& App() { return m_App; }

private:
    CLI::App* AddCommand(const char* name);
    void AddSuiteOptions(CLI::App& app);
    void AddRunOptions(CLI::App& app);
    void AddReports(CLI::App& app);
    void AddRecord(CLI::App& app, const char* name, const char* description);
    void AddRerun(CLI::App& app);
    void AddVerbosity(CLI::App& app);
    static CLI::Option* AddText(CLI::App& app, const char* name, std::optional<std::string>& target, const char* type,
                                const char* description);
    static CLI::Option* AddPattern(CLI::App& app, const char* name, const std::string& description);
    void ReadSelectFile(const std::string& path);
    void CollectSelections();
    static void AddWhen(CLI::App& app, const char* name, EWhen& target, const char* description);
    void AddMeta(CLI::App& app);
    void AddWait(CLI::App& app);
    static CLI::Option* AddLimit(CLI::App& app, const char* name, const char* description,
                                 const std::function<void(std::chrono::milliseconds)>& store);
    void AddProcess(CLI::App& app);
    void ShowHelp();

    SOptions& m_Options;
    CLI::App m_App{"Orvanta runs compliance test suites.", "orvanta"};
    std::string m_HelpTopic;
};

CCommandLine::CCommandLine(SOptions& options)
    : m_Options(options)
{
    m_App.formatter(std::make_shared<CHelpFormatter>());
    m_App.set_help_flag("-h,--help", "Show this help");
    m_App.set_version_flag("--version", "orvanta " ORVANTA_VERSION, "Show the version");
    m_App.require_subcommand(0, 1);

    CLI::App& run = *AddCommand("run");
    AddSuiteOptions(run);
    AddRunOptions(run);
    run.footer(EXIT_CODES);

    CLI::App& list = *AddCommand("list");
    AddSuiteOptions(list);
    list.add_flag("--json", m_Options.json, "Write JSON, for programs");

    CLI::App& check = *AddCommand("check");
    AddSuiteOptions(check);
    AddText(check, "--answers", m_Options.answers, "FILE", "Check this list of answers against the prompts, too");
    check.add_flag("--json", m_Options.json, "Write JSON, for programs");
    check.add_flag("--strict", m_Options.strict, "Let warnings count as errors do");
    check.footer(CHECK_EXIT_CODES);

    CLI::App& report = *AddCommand("report");
    report.add_option("RECORD", m_Options.records, "Run records, also ones that were cut off")
        ->required()
        ->type_name("");
    AddReports(report);

    CLI::App& diff = *AddCommand("diff");
    AddRecord(diff, "OLD", "The record to compare with");
    AddRecord(diff, "NEW", "The record of the later run");
    diff.footer(DIFF_FOOTER);

    AddCommand("schema");
    AddCommand("help")->add_option("COMMAND", m_HelpTopic, "The command to explain");
}

CLI::App* CCommandLine::AddCommand(const char* name)
{
    const SCommand& command = *FindCommand(name);
    CLI::App* app = m_App.add_subcommand(command.name, command.description);
    app->group("Commands");
    app->callback([this, kind = command.command] { m_Options.command = kind; });
    return app;
}

void CCommandLine::AddSuiteOptions(CLI::App& app)
{
    app.add_option("SUITE", m_Options.suites, "Suite files")->required()->type_name("");
    app.add_option("-L,--library-path", m_Options.libraryPath,
                   "Look for test libraries here too, after the\nsuite's own folder; repeatable")
        ->allow_extra_args(false)
        ->type_name("DIR");
    AddPattern(app, "-t,--select",
               "Select nodes by path, label or name: \"/1/0\",\n\"Group/Function\", with * and **; the first starts\n"
               "from nothing selected; repeatable");
    AddPattern(app, "-T,--deselect", "Deselect nodes; in the order given; repeatable");
    AddPattern(app, "--select-file",
               "Patterns from a file, one a line, those to deselect\nwith \"-\" in front; repeatable")
        ->type_name("FILE");
    app.add_flag("--debug", m_Options.debug, "Debug mode: nothing is selected at first");
    AddText(app, "--product", m_Options.product, "LABEL", "Stand in for the product label of the settings");
    AddText(app, "--filter", m_Options.filter, "NAME", "Use this filter of the settings");
    AddText(app, "--settings", m_Options.settings, "FILE", "Use these settings instead of the user's own");
}

void CCommandLine::AddRunOptions(CLI::App& app)
{
    const auto execution = [this](ETestSuiteExecutionType type)
    { return [this, type] { m_Options.executionType = type; }; };
    CLI::Option* diagnostic =
        app.add_flag_callback("--diagnostic", execution(EXECUTION_DIAGNOSTIC), "Let the nodes list themselves");
    app.add_flag_callback("--validation", execution(EXECUTION_VALIDATION), "Validate the suites")->excludes(diagnostic);
    app.add_flag("--stop-on-failure", m_Options.stopOnFailure,
                 "Stop at the first node whose result is false;\nthe exit group runs all the same");
    AddRerun(app);
    AddWait(app);
    AddText(app, "--answers", m_Options.answers, "FILE", "Answer the prompts from a JSON list");
    AddText(app, "--save-answers", m_Options.saveAnswers, "FILE", "Write the answers given, as such a list");
    app.add_flag("--unattended", m_Options.unattended,
                 "Never ask at the terminal; a prompt without an\nanswer aborts the run");
    AddProcess(app);
    AddMeta(app);
    AddText(app, "--record", m_Options.record, "FILE", "Write the run record, as JSON Lines");
    AddReports(app);
    AddVerbosity(app);
    AddWhen(app, "--color", m_Options.color, "Colours; auto: on a terminal");
    AddWhen(app, "--progress", m_Options.progress, "Status line; auto: on a terminal");
}

void CCommandLine::AddReports(CLI::App& app)
{
    AddText(app, "--junit", m_Options.reports.junit, "FILE", "Write a JUnit XML report");
    AddText(app, "--html", m_Options.reports.html, "FILE", "Write a report to look at, as one HTML page");
    AddText(app, "--log", m_Options.reports.log, "FILE", "Write the complete log, as text");
}

void CCommandLine::AddRecord(CLI::App& app, const char* name, const char* description)
{
    const auto add = [this](const std::string& record) { m_Options.records.push_back(record); };
    app.add_option_function<std::string>(name, add, description)->required()->type_name("");
}

void CCommandLine::AddRerun(CLI::App& app)
{
    CLI::Option* const rerun = AddText(app, "--rerun", m_Options.rerun, "RECORD",
                                       "Select as the run of this record did, less the\ntests that passed in it");
    rerun->excludes(app.get_option("--select"))->excludes(app.get_option("--select-file"));
}

void CCommandLine::AddVerbosity(CLI::App& app)
{
    CLI::Option* verbose = app.add_flag_function(
        "-v,--verbose",
        [this](std::int64_t count)
        { m_Options.logLevel = static_cast<ELogLevel>(std::min<std::int64_t>(LL_WARNING + count, LL_DETAIL)); },
        "Show trace lines; twice: details as well");
    CLI::Option* quiet = app.add_flag_callback(
        "-q,--quiet", [this] { m_Options.logLevel = LL_FAILURE; }, "Show errors and failures only");
    CLI::Option* level = app.add_option_function<std::uint32_t>(
        "--log-level", [this](std::uint32_t number) { m_Options.logLevel = static_cast<ELogLevel>(number); },
        "Show log entries up to this level (default 4)");
    level->type_name("N")->excludes(verbose)->excludes(quiet);
    quiet->excludes(verbose);
}

CLI::Option* CCommandLine::AddText(CLI::App& app, const char* name, std::optional<std::string>& target,
                                   const char* type, const char* description)
{
    const auto store = [&target](const std::string& text) { target = text; };
    return app.add_option_function<std::string>(name, store, description)->type_name(type);
}

CLI::Option* CCommandLine::AddPattern(CLI::App& app, const char* name, const std::string& description)
{
    return app.add_option(name, description)
        ->type_name("PATTERN")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void CCommandLine::ReadSelectFile(const std::string& path)
{
    std::ifstream file(path);
    const auto check = [&](bool isGood)
    {
        if (!isGood)
        {
            throw CLI::ValidationError(path + ": the patterns cannot be read: " + std::strerror(errno));
        }
    };
    check(file.is_open());
    for (std::string line; std::getline(file, line);)
    {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
        {
            line.pop_back();
        }
        const bool isDeselection = line.starts_with('-');
        const std::string pattern = line.substr(isDeselection ? 1 : 0);
        if (!pattern.empty())
        {
            m_Options.selections.push_back({!isDeselection, pattern});
        }
    }
    check(!file.bad()); // a folder opens and cannot be read
}

void CCommandLine::AddMeta(CLI::App& app)
{
    const auto add = [this](const std::vector<std::string>& pairs)
    {
        for (const std::string& pair : pairs)
        {
            const std::size_t end = pair.find('=');
            const std::string key = pair.substr(0, end);
            const bool isKnown = std::any_of(m_Options.meta.begin(), m_Options.meta.end(),
                                             [&key](const auto& entry) { return entry.first == key; });
            if (end == std::string::npos || key.empty() || isKnown)
            {
                throw CLI::ValidationError("--meta '" + pair + "' " +
                                           (isKnown ? "gives a key for the second time" : "is no KEY=VALUE"));
            }
            m_Options.meta.emplace_back(key, pair.substr(end + 1));
        }
    };
    app.add_option_function<std::vector<std::string>>(
           "--meta", add, "What reports should say of this run, such as a\nserial number; repeatable")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
}

void CCommandLine::AddWait(CLI::App& app)
{
    const auto wait = [this](const std::string& text)
    {
        const std::optional<std::chrono::milliseconds> time =
            text == WAIT_FOR_EVER ? std::chrono::milliseconds::max() : ReadSeconds(text);
        if (!time)
        {
            throw CLI::ValidationError("--wait '" + text + "' is no number of seconds");
        }
        m_Options.lockWait = time;
    };
    app.add_option_function<std::string>("--wait", wait,
                                         "Wait for the execution lock, for ever or, with\n--wait=S, so many seconds");
}

CLI::Option* CCommandLine::AddLimit(CLI::App& app, const char* name, const char* description,
                                    const std::function<void(std::chrono::milliseconds)>& store)
{
    const auto read = [name, store](const std::string& text)
    {
        const std::optional<std::chrono::milliseconds> time = ReadSeconds(text);
        if (!time || time->count() == 0)
        {
            throw CLI::ValidationError(std::string(name) + " '" + text + "' is no number of seconds above 0");
        }
        store(*time);
    };
    return app.add_option_function<std::string>(name, read, description)->type_name("S");
}

/// How the process that runs the suites is kept in hand.
void CCommandLine::AddProcess(CLI::App& app)
{
    CLI::Option* const inProcess = app.add_flag("--in-process", m_Options.inProcess,
                                                "Run in this very process, for debuggers: a crash\nends everything");
    const std::array guarded{AddLimit(app, "--test-timeout", "Leave a test function after so many seconds",
                                      [this](std::chrono::milliseconds time) { m_Options.limits.call = time; }),
                             AddLimit(app, "--run-timeout", "Stop the whole run after so many seconds",
                                      [this](std::chrono::milliseconds time) { m_Options.limits.run = time; }),
                             AddLimit(app, "--exit-timeout",
                                      "What the rest of a run may take after a crash or\na limit (default 60)",
                                      [this](std::chrono::milliseconds time) { m_Options.exitTimeout = time; }),
                             app.add_flag("--protocol", m_Options.protocol,
                                          "Speak the record on stdout and take answers on\nstdin, for programs")};
    for (CLI::Option* const option : guarded)
    {
        option->excludes(inProcess);
    }
}

/// The selection options as one list, in the order in which they stand on the command line.
void CCommandLine::CollectSelections()
{
    const CLI::App& command = *m_App.get_subcommands().front();
    std::map<const CLI::Option*, std::size_t> taken;
    for (const CLI::Option* option : command.parse_order())
    {
        const bool isSelect = option->check_lname("select");
        if (isSelect || option->check_lname("deselect"))
        {
            m_Options.selections.push_back({isSelect, option->results().at(taken[option]++)});
        }
        else if (option->check_lname("select-file"))
        {
            ReadSelectFile(option->results().at(taken[option]++));
        }
    }
}

void CCommandLine::AddWhen(CLI::App& app, const char* name, EWhen& target, const char* description)
{
    static const std::map<std::string, EWhen> WORDS{
        {"auto", EWhen::Auto}, {"always", EWhen::Always}, {"never", EWhen::Never}};
    CLI::Validator known(
        [](const std::string& word)
        { return WORDS.contains(word) ? std::string() : "'" + word + "' is none of auto, always, never"; },
        "");
    app.add_option_function<std::string>(
           name, [&target](const std::string& word) { target = WORDS.at(word); }, description)
        ->type_name("WHEN")
        ->check(known);
}

void CCommandLine::Parse(int argc, const char* const* argv)
{
    if (argc > 1 && argv[1][0] != '-' && !FindCommand(argv[1]))
    {
        throw CLI::ArgumentMismatch(std::string("unknown command '") + argv[1] + "'");
    }
    // Only a number behind "=" belongs to it, so that a suite's name never does.
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    std::replace(arguments.begin(), arguments.end(), std::string("--wait"), std::string("--wait=") + WAIT_FOR_EVER);
    std::reverse(arguments.begin(), arguments.end()); // as the parser takes them
    m_App.parse(std::move(arguments));
    if (m_App.get_subcommands().empty())
    {
        throw CLI::ArgumentMismatch("no command given");
    }
    if (m_Options.command == ECommand::None)
    {
        ShowHelp();
    }
    CollectSelections();
}

void CCommandLine::ShowHelp()
{
    if (!m_HelpTopic.empty() && !FindCommand(m_HelpTopic))
    {
        throw CLI::ArgumentMismatch("unknown command '" + m_HelpTopic + "'");
    }
    m_App.clear();
    const CLI::App* topic = m_HelpTopic.empty() ? &m_App : m_App.get_subcommand(m_HelpTopic);
    std::fputs(topic->help().c_str(), stdout);
    throw CLI::Success();
}

ECommand CommandOf(const CLI::App& app)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? ECommand::None : FindCommand(chosen.front()->get_name())->command;
}
} // namespace

std::optional<EExitCode> ParseOptions(int argc, const char* const* argv, SOptions& options)
{
    CCommandLine line(options);
    try
    {
        line.Parse(argc, argv);
        return std::nullopt;
    }
    catch (const CLI::CallForHelp&)
    {
        std::fputs(line.App().help().c_str(), stdout);
        return EExitCode::Passed;
    }
    catch (const CLI::CallForVersion& version)
    {
        std::printf("%s\n", version.what());
        return EExitCode::Passed;
    }
    catch (const CLI::Success&)
    {
        return EExitCode::Passed;
    }
    catch (const CLI::ParseError& error)
    {
        return ReportUsage(CommandOf(line.App()), error.what());
    }
}

EExitCode ReportUsage(ECommand command, std::string_view message)
{
    const auto found = std::find_if(COMMANDS.begin(), COMMANDS.end(),
                                    [&](const SCommand& candidate) { return candidate.command == command; });
    const char* topic = command == ECommand::None ? "" : found->name;
    ReportError(message);
    std::fprintf(stderr, "Usage: %s\nSee 'orvanta help%s%s'.\n", UsageOf(command), *topic ? " " : "", topic);
    return EExitCode::Usage;
}
