// A host of its own: loads the suite that it is given, asks its prompts on the standard streams, shows the log and each
// finished test, and stops the run from another thread when it takes longer than so many seconds.
//
//   minimal_host SUITE [SECONDS [LIBRARY-FOLDER]]

#include <HostKit/UserInput.h>
#include <Session/Session.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

namespace
{
/// The host's dialogs: a line on standard input answers a prompt, an empty one closes it.
class CHostDialogs : public CUserInput
{
protected:
    TPromptAnswer Ask(const SPrompt& prompt) override
    {
        std::cout << prompt.text << " ? " << std::flush;
        std::string line;
        if (!std::getline(std::cin, line) || line.empty())
        {
            return EPromptEnd::Cancel;
        }
        switch (prompt.kind)
        {
        case EPromptKind::Boolean:
            return line == prompt.yes;
        case EPromptKind::Integer:
            return std::uint64_t{std::strtoull(line.c_str(), nullptr, 0)};
        default:
            return EPromptEnd::Ok;
        }
    }
};

/// The host's view of a run.
class CHostView : public CEventSink
{
public:
    void Take(const SEvent& event) override
    {
        if (const auto* entry = std::get_if<SLogEvent>(&event.what); entry && entry->level <= 3)
        {
            std::cout << "  " << entry->text << '\n';
        }
        if (const auto* verdict = std::get_if<SVerdictEvent>(&event.what))
        {
            std::cout << (verdict->verdict == EVerdict::Passed ? "ok   " : "FAIL ") << verdict->path << ' '
                      << verdict->reason << '\n';
        }
    }
};
} // namespace

int main(int argc, char** argv)
{
    CHostDialogs dialogs;
    CHostView view;
    SSetup setup;
    setup.dialogs = &dialogs;
    if (argc > 3)
    {
        setup.libraryPath.emplace_back(argv[3]);
    }
    CSession session(setup);
    session.Add(view);
    const auto suite = session.LoadSuite(argc > 1 ? argv[1] : "suite.xml");
    for (const SProblem& problem : suite->Problems())
    {
        std::cerr << suite->File() << ':' << problem.line << ": " << problem.message << '\n';
    }
    std::atomic<bool> ended = false;
    std::thread watch(
        [&session, &ended, left = 10 * (argc > 2 ? std::atoi(argv[2]) : 60)]() mutable
        {
            for (; !ended && left > 0; --left)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
            if (!ended)
            {
                session.RequestStop();
            }
        });
    const SOutcome outcome = session.Run(*suite);
    ended = true;
    watch.join();
    std::cout << outcome.result << ", " << outcome.verdicts.passed << " tests passed\n";
    return outcome.outcome == EOutcome::Passed ? EXIT_SUCCESS : EXIT_FAILURE;
}
