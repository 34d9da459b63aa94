#include "WaitingProcess.h"

#include "NotPassedList.h"
#include "ProtocolFrontEnd.h"
#include "RunningProcess.h"
#include "SetupOf.h"
#include "SuiteRunner.h"
#include "Terminal.h"
#include "TerminalFrontEnd.h"

#include <CoreKit/Exceptions.h>
#include <CoreKit/Version.h>
#include <Events/Answer.h>
#include <Events/EventJson.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace
{
constexpr std::chrono::milliseconds TICK{200};
/// A step of the clock that is longer was spent stopped.
constexpr std::chrono::seconds LONGEST_STEP{1};
/// A limit that has not taken effect after that long does not any more.
constexpr std::chrono::seconds LIMIT_GRACE{2};

std::unique_ptr<CRunFrontEnd> MakeFrontEnd(const SRunPlan& plan, CFrontEndHost& host)
{
    const SOptions& options = plan.options;
    if (options.protocol)
    {
        return std::make_unique<CProtocolFrontEnd>(host);
    }
    return std::make_unique<CTerminalFrontEnd>(host, StyleOf(options, plan.answerer == EAnswerer::Terminal));
}

std::chrono::nanoseconds MonotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}
} // namespace

CWaitingProcess::CWaitingProcess(SRunPlan& plan)
    : m_Plan(plan)
    , m_Left(plan.options.exitTimeout)
{
}

CWaitingProcess::~CWaitingProcess()
{
    if (m_Inputs >= 0)
    {
        close(m_Inputs);
    }
}

EExitCode CWaitingProcess::Run()
{
    // A request to stop waits until both processes know what to do with it.
    sigset_t stops;
    sigset_t before;
    sigemptyset(&stops);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
    {
        sigaddset(&stops, signal);
    }
    pthread_sigmask(SIG_BLOCK, &stops, &before);
    Fork(before);
    std::optional<CInterrupt> interrupt(std::in_place, static_cast<CStopReceiver&>(*this));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    m_FrontEnd = MakeFrontEnd(m_Plan, *this);
    if (m_Plan.options.protocol)
    {
        const SEvent first{std::chrono::system_clock::now(), SRecordEvent{ORVANTA_VERSION, "orvanta"}};
        std::string line;
        ToJson(first, line);
        m_FrontEnd->Take(first, line);
    }
    m_Now = TClock::now();
    while (!m_Status)
    {
        m_FrontEnd->Wait(TICK);
        Serve();
        const bool isAsked = m_Prompt && m_AskedPrompt == m_Prompt->id;
        const bool isOurs = m_Plan.answerer == EAnswerer::Terminal || m_Plan.answerer == EAnswerer::Protocol;
        if (m_Prompt && !isAsked && isOurs)
        {
            m_AskedPrompt = m_Prompt->id;
            m_FrontEnd->Ask(SPrompt(m_Prompt->prompt));
        }
    }
    TakeRound(true);
    interrupt.reset(); // there is nothing left to stop but this process
    std::signal(SIGPIPE, SIG_IGN);
    return End();
}

void CWaitingProcess::Fork(const sigset_t& mask)
{
    std::fflush(nullptr);          // nothing is to be written twice
    std::signal(SIGCHLD, SIG_DFL); // who starts this program may have it ignored, and then there is no status
    const pid_t waiting = getpid();
    m_Child = fork();
    if (m_Child < 0)
    {
        ThrowFormatted<ZKRunTimeException>("no process can be made to run the suites in: %s", std::strerror(errno));
    }
    if (m_Child == 0)
    {
        RunForked(m_Link, m_Plan, {waiting, mask});
    }
    m_Outputs.emplace_back(m_Link.output.ReadEnd(), EOutputStream::StdOut);
    m_Outputs.emplace_back(m_Link.errors.ReadEnd(), EOutputStream::StdErr);
    m_Inputs = epoll_create1(EPOLL_CLOEXEC);
    for (const int file : {m_Link.events.ReadEnd(), m_Wake.ReadEnd(), m_Wake.WriteEnd()})
    {
        fcntl(file, F_SETFL, fcntl(file, F_GETFL) | O_NONBLOCK);
    }
    const int ended = static_cast<int>(syscall(SYS_pidfd_open, m_Child, 0));
    for (const int file :
         {m_Link.events.ReadEnd(), m_Link.output.ReadEnd(), m_Link.errors.ReadEnd(), m_Wake.ReadEnd(), ended})
    {
        Watch(file);
    }
}

void CWaitingProcess::Watch(int file) const
{
    epoll_event event{};
    event.events = EPOLLIN;
    epoll_ctl(m_Inputs, EPOLL_CTL_ADD, file, &event); // without it the next tick notices
}

// ------------------------------------------------------------------------------------------------ the requests to stop

int CWaitingProcess::CountStop() noexcept
{
    const int count = m_Link.page->stopRequests.fetch_add(1) + 1;
    const int callersError = errno;
    const ssize_t written = write(m_Wake.WriteEnd(), "", 1);
    static_cast<void>(written);
    errno = callersError;
    return count;
}

void CWaitingProcess::EndAtOnce(int /*signal*/) noexcept
{
    m_EndedByUser = true;
    kill(m_Child, SIGKILL);
}

// ------------------------------------------------------------------------------------------------------------ a round

void CWaitingProcess::Serve()
{
    std::array<char, 64> wakes{};
    while (read(m_Wake.ReadEnd(), wakes.data(), wakes.size()) > 0)
    {
        Send(LINE_STOP, "");
    }
    int status = 0;
    const bool hasEnded = !m_Status && waitpid(m_Child, &status, WNOHANG) == m_Child;
    TakeRound(false);
    if (hasEnded)
    {
        m_Status = status;
        m_Prompt.reset();
    }
    WatchTheClock();
}

/// What test code wrote goes behind the events that came before: those were sent before test code got control, and the
/// ones that come behind wait for the end of the round.
void CWaitingProcess::TakeRound(bool isLast)
{
    std::atomic<std::uint32_t>& rounds = m_Link.page->outputRounds;
    ++rounds;
    bool hasText = false;
    for (CTestOutput& output : m_Outputs)
    {
        hasText = output.Read() || hasText;
    }
    if (!hasText && !isLast)
    {
        ++rounds; // nobody has to wait for the events
        ReadEvents();
        return;
    }
    ReadEvents();
    for (CTestOutput& output : m_Outputs)
    {
        if (std::string text = output.Give(isLast); !text.empty())
        {
            const SViewedNode* const node = m_View.Innermost();
            TellOfOwn(SOutputEvent{node ? node->path : "", output.Stream(), std::move(text)});
        }
    }
    ++rounds;
}

void CWaitingProcess::ReadEvents()
{
    std::array<char, 65536> bytes{};
    for (;;)
    {
        const ssize_t count = read(m_Link.events.ReadEnd(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            return;
        }
        m_Received.append(bytes.data(), static_cast<std::size_t>(count));
        std::size_t begin = 0;
        for (std::size_t end = m_Received.find('\n'); end != std::string::npos; end = m_Received.find('\n', begin))
        {
            TakeLine(std::string_view(m_Received).substr(begin, end + 1 - begin));
            begin = end + 1;
        }
        m_Received.erase(0, begin);
    }
}

void CWaitingProcess::TakeLine(std::string_view line)
{
    const std::string_view text = line.substr(1, line.size() - 2);
    switch (line.front())
    {
    case LINE_ERROR:
        m_Errors.emplace(text);
        m_FrontEnd->Error(text);
        return;
    case LINE_TEXT:
        m_FrontEnd->Line(text);
        return;
    case LINE_LAST:
        m_LastWord = static_cast<EExitCode>(std::stoi(std::string(text)));
        return;
    default:
        break;
    }
    if (const SEventLine read = FromJson(line); read.event)
    {
        Tell(*read.event, line);
    }
}

void CWaitingProcess::Tell(const SEvent& event, std::string_view line)
{
    m_View.Take(event);
    if (const auto* const prompt = std::get_if<SPromptOpenEvent>(&event.what))
    {
        m_Prompt = *prompt;
    }
    else if (std::holds_alternative<SPromptEvent>(event.what))
    {
        m_Prompt.reset();
    }
    for (CEventSink* const sink : m_Plan.files.Sinks())
    {
        sink->Take(event);
        sink->HandOver();
    }
    m_FrontEnd->Take(event, line);
}

void CWaitingProcess::TellOfOwn(const TEvent& what)
{
    const SEvent event{std::chrono::system_clock::now(), what};
    std::string line;
    ToJson(event, line);
    if (m_Plan.files.record)
    {
        m_Plan.files.record->Take(event);
        m_Plan.files.record->HandOver();
    }
    Tell(event, line);
}

// --------------------------------------------------------------------------------------------------------- the answers

void CWaitingProcess::Send(char kind, std::string_view text)
{
    std::string line(1, kind);
    line += std::to_string(m_Prompt ? m_Prompt->id : 0);
    line += ' ';
    line += text;
    line += '\n';
    WriteAll(m_Link.answers.WriteEnd(), line);
}

void CWaitingProcess::Answer(const TPromptAnswer& answer)
{
    if (m_Prompt)
    {
        std::string json;
        AppendAnswer(answer, json);
        Send(LINE_ANSWER, json);
        m_Prompt.reset();
    }
}

void CWaitingProcess::NobodyAnswers(std::string_view why)
{
    if (m_Prompt)
    {
        Send(LINE_UNANSWERED, why);
        m_Prompt.reset();
    }
}

// ---------------------------------------------------------------------------------------------------------- the limits

/// Ends a process that does not come to its end by itself. Time spent stopped does not count.
void CWaitingProcess::WatchTheClock()
{
    const TClock::time_point before = m_Now;
    m_Now = TClock::now();
    const auto step = std::min<std::chrono::nanoseconds>(m_Now - before, LONGEST_STEP);
    SSharedPage& page = *m_Link.page;
    page.activeTime += step.count();
    const std::chrono::nanoseconds limit(page.limitEndsAt.load());
    const bool isOverdue = limit.count() != 0 && MonotonicNow() > limit;
    m_Overdue = isOverdue ? m_Overdue + step : std::chrono::nanoseconds(0);
    const bool isIneffective = m_Overdue > LIMIT_GRACE; // the signal was blocked, or does not get through
    if ((page.isBreakingDown || isIneffective || m_LastWord) && !m_Status)
    {
        m_Left -= step;
        if (m_Left.count() < 0 && m_KilledFor.empty())
        {
            m_KilledFor = "the rest of the run took longer than --exit-timeout allows";
            kill(m_Child, SIGKILL);
        }
    }
}

// ------------------------------------------------------------------------------------------------------------- the end

EExitCode CWaitingProcess::End()
{
    const int status = *m_Status;
    EExitCode code = EExitCode::Unexpected;
    if (!m_LastWord)
    {
        Vanished();
    }
    else
    {
        code = *m_LastWord;
        if (status != 0)
        {
            m_FrontEnd->Error("after the last suite, the process that ran them ended " + HowItEnded());
        }
    }
    m_Plan.MakeReports(!m_LastWord,
                       [&](const std::string& error)
                       {
                           m_FrontEnd->Error(error);
                           code = Graver(code, EExitCode::Usage);
                       });
    if (m_Link.page->suitesBegun > 0)
    {
        m_FrontEnd->Finish(m_Plan.Left());
    }
    return CheckFiles(code);
}

void CWaitingProcess::Vanished()
{
    SVanishedEvent vanished;
    std::istringstream place(m_Link.page->running.Get());
    std::string line;
    std::string name;
    std::getline(place, vanished.path) && std::getline(place, line) && std::getline(place, name);
    if (WIFSIGNALED(*m_Status))
    {
        vanished.signal = static_cast<std::uint32_t>(WTERMSIG(*m_Status));
    }
    else
    {
        vanished.status = static_cast<std::uint32_t>(WEXITSTATUS(*m_Status));
    }
    std::string where;
    if (!vanished.path.empty())
    {
        SViewedNode& node = m_View.Have(vanished.path);
        if (node.line == 0) // the events that announce it were lost with the process
        {
            node.title = name.empty() ? node.title : name;
            node.line = std::strtoull(line.c_str(), nullptr, 10);
        }
        where = "; this was running: " + TitleAndPlace(m_View.TitleInPasses(node), node, m_View);
    }
    else if (!m_View.IsInRun())
    {
        where = "; test libraries were being loaded";
    }
    TellOfOwn(vanished);
    m_FrontEnd->Error("the process that ran the suite ended " + HowItEnded() + where);
    const std::size_t begun = m_Link.page->suitesBegun;
    if (const std::size_t left = m_Plan.options.suites.size() - std::max<std::size_t>(begun, 1); left > 0)
    {
        m_FrontEnd->Error(NotRunText(left));
    }
}

std::string CWaitingProcess::HowItEnded() const
{
    const std::string error = m_Link.page->lastError.Get();
    if (!error.empty())
    {
        return "because " + error;
    }
    const std::string why = m_EndedByUser ? "the operator wanted the end" : m_KilledFor;
    if (!why.empty())
    {
        return "because " + why;
    }
    if (WIFSIGNALED(*m_Status))
    {
        const char* const name = sigabbrev_np(WTERMSIG(*m_Status));
        return "by SIG" + std::string(name ? name : "?");
    }
    return "by itself, with exit status " + std::to_string(WEXITSTATUS(*m_Status));
}

/// An incomplete file is no success, but it does not hide a worse result either.
EExitCode CWaitingProcess::CheckFiles(EExitCode code)
{
    for (const std::string& error : m_Plan.files.Errors())
    {
        if (!m_Errors.contains(error)) // both processes write the record
        {
            m_FrontEnd->Error(error);
        }
        code = Graver(code, EExitCode::Usage);
    }
    return code;
}
