#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/AbortCause.h>
#include <CoreKit/Measurement.h>
#include <CoreKit/Prompt.h>

#include <cstdint>
#include <string>
#include <string_view>

/// Number of a node in its tree, in the order in which the nodes were built; the root's is 0.
using TNodeId = std::uint32_t;

enum ERunState : std::uint32_t
{
    RS_NOT_RUN = 0,
    RS_EXECUTING = 1,
    RS_PASSED = 2,
    RS_FAILED = 3,
};

// What only the engine knows of a run, reported on the thread that runs the suite. Each report reaches the listeners of
// the installed services; those that decide whether the run can count as passed reach its suite log too.

/// A node has entered a state. A failed one fails the run.
HOSTKIT_EXPORT void ReportNodeState(TNodeId node, ERunState state);
/// An exception leaves an executing node, whose failed state follows; null: one that says nothing.
HOSTKIT_EXPORT void ReportNodeLeftByException(TNodeId node, const char* what);
/// An abort leaves an executing node, whose state stays as it is.
HOSTKIT_EXPORT void ReportNodeLeftByAbort(TNodeId node, std::string_view text);
/// A node was left out because its condition did not hold.
HOSTKIT_EXPORT void ReportNodeSkipped(TNodeId node);
/// A group has turned an exception from below into its own failure.
HOSTKIT_EXPORT void ReportFailureCaught(TNodeId node, std::string_view what);
/// A loop begins a pass, counted from 1, with a value of its iterator and the name of the iterator's variable, if any.
HOSTKIT_EXPORT void ReportPass(TNodeId node, std::uint64_t number, std::uint64_t iterator, std::string_view variable);
/// A validation run leaves a call out.
HOSTKIT_EXPORT void ReportCallLeftOut(TNodeId node);
/// A test function has measured something.
HOSTKIT_EXPORT void ReportMeasurement(const SMeasurement& measurement);
/// The test library could not be opened, so nothing of the tree runs.
HOSTKIT_EXPORT void ReportLibraryNotOpened();
/// The execution lock is held by another run, and this one waits for it.
HOSTKIT_EXPORT void ReportLockAwaited();
/// The execution lock is this run's.
HOSTKIT_EXPORT void ReportLockTaken();
/// Something other than an abort leaves the run itself.
HOSTKIT_EXPORT void ReportRunLeft();
/// The run is being stopped.
HOSTKIT_EXPORT void ReportAbort(EAbortCause cause, std::string_view text);
/// An abort was met that may have been thrown without a report: by test code then, and reported now.
HOSTKIT_EXPORT void ReportAbortSeen(std::string_view text);

/// Test code or a prompt gets control next and may not give it back: whatever was reported so far has to reach the
/// system now.
HOSTKIT_EXPORT void HandOver();

/// Reports an abort and throws `ZKUserAbort` with the text.
[[noreturn]] HOSTKIT_EXPORT void RaiseUserAbort(std::string_view text, EAbortCause cause = EAbortCause::Operator);

/// Aborts the run because nobody can answer a prompt, and why.
[[noreturn]] HOSTKIT_EXPORT void RaiseUnanswered(const SPrompt& prompt, std::string_view reason);
/// What an abort says that a stop request brings about at a prompt.
HOSTKIT_EXPORT std::string InterruptedAt(const SPrompt& prompt);

/// Opens a node's run: lets everything written so far reach those who look, then raises the abort that was asked for,
/// if it has come to that. The one place where a run is stopped.
HOSTKIT_EXPORT void BeginStep();
