#include "RunningProcess.h"

#include "RunView.h"
#include "SuiteRunner.h"

#include <CoreKit/CatchLadder.h>
#include <CoreKit/TestStatus.h>
#include <Events/Answer.h>
#include <Events/EventJson.h>
#include <Events/Node.h>
#include <HostKit/AppState.h>
#include <HostKit/RunFacts.h>
#include <HostKit/ScriptedUserInput.h>
#include <HostKit/StopControl.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{
/// What is gathered for the waiting process reaches it after that long at the latest when events go on.
constexpr std::chrono::milliseconds LONGEST_GATHERING{50};
constexpr std::size_t MOST_GATHERED = std::size_t{32} * 1024;

extern "C" void Ignore(int /*signal*/) {}

/// The requests to stop go to the waiting process. Handlers that do nothing, since programs that tests start would
/// inherit that a signal is ignored.
void LeaveStopRequestsToTheOther()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction action
        {
        };
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN)
        {
            action = {};
            action.sa_handler = Ignore;
            action.sa_flags = SA_RESTART;
            sigaction(signal, &action, nullptr);
        }
    }
}

/// The process dies with the one that waits, unless `isFree`.
void DieWith(pid_t waiting, bool isFree)
{
    prctl(PR_SET_PDEATHSIG, isFree ? 0 : SIGKILL);
    if (!isFree && getppid() != waiting)
    {
        _exit(EXIT_FAILURE);
    }
}

bool MustPassOnAtOnce(const SEvent& event)
{
    return std::holds_alternative<SPromptEvent>(event.what) || std::holds_alternative<SAbortEvent>(event.what) ||
        std::holds_alternative<SLockEvent>(event.what);
}
} // namespace

// -------------------------------------------------------------------------------------------------- the running
// process

CRunningProcess::CRunningProcess(SRunLink& link, SRunPlan& plan, pid_t waiting)
    : m_Link(link)
    , m_Plan(plan)
    , m_Waiting(waiting)
    , m_Descriptors(waiting)
    , m_Events(link.events.WriteEnd())
    , m_Answers(link.answers.ReadEnd())
    , m_Output(link.output.WriteEnd())
    , m_Errors(link.errors.WriteEnd())
{
    link.events.CloseReadEnd();
    link.answers.CloseWriteEnd();
    link.output.CloseReadEnd();
    link.errors.CloseReadEnd();
    dup2(m_Output, STDOUT_FILENO);
    dup2(m_Errors, STDERR_FILENO);
    m_Descriptors.Keep(STDOUT_FILENO, m_Output, O_WRONLY);
    m_Descriptors.Keep(STDERR_FILENO, m_Errors, O_WRONLY);
    m_Descriptors.Keep(m_Output, m_Output, O_WRONLY, [this](int moved) { m_Output = moved; });
    m_Descriptors.Keep(m_Errors, m_Errors, O_WRONLY, [this](int moved) { m_Errors = moved; });
    m_Descriptors.Keep(m_Events, m_Events, O_WRONLY, [this](int moved) { m_Events = moved; });
    m_Descriptors.Keep(m_Answers, m_Answers, O_RDONLY, [this](int moved) { m_Answers = moved; });
    if (plan.files.record)
    {
        CLineFile& file = plan.files.record->File();
        file.Adopt();
        m_Descriptors.Keep(file.Descriptor(), file.Descriptor(), O_WRONLY | O_APPEND,
                           [&file](int moved) { file.Descriptor(moved); });
    }
    if (plan.answerer == EAnswerer::Protocol || plan.options.protocol)
    {
        const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
        dup2(nothing, STDIN_FILENO);
        close(nothing);
    }
    else
    {
        m_Descriptors.Keep(STDIN_FILENO, STDIN_FILENO, O_RDONLY);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // as at a terminal
    m_Terminal = plan.answerer == EAnswerer::Terminal ? open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY) : -1;
    if (m_Terminal >= 0)
    {
        tcgetattr(m_Terminal, &m_TerminalMode);
    }
}

CRunningProcess::~CRunningProcess()
{
    if (m_Terminal >= 0)
    {
        close(m_Terminal);
    }
}

void CRunningProcess::Take(const SEvent& event)
{
    Follow(event);
    if (!IsWanted(event))
    {
        return;
    }
    ToJson(event, m_Gathered);
    if (m_Gathered.size() >= MOST_GATHERED || event.time - m_HandedOver >= LONGEST_GATHERING ||
        event.time < m_HandedOver || MustPassOnAtOnce(event))
    {
        HandOver();
        m_HandedOver = event.time;
    }
}

/// The terminal has no use for what it would not show; the record is written here.
bool CRunningProcess::IsWanted(const SEvent& event) const
{
    if (m_Plan.options.protocol || m_Plan.options.reports.log)
    {
        return true;
    }
    const auto* const entry = std::get_if<SLogEvent>(&event.what);
    const auto* const print = std::get_if<SPrintEvent>(&event.what);
    const std::uint32_t level = entry ? entry->level : print ? print->level : 0;
    const bool isShown = level <= m_Plan.options.logLevel || (entry && entry->status != TS_NONE);
    return isShown && !std::holds_alternative<STestLogEvent>(event.what);
}

void CRunningProcess::HandOver()
{
    if (!m_Gathered.empty() && !WriteAll(m_Events, m_Gathered))
    {
        EndOrphaned();
    }
    m_Gathered.clear();
}

void CRunningProcess::Follow(const SEvent& event)
{
    if (const auto* const state = std::get_if<SStateEvent>(&event.what))
    {
        Follow(*state);
    }
    else if (const auto* const prompt = std::get_if<SPromptOpenEvent>(&event.what))
    {
        m_Prompt = prompt->id;
        if (m_Terminal >= 0)
        {
            // From here on the other process changes the terminal, which then has to be restored in its place.
            DieWith(m_Waiting, true);
        }
    }
    else if (std::holds_alternative<SPromptEvent>(event.what))
    {
        DieWith(m_Waiting, false);
    }
    else if (std::holds_alternative<SRunEndEvent>(event.what))
    {
        m_Running.clear();
        m_Link.page->running.Set({});
    }
}

void CRunningProcess::Follow(const SStateEvent& state)
{
    // What an abort left is never told to have ended.
    while (!m_Running.empty() && !IsBelow(state.path, m_Running.back().path))
    {
        m_Running.pop_back();
    }
    if (state.state == ENodeState::Executing)
    {
        const std::string& name = state.label.empty() ? state.name : state.label;
        m_Running.push_back({state.path, state.path + '\n' + std::to_string(state.line) + '\n' + name});
    }
    m_Link.page->running.Set(m_Running.empty() ? std::string_view() : m_Running.back().place);
}

void CRunningProcess::Say(char kind, std::string_view text)
{
    m_Gathered += kind;
    for (const char c : text)
    {
        m_Gathered += c == '\n' ? ' ' : c;
    }
    m_Gathered += '\n';
    HandOver();
}

void CRunningProcess::Error(std::string_view text)
{
    Say(LINE_ERROR, text);
}

void CRunningProcess::Line(std::string_view text)
{
    Say(LINE_TEXT, text);
}

void CRunningProcess::SuitesBegun(std::size_t count)
{
    m_Link.page->suitesBegun = static_cast<std::uint32_t>(count);
}

void CRunningProcess::LastWord(EExitCode code)
{
    Say(LINE_LAST, std::to_string(static_cast<int>(code)));
}

// ------------------------------------------------------------------------------------------------------ for the guard

bool CRunningProcess::IsOutputPending() const
{
    int output = 0;
    int errors = 0;
    return (ioctl(m_Output, FIONREAD, &output) == 0 && output > 0) ||
        (ioctl(m_Errors, FIONREAD, &errors) == 0 && errors > 0);
}

/// Waits for a round of the waiting process that has taken all that is in the pipes now.
void CRunningProcess::SyncOutput()
{
    const std::atomic<std::uint32_t>& rounds = m_Link.page->outputRounds;
    const std::uint32_t begin = rounds.load();
    const bool isPending = IsOutputPending();
    const bool isInRound = begin % 2 == 1;
    if (!isPending && !isInRound && rounds.load() == begin)
    {
        return;
    }
    const std::uint32_t end = begin + (!isInRound ? 2 : isPending ? 3 : 1);
    constexpr int SHORT = 100;       // most rounds are
    constexpr int LONGEST = 100'000; // some seconds: where a program writes without end, there is no order to keep
    for (int turn = 0; turn < LONGEST && static_cast<std::int32_t>(rounds.load() - end) < 0; ++turn)
    {
        constexpr timespec moment{0, 20'000};
        turn < SHORT ? static_cast<void>(sched_yield()) : static_cast<void>(nanosleep(&moment, nullptr));
    }
}

bool CRunningProcess::PutBackDescriptors(bool withStandardStreams)
{
    return m_Descriptors.PutBack(withStandardStreams);
}

void CRunningProcess::CallLeft()
{
    m_Link.page->isBreakingDown = true;
}

std::chrono::nanoseconds CRunningProcess::ActiveTime() const
{
    return std::chrono::nanoseconds(m_Link.page->activeTime.load());
}

void CRunningProcess::LimitEndsAt(std::optional<std::chrono::nanoseconds> time)
{
    m_Link.page->limitEndsAt = time ? time->count() : 0;
}

void CRunningProcess::End(const std::string& why)
{
    m_Link.page->lastError.Set(why);
    HandOver();
    _exit(EXIT_FAILURE);
}

// --------------------------------------------------------------------------------------------------------- the answers

std::optional<std::string> CRunningProcess::ReadLine(const sigset_t& mask)
{
    for (;;)
    {
        if (const std::size_t end = m_Received.find('\n'); end != std::string::npos)
        {
            std::string line = m_Received.substr(0, end);
            m_Received.erase(0, end + 1);
            return line;
        }
        DieWith(m_Waiting, true); // the terminal may have to be restored first
        pollfd input{m_Answers, POLLIN, 0};
        const int ready = ppoll(&input, 1, nullptr, &mask);
        if (ready <= 0)
        {
            DieWith(m_Waiting, false);
            return std::nullopt;
        }
        std::array<char, 4096> bytes{};
        const ssize_t count = read(m_Answers, bytes.data(), bytes.size());
        if (count <= 0)
        {
            EndOrphaned();
        }
        DieWith(m_Waiting, false);
        m_Received.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void CRunningProcess::EndOrphaned()
{
    // A shell that has taken the terminal back already has set it as it likes.
    if (m_Terminal >= 0 && tcgetpgrp(m_Terminal) == getpgrp())
    {
        std::signal(SIGTTOU, SIG_IGN);
        tcsetattr(m_Terminal, TCSANOW, &m_TerminalMode);
    }
    _exit(EXIT_FAILURE);
}

CRelayedUserInput::CRelayedUserInput(CRunningProcess& process)
    : m_Process(process)
{
}

TPromptAnswer CRelayedUserInput::Ask(const SPrompt& prompt)
{
    // Between the look at the requests and the wait no signal may slip through.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const auto restore = [&before] { pthread_sigmask(SIG_SETMASK, &before, nullptr); };
    const SHostServices& services = CAppState::Services();
    std::optional<TPromptAnswer> answer;
    while (!answer && !services.Stop->IsDue(services.Run.InExitGroup))
    {
        const std::optional<std::string> line = m_Process.ReadLine(before);
        answer = line ? Guarded([&] { return Read(prompt, *line); },
                                [&](const ZKUserAbort&) -> std::optional<TPromptAnswer>
                                {
                                    restore();
                                    throw;
                                })
                      : std::nullopt;
    }
    restore();
    if (!answer)
    {
        services.Stop->RaiseIfDue(services.Run.InExitGroup, InterruptedAt(prompt));
    }
    return answer.value_or(EPromptEnd::Abort);
}

/// None when the line is no answer to this prompt.
std::optional<TPromptAnswer> CRelayedUserInput::Read(const SPrompt& prompt, std::string_view line) const
{
    std::uint64_t id = 0;
    const auto [end, error] = std::from_chars(line.data() + 1, line.data() + line.size(), id);
    if (line.front() == LINE_STOP || error != std::errc() || id != m_Process.OpenPrompt())
    {
        return std::nullopt; // the requests are counted elsewhere
    }
    const std::string_view text(end + 1, static_cast<std::size_t>(line.data() + line.size() - end - 1));
    if (line.front() == LINE_UNANSWERED)
    {
        RaiseUnanswered(prompt, text);
    }
    return ParseAnswer(text);
}

// ------------------------------------------------------------------------------------------------------------- the run

namespace
{
EExitCode RunSuitesHere(CRunningProcess& process, SRunPlan& plan, SRunLink& link)
{
    CCrashGuard guard(plan.options.limits, process);
    CRelayedUserInput relayed(process);
    CScriptedUserInput answers(plan.answers);
    SSetup setup = plan.setup;
    setup.guard = &guard;
    setup.stopRequests = &link.page->stopRequests;
    const bool isList = plan.answerer == EAnswerer::List;
    if (plan.answerer != EAnswerer::Nobody)
    {
        setup.dialogs = isList ? static_cast<CUserInput*>(&answers) : &relayed;
    }
    CSession session(std::move(setup));
    if (plan.files.record)
    {
        session.Add(*plan.files.record);
    }
    session.Add(process);
    CSuiteRunner runner(plan, session, process, isList ? &answers : nullptr);
    EExitCode code = runner.Run();
    for (const std::string& error : plan.files.Errors())
    {
        process.Error(error);
        code = Graver(code, EExitCode::Usage);
    }
    return code;
}
} // namespace

void RunForked(SRunLink& link, SRunPlan& plan, const SWaiting& waiting)
{
    DieWith(waiting.process, false);
    LeaveStopRequestsToTheOther();
    pthread_sigmask(SIG_SETMASK, &waiting.mask, nullptr);
    {
        CRunningProcess process(link, plan, waiting.process);
        const auto unexpected = [&process](const char* what)
        {
            process.Error(what);
            return EExitCode::Unexpected;
        };
        const EExitCode code = Guarded([&] { return RunSuitesHere(process, plan, link); },
                                       [&](SOutOfMemory) { return unexpected("out of memory"); },
                                       [&](const ZKUserAbort& abort) { return unexpected(abort.what()); },
                                       [&](const std::exception& exception) { return unexpected(exception.what()); },
                                       [&](SUnknownFailure) { return unexpected("an unknown failure"); });
        process.HandOver();
        process.LastWord(code);
    }
    std::exit(EXIT_SUCCESS);
}
