#pragma once

#include "RunFrontEnd.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/// A program that drives the run: gets the record's lines on stdout, each at once, and says what it wants on stdin.
class CProtocolFrontEnd : public CRunFrontEnd
{
public:
    explicit CProtocolFrontEnd(CFrontEndHost& host);

    void Take(const SEvent& event, std::string_view line) override;
    void Ask(const SPrompt& prompt) override;
    void Wait(std::chrono::milliseconds longest) override;
    void Finish(const std::vector<std::string>& left) override;

    void Error(std::string_view text) override;
    void Line(std::string_view text) override;

private:
    using TClock = std::chrono::steady_clock;

    void Write(std::string_view line);
    void WriteSome();
    void ForgetReader();
    std::optional<std::chrono::milliseconds> Left() const;
    void ReadInput();
    void Obey(std::string_view line);
    void ObeyAnswer(const std::string& answer, const std::optional<std::uint64_t>& id);
    void Refuse(const std::string& reason);

    CFrontEndHost& m_Host;
    std::optional<TClock::time_point> m_Deadline; ///< of the prompt that was asked last
    std::uint64_t m_Asked = 0;                    ///< its id
    std::string m_Unwritten;
    bool m_IsWriting = false;
    std::string m_Received;
    bool m_IsInputOver = false;
    bool m_IsReaderGone = false;
};
