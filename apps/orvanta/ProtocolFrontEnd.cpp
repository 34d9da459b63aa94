#include "ProtocolFrontEnd.h"

#include "Terminal.h"

#include <Events/Answer.h>
#include <Events/EventJson.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <unistd.h>

using TJson = nlohmann::json;

namespace
{
constexpr int TICK = 200; // milliseconds
constexpr std::size_t LONGEST_LINE = std::size_t{1024} * 1024;
constexpr const char* FORMS = "a line is {\"answer\": X}, with an optional \"id\", or {\"abort\": true}";
} // namespace

CProtocolFrontEnd::CProtocolFrontEnd(CFrontEndHost& host)
    : m_Host(host)
{
}

void CProtocolFrontEnd::Take(const SEvent& /*event*/, std::string_view line)
{
    Write(line);
}

/// A reader that is slow, or stands still, keeps nobody from stopping the run.
void CProtocolFrontEnd::Write(std::string_view line)
{
    m_Unwritten += m_IsReaderGone ? std::string_view() : line;
    if (m_IsWriting)
    {
        return; // goes behind the line that is on its way
    }
    m_IsWriting = true;
    while (!m_Unwritten.empty())
    {
        WriteSome();
    }
    m_IsWriting = false;
}

void CProtocolFrontEnd::WriteSome()
{
    constexpr std::size_t NEVER_WAITS = 4096; // for a pipe that is ready
    std::array<pollfd, 2> files{pollfd{STDOUT_FILENO, POLLOUT, 0},
                                pollfd{m_IsInputOver ? -1 : STDIN_FILENO, POLLIN, 0}};
    const int ready = poll(files.data(), files.size(), TICK);
    m_Host.Tick();
    if (ready > 0 && files[1].revents != 0)
    {
        ReadInput();
    }
    if (ready > 0 && files[0].revents != 0)
    {
        const ssize_t written = write(STDOUT_FILENO, m_Unwritten.data(), std::min(m_Unwritten.size(), NEVER_WAITS));
        if (written >= 0)
        {
            m_Unwritten.erase(0, static_cast<std::size_t>(written));
        }
        else if (errno != EINTR && errno != EAGAIN)
        {
            ForgetReader();
            m_Host.RequestStop();
        }
    }
    else if (m_Host.IsEnded())
    {
        ForgetReader();
    }
}

void CProtocolFrontEnd::ForgetReader()
{
    m_IsReaderGone = true;
    m_Unwritten.clear();
}

void CProtocolFrontEnd::Ask(const SPrompt& prompt)
{
    m_Asked = m_Host.OpenPrompt()->id;
    m_Deadline = prompt.timeout ? std::optional(TClock::now() + std::chrono::seconds(*prompt.timeout)) : std::nullopt;
}

/// How long the open prompt may still be answered; none when for ever, or when it has not been asked yet.
std::optional<std::chrono::milliseconds> CProtocolFrontEnd::Left() const
{
    const SPromptOpenEvent* const open = m_Host.OpenPrompt();
    if (!open || open->id != m_Asked || !m_Deadline)
    {
        return std::nullopt;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_Deadline - TClock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

void CProtocolFrontEnd::Wait(std::chrono::milliseconds longest)
{
    if (m_Host.OpenPrompt() && m_IsInputOver)
    {
        m_Host.NobodyAnswers("stdin has ended");
        return;
    }
    const std::chrono::milliseconds wait = std::min(Left().value_or(longest), longest);
    std::array<pollfd, 2> inputs{pollfd{m_Host.Descriptor(), POLLIN, 0},
                                 pollfd{m_IsInputOver ? -1 : STDIN_FILENO, POLLIN, 0}};
    if (poll(inputs.data(), inputs.size(), static_cast<int>(wait.count())) > 0 && inputs[1].revents != 0)
    {
        m_Host.Serve(); // an answer may be to a prompt that waits to be seen
        ReadInput();
    }
    if (const auto left = Left(); left && left->count() == 0)
    {
        m_Host.Answer(EPromptEnd::TimeOut);
    }
}

void CProtocolFrontEnd::ReadInput()
{
    std::array<char, 4096> bytes{};
    const ssize_t count = m_IsInputOver ? 0 : read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
    {
        return;
    }
    m_IsInputOver = count <= 0;
    m_Received.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    if (m_IsInputOver && !m_Received.empty() && !m_Received.ends_with('\n'))
    {
        m_Received += '\n';
    }
    for (std::size_t end = m_Received.find('\n'); end != std::string::npos; end = m_Received.find('\n'))
    {
        const std::string line = m_Received.substr(0, end);
        m_Received.erase(0, end + 1); // before it is obeyed: more may be read then
        Obey(line);
    }
    if (m_Received.size() > LONGEST_LINE)
    {
        m_Received.clear();
        Refuse("the line is longer than 1 MiB");
    }
}

void CProtocolFrontEnd::Obey(std::string_view line)
{
    const TJson said = TJson::parse(line.begin(), line.end(), nullptr, false);
    const auto isKnown = [](const std::string& key) { return key == "answer" || key == "id" || key == "abort"; };
    if (!said.is_object() || said.empty() ||
        !std::all_of(said.items().begin(), said.items().end(), [&](const auto& item) { return isKnown(item.key()); }))
    {
        Refuse(std::string("not understood: ") + FORMS);
        return;
    }
    const TJson abort = said.value("abort", TJson());
    const TJson id = said.value("id", TJson());
    if (abort == true && said.size() == 1)
    {
        m_Host.RequestStop();
    }
    else if (said.contains("answer") && abort.is_null() && (!said.contains("id") || id.is_number_unsigned()))
    {
        // What has parts is no answer, and may be nested deeply.
        const TJson& answer = said["answer"];
        ObeyAnswer(answer.is_structured() ? "null" : answer.dump(-1, ' ', false, TJson::error_handler_t::replace),
                   id.is_null() ? std::nullopt : std::optional(id.get<std::uint64_t>()));
    }
    else
    {
        Refuse(std::string("not understood: ") + FORMS);
    }
}

void CProtocolFrontEnd::ObeyAnswer(const std::string& answer, const std::optional<std::uint64_t>& id)
{
    const SPromptOpenEvent* const open = m_Host.OpenPrompt();
    if (!open)
    {
        Refuse("no prompt is open");
        return;
    }
    if (id && *id != open->id)
    {
        Refuse("prompt " + std::to_string(open->id) + " is open, not " + std::to_string(*id));
        return;
    }
    const std::optional<TPromptAnswer> parsed = ParseAnswer(answer);
    const std::string misfit =
        parsed ? CUserInput::Misfit(open->prompt, *parsed) : "the answer is not " + std::string(ANSWER_FORMS);
    if (misfit.empty())
    {
        m_Host.Answer(*parsed);
    }
    else
    {
        Refuse(misfit);
    }
}

void CProtocolFrontEnd::Refuse(const std::string& reason)
{
    std::string line;
    ToJson({std::chrono::system_clock::now(), SRefusedEvent{reason}}, line);
    Write(line);
}

void CProtocolFrontEnd::Finish(const std::vector<std::string>& /*left*/) {}

void CProtocolFrontEnd::Error(std::string_view text)
{
    ReportError(text);
}

void CProtocolFrontEnd::Line(std::string_view text)
{
    ReportError(text);
}
