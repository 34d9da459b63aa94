#pragma once

#include <HostKit/HostKitExport.h>
#include <HostKit/HostListener.h>

#include <QString>

/// Stands between the engine and test code. The engine makes every call of a test function through the guard of the
/// installed services, and the services tell it when test code is inside one of them. A guard listens to the run as
/// well. Owned by the host; without one, functions are called straight.
class HOSTKIT_EXPORT CTestCallGuard : public CHostListener
{
public:
    using TCall = bool (*)(const void* context);

    /// Makes the call and gives its result. What test code throws passes on; a call that had to be left throws
    /// `ZKRunTimeException` that says why.
    virtual bool Call(const QString& function, TCall call, const void* context) = 0;

    /// Test code is about to enter a service, and has left it; between the two nothing may tear it out.
    virtual void EnterService() = 0;
    virtual void LeaveService() noexcept = 0;
    /// Test code gets control back from a service: the last moment to keep it. May not return.
    virtual void ReturnFromService() = 0;
};

/// Calls a test function through the guard. A process that test code forked ends here, as does the copy of the engine
/// in it. Calls of services from threads other than the engine's become one error entry.
HOSTKIT_EXPORT bool CallTestFunction(const QString& function, CTestCallGuard::TCall call, const void* context);

template <class Body>
bool CallTestFunction(const QString& function, const Body& body)
{
    return CallTestFunction(
        function, [](const void* context) -> bool { return (*static_cast<const Body*>(context))(); }, &body);
}

/// Logs the calls of services from other threads that came since the last report, as one error entry; nothing when
/// there were none.
HOSTKIT_EXPORT void ReportForeignCalls();
