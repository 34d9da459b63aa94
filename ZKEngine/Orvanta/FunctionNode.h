#pragma once

#include <Orvanta/Node.h>
#include <Orvanta/StackBuffer.h>

#include <HostKit/LibWrapper.h>

#include <cstddef>
#include <cstdint>

class ZKLogger;

/// Calls one exported function of the suite's test library with the parameters that its "x:Parameter" children
/// describe. The function is looked up once, when the node is built; the first function node built opens the library.
/// What a test function throws becomes a logged failure; the operator's abort and exhausted memory pass through.
class ORVANTA_EXPORT CFunctionNode : public CNode
{
public:
    /// The largest number of parameters of a call.
    static constexpr std::size_t MAX_CALL_PARAMETERS = 20;

    CFunctionNode(const pugi::xml_node& node, int level, CNode* const parent);
    ~CFunctionNode() override;

    bool IsTest() const { return m_IsTest; }
    QString Label() const;
    QString Name() const;

    void SetExecuting(bool executing, ERunState state) override;
    QString GetDiagnosticString() const override;
    bool IsSelectable() const override;

protected:
    /// True when the test function returned true.
    bool DoExecute(bool stopOnFail) override;
    /// Lists the call and its parameters.
    bool DoDiagOnly() override;
    /// Ends the function in the logger and counts the run.
    void EndFunction(ZKLogger& logger);

private:
    using TParameters = pugi::xpath_node_set;

    /// Reads the parameters into the buffer, calls the function and logs the call.
    template <std::size_t N>
    bool DoCall(const TParameters& parameters, StackBuffer<N> buffer);
    template <std::size_t N>
    bool FillBuffer(const TParameters& parameters, StackBuffer<N>& buffer) const;
    template <std::size_t N>
    bool TimedCall(const StackBuffer<N>& buffer) const;

    bool CallWithParameters();
    bool GuardedCall(CSafeString& message);
    void LogCouldNotFind(TEST_STATUS status) const;
    void LogListing(const TParameters& parameters) const;
    QString LabelOrName() const;

    CLibWrapper::TFunction m_Function = nullptr;
    QString m_Name;
    bool m_IsTest;
};
