#pragma once

#include <HostKit/Prompt.h>
#include <HostKit/UserInput.h>

#include <functional>

/// Passes every dialog on to another service and tells the listeners of each prompt how it ended: what a run record and
/// a saved list of answers are made of. Headlines (boxes shown while no suite is executing) are passed on untold. The
/// other service is not owned and outlives this one.
class HOSTKIT_EXPORT CObservedUserInput : public CUserInput
{
public:
    explicit CObservedUserInput(CUserInput& input);

    EUIReturnCode ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                           std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                           std::string_view help) override;
    EUIReturnCode BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text, bool* answer,
                                std::string_view yes, std::string_view no, gui::EAbortBtn abortButton,
                                std::string_view help) override;
    EUIReturnCode GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text, std::string_view label,
                             std::uint64_t* value, ENumericBase base, bool initialize, std::uint64_t max,
                             std::uint64_t min, std::string_view title, std::string_view unit,
                             gui::EAbortBtn abortButton, std::string_view help) override;

    bool Concluded() const override { return m_Input.Concluded(); }
    bool ReturnedResult() const override { return m_Input.ReturnedResult(); }
    bool TimedOut() const override { return m_Input.TimedOut(); }
    void EnableInput() override { m_Input.EnableInput(); }
    void FunctionFinished() override { m_Input.FunctionFinished(); }

private:
    /// Runs a dialog; `result` says what its answer is when it concluded.
    EUIReturnCode Observe(const SPrompt& prompt, const std::function<EUIReturnCode()>& dialog,
                          const std::function<TPromptAnswer()>& result);

    CUserInput& m_Input;
};
