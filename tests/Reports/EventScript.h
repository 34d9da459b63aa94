#pragma once

#include <Events/Event.h>

#include <string>
#include <vector>

/// The events of a record as tests write them, all a second apart from 2024-02-29 12:34:56:
///
///     record
///     run SUITE
///     group /1 LABEL          a group; test, call and off likewise are a function: one that is a test, one that is
///     test /1/0 LABEL         none, and a test that is not selected
///     begin /1/0              executing; fails, ends: the state that follows
///     pass /1 3
///     log TEXT                log:failed, log:error: with that status
///     passed /1/0 [2.3]       the state that ends an execution, and its verdict after 12.3 ms; failed and so on
///     likewise,
///                             with REASON behind the passes
///     end                     of a run that passed; bad: of one that did not
///
/// What has no such line is given as it is.
class CEventScript
{
public:
    CEventScript& operator()(const std::string& lines);
    CEventScript& operator()(TEvent what);

    const std::vector<SEvent>& Events() const { return m_Events; }
    /// As a record.
    std::string Json() const;

private:
    void Line(const std::string& line);
    const SNodeEvent& Node(const std::string& path) const;

    std::vector<SEvent> m_Events;
};
