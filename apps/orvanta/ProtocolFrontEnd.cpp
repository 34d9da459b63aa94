#include "ProtocolFrontEnd.h"

#include "RunLink.h"
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

void CProtocolFrontEnd::Write(std::string_view line)
{
    if (!m_IsReaderGone && !WriteAll(STDOUT_FILENO, line))
    {
        m_IsReaderGone = true;
        m_Host.RequestStop();
    }
}

void CProtocolFrontEnd::Ask(const SPrompt& prompt)
{
    m_Deadline = prompt.timeout ? std::optional(TClock::now() + std::chrono::seconds(*prompt.timeout)) : std::nullopt;
}

void CProtocolFrontEnd::Wait(std::chrono::milliseconds longest)
{
    const bool isAsking = m_Host.OpenPrompt() != nullptr;
    if (isAsking && m_IsInputOver)
    {
        m_Host.NobodyAnswers("stdin has ended");
        return;
    }
    if (isAsking && m_Deadline)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_Deadline - TClock::now());
        longest = std::clamp(left, std::chrono::milliseconds(0), longest);
    }
    std::array<pollfd, 2> inputs{pollfd{m_Host.Descriptor(), POLLIN, 0},
                                 pollfd{m_IsInputOver ? -1 : STDIN_FILENO, POLLIN, 0}};
    if (poll(inputs.data(), inputs.size(), static_cast<int>(longest.count())) > 0 && inputs[1].revents != 0)
    {
        m_Host.Serve(); // an answer may be to a prompt that waits to be seen
        ReadInput();
    }
    if (m_Host.OpenPrompt() && m_Deadline && TClock::now() >= *m_Deadline)
    {
        m_Host.Answer(EPromptEnd::TimeOut);
    }
}

void CProtocolFrontEnd::ReadInput()
{
    std::array<char, 4096> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
    {
        return;
    }
    m_IsInputOver = count <= 0;
    m_Received.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    if (m_IsInputOver && !m_Received.empty())
    {
        m_Received += '\n';
    }
    for (std::size_t end = m_Received.find('\n'); end != std::string::npos; end = m_Received.find('\n'))
    {
        Obey(std::string_view(m_Received).substr(0, end));
        m_Received.erase(0, end + 1);
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
        ObeyAnswer(said["answer"].dump(-1, ' ', false, TJson::error_handler_t::replace),
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

void CProtocolFrontEnd::Finish(const std::optional<std::string>& /*record*/) {}

void CProtocolFrontEnd::Error(std::string_view text)
{
    ReportError(text);
}

void CProtocolFrontEnd::Line(std::string_view text)
{
    ReportError(text);
}
